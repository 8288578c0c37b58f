#include "special/Cdrawspeicalarea.h"

#include "host/Gbk.h"
#include "host/inspection/DataSet.h"
#include "host/inspection/StationWindow.h"
#include "host/viewmanager/MessageBus.h"
#include "host/viewmanager/pick.h"
#include "plugin/Button.h"
#include "plugin/ClickTest.h"
#include "plugin/Globe.h"
#include "plugin/Inspection.h"
#include "special/DrawingDatabase.h"
#include "special/Marker.h"
#include "special/NearestTurn.h"
#include "special/RegionStyle.h"
#include "special/Warning.h"

#include <osgEarth/GeoData>
#include <osgEarthSymbology/Geometry>
#include <osgViewer/View>

#include <optional>

using osgGA::GUIEventAdapter;

namespace {

/// The picked point in the map's reference system; nothing off the globe.
std::optional<osg::Vec3d> pickOnMap(osgViewer::View& view, const GUIEventAdapter& ea) {
    const osg::Vec3d world = pick(&view, ea);
    const osgEarth::MapNode* mapNode = globeMapNode();
    osgEarth::GeoPoint onMap;
    if (world == kPickNoHit || !mapNode || !onMap.fromWorld(mapNode->getMapSRS(), world)) {
        return std::nullopt;
    }
    return onMap.vec3d();
}

} // namespace

Cdrawspeicalarea::Cdrawspeicalarea() : zeo::ToolPlugin("3081 draw special area") {
    m_name = m_toolTip = toGbk("添加特殊面");
    m_commandType = toGbk("巡检工具");
    m_cursor = QCursor(Qt::PointingHandCursor);
    m_icon = QIcon(":/ToolPluginorva/images/addarea.png");

    connect(this, SIGNAL(msg_waring(QString)), this, SLOT(OnWaring(QString)));
}

Cdrawspeicalarea::~Cdrawspeicalarea() {
    delete m_dialog.data();
}

void Cdrawspeicalarea::OnActivate() {
    osgCmd(m_name.c_str());
    setStatbarTip(fromGbk(m_name));
    if (m_active) {
        m_state = Finished;
        setButtonChecked(m_pButton, false);
        return;
    }
    m_state = Digitising;
    setButtonChecked(m_pButton, true);
    if (!isDrawingDatabaseReady()) {
        m_active = false;
        return;
    }
    openDialog();
    m_vertices.clear();
    m_ring.clear();
    m_areaStyle = makeFirstAreaStyle();
    m_areaGroup = new osg::Group;
    applyGlobalDefaults(m_areaGroup);
    m_areaGroup->setName(kAreaGroupName);
    m_threads.onFrame([this, group = m_areaGroup] { m_drawing.begin(group); });
    osgPush("drawspecialarea");
}

void Cdrawspeicalarea::OnDeactivate() {
    finish();
    if (m_dialog) {
        m_dialog->hide();
    }
}

void Cdrawspeicalarea::finish() {
    m_active = !isButtonChecked(m_pButton);
    m_state = Finished;
    setButtonChecked(m_pButton, false);
}

void Cdrawspeicalarea::openDialog() {
    delete m_dialog.data();
    m_dialog = new CdrawPolygonDlg(mainWindow());
    m_dialog->LoadRecord(KV_SPECIAL_AREA);
    m_dialog->show();
    connect(m_dialog, SIGNAL(SignalClose()), this, SLOT(SlotClose()));
    connect(m_dialog, SIGNAL(SignalOK()), this, SLOT(SlotOK()));
}

bool Cdrawspeicalarea::handle(const GUIEventAdapter& ea, osgGA::GUIActionAdapter& aa) {
    auto* view = dynamic_cast<osgViewer::View*>(&aa);
    m_threads.enterFrame();
    if (!view || m_state != Digitising) {
        return false;
    }
    if (ea.getEventType() == GUIEventAdapter::PUSH && ea.getButton() == GUIEventAdapter::LEFT_MOUSE_BUTTON) {
        rememberPosition(ea);
        if (const auto position = pickOnMap(*view, ea)) {
            m_threads.onGui([this, vertex = *position] { addVertex(vertex); });
        }
    } else if (ea.getEventType() == GUIEventAdapter::RELEASE &&
               ea.getButton() == GUIEventAdapter::RIGHT_MOUSE_BUTTON) {
        onRightRelease(*view, ea);
    } else if (ea.getEventType() == GUIEventAdapter::MOVE) {
        rememberPosition(ea);
        if (const auto position = pickOnMap(*view, ea)) {
            m_drawing.stretchBand(*position);
        }
    }
    return false;
}

void Cdrawspeicalarea::rememberPosition(const GUIEventAdapter& ea) {
    m_pressX = static_cast<int>(ea.getX());
    m_pressY = static_cast<int>(ea.getY());
}

void Cdrawspeicalarea::onRightRelease(osgViewer::View& view, const GUIEventAdapter& ea) {
    if (!isClick(ea, m_pressX, m_pressY)) {
        return;
    }
    m_threads.onGui([this, position = pickOnMap(view, ea)] {
        if (position) {
            addVertex(*position);
        }
        closeRing();
    });
}

void Cdrawspeicalarea::addVertex(const osg::Vec3d& position) {
    if (!m_dialog || m_state != Digitising) {
        return;
    }
    const osgEarth::MapNode* mapNode = globeMapNode();
    const osgEarth::SpatialReference* srs = mapNode ? mapNode->getMapSRS() : nullptr;
    m_vertices.push_back(m_vertices.empty() ? position : onTurnOf(m_vertices.back(), position, srs));
    m_ring = m_vertices;
    m_areaStyle = makeDigitisedStyle(*m_dialog);
    m_threads.onFrame(
        [this, vertices = m_vertices, style = m_areaStyle] { m_drawing.draw(vertices, style); });
}

void Cdrawspeicalarea::closeRing() {
    m_vertices.clear();
    m_threads.onFrame([this] { m_drawing.close(); });
    finish();
}

void Cdrawspeicalarea::OnMessage(
    std::string message) { // NOLINT(performance-unnecessary-value-param): by contract
    m_threads.enterFrame();
    if (message == "drawspecialarea") {
        addToGlobe(m_drawing.group());
        applyGlobalDefaults(m_drawing.group());
    } else if (message == "removespecialarea") {
        const osg::ref_ptr<osg::Group> group = m_closedGroup ? m_closedGroup.get() : m_drawing.group();
        m_closedGroup = nullptr;
        removeFromGlobe(group);
        applyGlobalDefaults(group);
    }
}

void Cdrawspeicalarea::SlotOK() {
    if (!m_dialog || m_ring.empty()) {
        emit msg_waring(tr("请先绘制特殊面！"));
        m_ring.clear();
        return;
    }
    const QString name = m_dialog->ui.lineEditTitle->text();
    if (name.isEmpty()) {
        emit msg_waring(tr("请输入特殊面名称！"));
        return;
    }
    StationWindow* window = stationWindow();
    if (!window || window->isReiterated_node(name)) {
        return;
    }
    const Special_Polygon record = makeRecord(toGbk(name));
    m_areaStyle = makeDigitisedStyle(*m_dialog);
    m_threads.onFrame([this, style = m_areaStyle] { m_drawing.finish(style); });
    if (window->AddAreaNode(record)) {
        enterIntoScene(record);
    }
    m_dialog->hide();
    m_ring.clear();
}

Special_Polygon Cdrawspeicalarea::makeRecord(const std::string& gbkName) const {
    const osg::ref_ptr<osgEarth::Symbology::Polygon> ring = new osgEarth::Symbology::Polygon;
    ring->insert(ring->end(), m_ring.begin(), m_ring.end());
    Special_Polygon record(gbkName, ring->getBounds().center());
    record.m_type = KV_SPECIAL_AREA;
    record.m_vertices = m_ring;
    copyStyle(*m_dialog, record);
    return record;
}

void Cdrawspeicalarea::enterIntoScene(const Special_Polygon& record) {
    const osg::ref_ptr<osgEarth::Annotation::PlaceNode> label =
        makeMarker(record.GetCoor(), record.GetName());
    if (label) {
        label->setName(kAreaGroupName);
        m_threads.onFrame([this, label] { m_drawing.label(label); });
    }
    if (auto* scene = dataSet<OsgDataSet>()) {
        scene->addPipeAreas(m_areaGroup, Special_Area(record));
    }
    m_state = Finished;
}

void Cdrawspeicalarea::SlotClose() {
    m_threads.onFrame([this] { m_closedGroup = m_drawing.group(); });
    osgPush("removespecialarea");
    finish();
}

void Cdrawspeicalarea::OnWaring(QString text) { // NOLINT(performance-unnecessary-value-param): a slot by name
    showWarning(text);
}
