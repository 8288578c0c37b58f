#pragma once

#include "host/engine/ToolPlugin.h"
#include "host/inspection/Records.h"
#include "host/viewmanager/CXCommandHandler.h"
#include "plugin/HoverPicker.h"
#include "plugin/ToolThreads.h"
#include "region/PickCallback_other.h"
#include "special/CDrawPointDlg.h"
#include "special/CdrawPolygonDlg.h"

#include <QPointer>

#include <osg/Group>
#include <osg/Vec3d>
#include <osgEarthAnnotation/FeatureNode>
#include <osgEarthAnnotation/PlaceNode>

#include <atomic>
#include <memory>
#include <optional>

class QMenu;
namespace osgViewer {
class View;
}

/// Picks an existing special point, area or polygon on the globe, deletes it or edits it.
///
/// Slots and activation run on the GUI thread, handle and OnMessage on the thread of the frames. The picker
/// comes and goes only in OnMessage, by messages that the tool posts to itself.
class CeditPolygon : public zeo::ToolPlugin, public CXCommandHandler {
    Q_OBJECT

public:
    CeditPolygon();
    ~CeditPolygon() override;

    bool IsTool() override { return true; }
    void OnActivate() override;
    void OnDeactivate() override;

    using CXCommandHandler::handle;
    /// Consumes no event.
    bool handle(const osgGA::GUIEventAdapter& ea, osgGA::GUIActionAdapter& aa) override;
    /// "removePick", "deletedrawable", "addpick".
    void OnMessage(std::string message) override;
    void InitInstance() override {}
    void ExitInstance() override {}

signals:
    void signal_eidtPolygon();

public slots:
    /// Opens the context menu for the picked region.
    void eidtPolygon();
    /// Deletes the picked region, whatever its kind.
    void SLOTDeletFeature_All();
    /// Opens the dialog of the picked region's kind.
    void SLOTEditPolygon();
    void SlotClose();
    void SlotOK();
    void SlotPointClose();
    void SlotPointOK();

private:
    enum State { Constructed = 0, Active = 1, Inactive = 2 };

    void buildMenu();
    void onRightRelease(osgViewer::View& view, const osgGA::GUIEventAdapter& ea);
    void onKeyDown(const osgGA::GUIEventAdapter& ea);
    void rememberPosition(const osgGA::GUIEventAdapter& ea);
    /// The region under the pointer, looked up by its id; nothing when none is there. Thread of the frames.
    std::optional<osg::ref_ptr<osg::Group>> takePickedNode();
    void openMenuAt(const osg::Vec3d& world);
    void takeOffGlobe(const osg::ref_ptr<osg::Group>& region);
    bool findPolygonRecord();
    bool findAreaRecord();
    bool findPointRecord();
    void deletePolygon();
    void deleteArea();
    void deletePoint();
    bool deleteStored(const KV_BasicNode& record);
    void openStyleDialog(const Special_Region& record, int type);
    void openPointDialog();
    /// Finds the picked region's feature node; null when it has none, or one without geometry.
    const osgEarth::Symbology::Geometry* findOutlineOfPickedNode();
    /// Stores the dialog's values in the record, the database, the data set and the scene.
    template<typename Record>
    void confirmRegion(Record& record);
    void updateRegistry(const Special_Polygon& polygon);
    void updateRegistry(const Special_Area& area);
    void rebuildPoint();

    ToolThreads m_threads{"editPolygonWakeUp"};

    // Both threads.
    std::atomic<int> m_editState{Constructed};

    // Thread of the frames.
    HoverPicker<PickCallback_other> m_picker{m_threads};
    int m_lastX = 0;
    int m_lastY = 0;
    bool m_deleteKeyDown = false;
    int m_lastHandledId = PickCallback_other::kNothing;

    // GUI thread.
    bool m_wasUnchecked = false;           ///< the button was not checked when the tool was left
    osg::ref_ptr<osg::Group> m_pickedNode; ///< "ROIPolygon", "ROIArea" or "ROIPoint"
    osg::ref_ptr<osgEarth::Annotation::FeatureNode> m_featureNode;
    osg::ref_ptr<osgEarth::Annotation::PlaceNode> m_pointNode;
    int m_vertexCount = 0;
    osg::Vec3d m_pickPoint; ///< world point of the last right click
    Special_Polygon m_polygon;
    Special_Area m_area;
    Special_Area m_secondArea;
    Special_Point m_point;
    QPointer<CdrawPolygonDlg> m_styleDialog; ///< owned
    QPointer<CDrawPointDlg> m_pointDialog;   ///< owned
    std::unique_ptr<QMenu> m_contextMenu;    ///< owns its actions
    const std::string m_ownKey;              ///< the key once more, for the tool itself
};
