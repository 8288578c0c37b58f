#pragma once

#include "anomaly/OverlaySelection.h"
#include "anomaly/PickCallback.h"
#include "anomaly/TableLink.h"
#include "host/engine/ToolPlugin.h"
#include "host/inspection/Station.h"
#include "host/viewmanager/CXCommandHandler.h"
#include "plugin/HoverPicker.h"
#include "plugin/ToolThreads.h"

#include <osg/Group>
#include <osg/Vec2d>
#include <osg/Vec3d>
#include <osgEarthAnnotation/FeatureNode>
#include <osgEarthAnnotation/PlaceNode>
#include <osgEarthSymbology/Style>

#include <atomic>
#include <memory>
#include <string>
#include <vector>

class QMenu;
namespace osgViewer {
class View;
}

/// View and edit anomalies: hover picking, the rectangle, the classification menu, deletion.
///
/// Slots and activation run on the GUI thread, handle and OnMessage on the thread of the frames. The picker
/// and the frame-selection group come and go only in OnMessage, by messages that the tool posts to itself.
/// What is highlighted on the globe and the selected rows of the anomaly table are one selection while the
/// tool is active.
class CeditDiff : public zeo::ToolPlugin, public CXCommandHandler {
    Q_OBJECT

public:
    CeditDiff();
    ~CeditDiff() override;

    bool IsTool() override { return true; }
    void OnActivate() override;
    void OnDeactivate() override;

    using CXCommandHandler::handle;
    /// Consumes no event, so that the globe can still be moved.
    bool handle(const osgGA::GUIEventAdapter& ea, osgGA::GUIActionAdapter& aa) override;
    /// "addPick", "removePick", "FrameSelect", "RemoveFrameSelect".
    void OnMessage(std::string message) override;
    void InitInstance() override {}
    void ExitInstance() override {}

signals:
    void signal_eidtDff();
    void signal_deleteDff();
    void signal_checkDff();

public slots:
    /// Opens the menu for each station at the right-click point that has selected anomalies.
    void eidtDff();
    /// Asks, then deletes the selected anomalies.
    void OnDeleteItem();
    /// Deletes the selected anomalies of each station at the delete point.
    void OnDeleteDff();
    void OnSetbuild();
    void OnSetoccupy();
    void OnSump();
    void OnCollapse();
    /// A class without a menu action.
    void OnSetweightthing();
    /// Asks for the class in free words.
    void OnSetother();
    /// Shows the anomaly at the double-click point in the image window and the table.
    void checkDff();

private:
    enum State { Constructed = 0, Active = 1, Inactive = 2 };

    void buildMenu();
    void prepareAreaStyle();
    void bringFrameGroup();
    void addFrameSelection();
    void removeFrameSelection();

    // The events, on the thread of the frames, in CeditDiffEvents.cpp.
    void onPush(osgViewer::View& view, const osgGA::GUIEventAdapter& ea);
    void onRelease(osgViewer::View& view, const osgGA::GUIEventAdapter& ea);
    void onDoubleClick(osgViewer::View& view, const osgGA::GUIEventAdapter& ea);
    void onMove(osgViewer::View& view, const osgGA::GUIEventAdapter& ea);
    void onFrameDrag(osgViewer::View& view, const osgGA::GUIEventAdapter& ea);
    void onKeyDown(osgViewer::View& view, const osgGA::GUIEventAdapter& ea);
    void onKeyUp(osgViewer::View& view, const osgGA::GUIEventAdapter& ea);
    void rememberPosition(const osgGA::GUIEventAdapter& ea);
    void startFrameAt(const osg::Vec3d& world);
    void UpdateFrameRect(const osg::Vec3d& onMap);
    void ShowDiffLabel(const osg::Vec3d& world);
    void putLabel(const osg::Vec3d& world, double difference);
    void pickHovered(const osg::Vec3d& world);
    void pickByBounds(const osg::Vec3d& world);
    /// Tells the GUI thread what is highlighted now.
    void announce(const Overlays& highlighted);
    void askToDelete();
    /// Takes back what the tool did to the globe.
    void leaveGlobe();

    // What is stored, on the GUI thread, in CeditDiffItems.cpp.
    void scanSelectedItems();
    double differenceAt(const osg::Vec3d& world);
    void showItemAt(const osg::Vec3d& world);
    void takeTableSelection(const std::vector<std::string>& gbkNames);
    bool CollectSelectedDiffs();
    /// Makes the table's own copy the current item where it is of the same station; false otherwise.
    bool takeShownItem();
    void SetDiffAttribute(const std::string& gbkText);
    void showCurrentItem();
    void dropVanishedItem();

    ToolThreads m_threads{"editDiffWakeUp"};

    // GUI thread.
    std::vector<KV_StationItem*> m_stationItems; ///< as of the last scan
    osg::Vec3d m_rightClickPoint;                ///< world
    osg::Vec3d m_deletePoint;                    ///< world
    KV_StationItem* m_currentItem = nullptr;     ///< the AVWindow's own item while none is worked on
    std::vector<SdiffData> m_selectedAnomalies;
    std::vector<std::string> m_hoveredNames;        ///< GBK, of the hover pick list
    unsigned m_tableSelections = 0;                 ///< how often the user selected other rows
    std::unique_ptr<osg::Vec2d> m_doubleClickPoint; ///< station's reference system
    std::string m_stationSrs;
    osgEarth::Symbology::Style m_areaStyle;
    bool m_toggle = false;                ///< the button was not checked when the tool was left
    std::unique_ptr<QMenu> m_contextMenu; ///< owns its actions
    TableLink m_table;
    const std::string m_ownKey; ///< the key once more, for the tool itself

    // Both threads.
    std::atomic<int> m_toolState{Constructed};

    // Thread of the frames.
    HoverPicker<PickCallback> m_picker{m_threads};
    OverlaySelection m_selection;
    unsigned m_tableSelectionsSeen = 0; ///< those of the table that the globe has followed
    osg::ref_ptr<osgEarth::Annotation::PlaceNode> m_valueLabel;
    bool m_isByBounds = false; ///< the overlay mode, as the event found it
    bool m_ctrlHeld = false;
    bool m_shiftHeld = false;
    bool m_deleteHeld = false;
    int m_pressX = 0;
    int m_pressY = 0;
    int m_dragX = 0;
    int m_dragY = 0;
    bool m_leftDown = false;
    osg::Vec3d m_frameStart; ///< map coordinates
    osgEarth::Symbology::Style m_frameStyle;
    osg::ref_ptr<osgEarth::Annotation::FeatureNode> m_frameFeatureNode;
    osg::ref_ptr<osg::Group> m_frameGroup;
};
