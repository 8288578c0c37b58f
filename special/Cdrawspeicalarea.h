#pragma once

#include "host/engine/ToolPlugin.h"
#include "host/viewmanager/CXCommandHandler.h"
#include "special/CdrawPolygonDlg.h"

#include <QPointer>

#include <osg/Group>
#include <osg/Vec3d>
#include <osgEarthAnnotation/FeatureNode>
#include <osgEarthSymbology/Style>

#include <optional>
#include <vector>

namespace osgViewer {
class View;
}

/// Adds a special area: left presses on the globe are its vertices, a right click closes it, the dialog gives
/// it a name and a look.
///
/// Slots and activation run on the GUI thread, handle and OnMessage in the viewer's frame loop. The area
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
    void prepareStyles();
    void onRightRelease(osgViewer::View& view, const osgGA::GUIEventAdapter& ea);
    void rememberPosition(const osgGA::GUIEventAdapter& ea);
    void addVertex(const osg::Vec3d& position);
    void updateRubberBand(const osg::Vec3d& cursor);
    void clearRubberBand();
    void finish();
    Special_Polygon makeRecord(const std::string& gbkName) const;
    void restyleFinally();
    void enterIntoScene(const Special_Polygon& record);

    int m_pressX = 0;
    int m_pressY = 0;
    bool m_active = false;
    QPointer<CdrawPolygonDlg> m_dialog; ///< owned
    int m_state = 0;
    std::vector<osg::Vec3d> m_vertices; ///< map's reference system
    osgEarth::Symbology::Style m_areaStyle;
    osg::ref_ptr<osgEarth::Annotation::FeatureNode> m_areaNode;
    osgEarth::Symbology::Style m_outlineStyle;
    osg::ref_ptr<osgEarth::Annotation::FeatureNode> m_rubberBandNode;
    osg::ref_ptr<osg::Group> m_areaGroup;
};
