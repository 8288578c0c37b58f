#pragma once

#include "host/engine/ToolPlugin.h"
#include "host/viewmanager/CXCommandHandler.h"
#include "plugin/ToolThreads.h"
#include "special/CDrawPointDlg.h"

#include <QPointer>

#include <osg/Group>
#include <osg/Vec3d>
#include <osgEarthAnnotation/PlaceNode>

#include <atomic>
#include <memory>

class QMenu;
namespace osgViewer {
class View;
}

/// Adds a special point: a click on the globe places a marker, the dialog gives it a name and an attribute.
///
/// Slots and activation run on the GUI thread, handle and OnMessage on the thread of the frames. The point
/// group comes and goes only in OnMessage, by messages that the tool posts to itself.
class Cdrawpoint : public zeo::ToolPlugin, public CXCommandHandler {
    Q_OBJECT

public:
    Cdrawpoint();
    ~Cdrawpoint() override;

    bool IsTool() override { return true; }
    void OnActivate() override;
    void OnDeactivate() override;
    /// Places the preview marker, or moves it. Degrees and metres of the map's reference system.
    virtual void PlacePoint(double lonDegrees, double latDegrees, double heightMetres);
    /// Takes the preview marker away.
    virtual void RemovePreview();
    /// Puts the marker that stays at the clicked position.
    virtual void PlaceFinalMarker(const std::string& gbkName);

    using CXCommandHandler::handle;
    /// Consumes no event.
    bool handle(const osgGA::GUIEventAdapter& ea, osgGA::GUIActionAdapter& aa) override;
    /// "drawStationPoint", "removeStationPoint".
    void OnMessage(std::string message) override;
    void InitInstance() override {}
    void ExitInstance() override {}

signals:
    void msg_waring(QString text);
    void signal_eidtpt();

public slots:
    void SlotClose();
    void SlotOK();
    void eidtPt();
    void OnWaring(QString text);

private:
    enum State { Placing = 0, Confirming = 1, Finished = 2 };

    void openDialog();
    void onRelease(osgViewer::View& view, const osgGA::GUIEventAdapter& ea);
    void addToGroup(const osg::ref_ptr<osgEarth::Annotation::PlaceNode>& marker);
    void removeFromGroup(const osg::ref_ptr<osgEarth::Annotation::PlaceNode>& marker);
    void finish();

    ToolThreads m_threads{"drawPointWakeUp"};

    // Both threads.
    std::atomic<bool> m_active{false};
    std::atomic<int> m_state{Placing};

    // Thread of the frames.
    int m_pressX = 0;
    int m_pressY = 0;
    osg::ref_ptr<osg::Group> m_groupOfGlobe; ///< the point group, as it arrived
    osg::ref_ptr<osg::Group> m_closedGroup;  ///< to be removed, even when the next drawing begins before that

    // GUI thread.
    osg::ref_ptr<osgEarth::Annotation::PlaceNode> m_previewMarker;
    osg::Vec3d m_previewCentre;       ///< world, of its bounding sphere
    QPointer<CDrawPointDlg> m_dialog; ///< owned
    osg::ref_ptr<osg::Group> m_pointGroup;
    osg::Vec3d m_clicked;                 ///< map's reference system; zero until the first click
    std::unique_ptr<QMenu> m_contextMenu; ///< owns its one action
    const std::string m_ownKey;           ///< the key once more, for the tool itself
};
