#pragma once

#include "host/engine/ToolPlugin.h"
#include "host/viewmanager/CXCommandHandler.h"
#include "plugin/ToolThreads.h"
#include "special/AreaDrawing.h"
#include "special/CdrawPolygonDlg.h"

#include <QPointer>

#include <osg/Group>
#include <osg/Vec3d>

#include <atomic>
#include <vector>

namespace osgViewer {
class View;
}

/// Adds a special area: left presses on the globe are its vertices, a right click closes it, the dialog gives
/// it a name and a look.
///
/// Slots and activation run on the GUI thread, handle and OnMessage on the thread of the frames. The area
/// group comes and goes only in OnMessage, by messages that the tool posts to itself.
class Cdrawspeicalarea : public zeo::ToolPlugin, public CXCommandHandler {
    Q_OBJECT

public:
    Cdrawspeicalarea();
    ~Cdrawspeicalarea() override;

    bool IsTool() override { return true; }
    void OnActivate() override;
    void OnDeactivate() override;

    using CXCommandHandler::handle;
    /// Consumes no event.
    bool handle(const osgGA::GUIEventAdapter& ea, osgGA::GUIActionAdapter& aa) override;
    /// "drawspecialarea", "removespecialarea".
    void OnMessage(std::string message) override;
    void InitInstance() override {}
    void ExitInstance() override {}

signals:
    void msg_waring(QString text);

public slots:
    void OnWaring(QString text);
    void SlotClose();
    void SlotOK();

private:
    enum State { Digitising = 1, Finished = 2 };

    void openDialog();
    void onRightRelease(osgViewer::View& view, const osgGA::GUIEventAdapter& ea);
    void rememberPosition(const osgGA::GUIEventAdapter& ea);
    void addVertex(const osg::Vec3d& position);
    void closeRing();
    void finish();
    Special_Polygon makeRecord(const std::string& gbkName) const;
    void enterIntoScene(const Special_Polygon& record);

    ToolThreads m_threads{"drawAreaWakeUp"};

    // Both threads.
    std::atomic<int> m_state{0};

    // Thread of the frames.
    int m_pressX = 0;
    int m_pressY = 0;
    osg::ref_ptr<osg::Group> m_closedGroup; ///< to be removed, even when the next drawing begins before that
    AreaDrawing m_drawing;

    // GUI thread.
    bool m_active = false;
    QPointer<CdrawPolygonDlg> m_dialog; ///< owned
    osgEarth::Symbology::Style m_areaStyle;
    std::vector<osg::Vec3d> m_vertices; ///< map's reference system
    std::vector<osg::Vec3d> m_ring;     ///< what is drawn; it stays when the ring is closed
    osg::ref_ptr<osg::Group> m_areaGroup;
};
