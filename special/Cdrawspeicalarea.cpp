#include "special/Cdrawspeicalarea.h"

#include "host/Gbk.h"
#include "host/inspection/DataSet.h"
#include "host/inspection/IORVAContext.h"
#include "host/inspection/StationWindow.h"
#include "host/viewmanager/MessageBus.h"
#include "host/viewmanager/pick.h"
#include "plugin/Button.h"
#include "plugin/ClickTest.h"
#include "plugin/Drape.h"
#include "plugin/Globe.h"
#include "plugin/Inspection.h"
#include "special/DrawingDatabase.h"
#include "special/Marker.h"
#include "special/RegionStyle.h"
#include "special/Warning.h"

#include <osgEarth/GeoData>
#include <osgEarth/ObjectIndex>
#include <osgEarth/Registry>
#include <osgEarthFeatures/Feature>
#include <osgEarthSymbology/Geometry>
#include <osgEarthSymbology/LineSymbol>
#include <osgEarthSymbology/PolygonSymbol>
#include <osgEarthSymbology/RenderSymbol>
#include <osgViewer/View>

#include <cmath>

using osgEarth::Annotation::FeatureNode;
using osgEarth::Features::Feature;
using osgEarth::Symbology::Color;
using osgEarth::Symbology::LineSymbol;
using osgEarth::Symbology::PolygonSymbol;
using osgEarth::Symbology::RenderSymbol;
using osgGA::GUIEventAdapter;

namespace {

constexpr char kGroupName[] = "ROIArea";

/// The picked point in the map's reference system; nothing off the globe.
std::optional<osg::Vec3d> pickOnMap(osgViewer::View& view, const GUIEventAdapter& ea) {
    const osg::Vec3d world = pick(&view, ea);
    const osgEarth::MapNode* mapNode = globeMapNode();
    osgEarth::GeoPoint onMap;
    if (world == kPickNoHit || !mapNode || !onMap.fromWorld(mapNode->getMapSRS(), world))
        return std::nullopt;
    return onMap.vec3d();
}

/// The same place on the turn of the globe that is nearest to `reference`, so that a ring across the
/// antimeridian goes the short way. Degrees.
osg::Vec3d onTurnOf(const osg::Vec3d& reference, osg::Vec3d place) {
    constexpr double kTurn = 360.0;
    place.x() += kTurn * std::round((reference.x() - place.x()) / kTurn);
    return place;
}

/// A feature node for the map, with an empty geometry.
osg::ref_ptr<FeatureNode> makeFeatureNode(osgEarth::Symbology::Geometry* geometry,
                                          const osgEarth::Symbology::Style& style) {
    osgEarth::MapNode* mapNode = globeMapNode();
    const osg::ref_ptr<Feature> feature = new Feature(geometry, mapNode->getMapSRS(), style);
    osg::ref_ptr<FeatureNode> node = new FeatureNode(feature.get());
    node->setMapNode(mapNode);
    return node;
}

/// A feature's own symbols win over its node's, so both get the style; then the node is rebuilt.
void restyle(FeatureNode& node, const osgEarth::Symbology::Style& style) {
    node.getFeature()->style() = style;
    node.setStyle(style);
    node.dirty();
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
    m_areaNode = nullptr;
    m_rubberBandNode = nullptr;
    prepareStyles();
    m_areaGroup = new osg::Group;
    applyGlobalDefaults(m_areaGroup);
    m_areaGroup->setName(kGroupName);
    osgPush("drawspecialarea");
}

void Cdrawspeicalarea::OnDeactivate() {
    finish();
    if (m_dialog)
        m_dialog->hide();
}

void Cdrawspeicalarea::finish() {
    m_active = !isButtonChecked(m_pButton);
    m_state = Finished;
    setButtonChecked(m_pButton, false);
}

void Cdrawspeicalarea::openDialog() {
    delete m_dialog.data();
    m_dialog = new CdrawPolygonDlg(IORVAContext::Instance()->GetMainWindow());
    m_dialog->LoadRecord(KV_SPECIAL_AREA);
    m_dialog->show();
    connect(m_dialog, SIGNAL(SignalClose()), this, SLOT(SlotClose()));
    connect(m_dialog, SIGNAL(SignalOK()), this, SLOT(SlotOK()));
}

void Cdrawspeicalarea::prepareStyles() {
    m_areaStyle = osgEarth::Symbology::Style();
    m_areaStyle.getOrCreate<PolygonSymbol>()->fill()->color() = Color(1.0F, 1.0F, 0.0F, 0.55F);
    m_areaStyle.getOrCreate<RenderSymbol>()->depthOffset()->minBias() =
        osgEarth::Distance(100.0, osgEarth::Units::METERS);
    auto* areaLine = m_areaStyle.getOrCreate<LineSymbol>();
    areaLine->stroke()->color() = Color(Color::Cyan, 0.6F);
    areaLine->stroke()->width() = 1.0F;
    areaLine->stroke()->widthUnits() = osgEarth::Units::PIXELS;

    m_outlineStyle = osgEarth::Symbology::Style();
    auto* outline = m_outlineStyle.getOrCreate<LineSymbol>();
    outline->stroke()->color() = Color(1.0F, 1.0F, 1.0F, 0.55F);
    outline->stroke()->width() = 2.0F;

    drapeOnTerrain(m_areaStyle);
    drapeOnTerrain(m_outlineStyle);
}

bool Cdrawspeicalarea::handle(const GUIEventAdapter& ea, osgGA::GUIActionAdapter& aa) {
    auto* view = dynamic_cast<osgViewer::View*>(&aa);
    if (!view || m_state != Digitising)
        return false;
    if (ea.getEventType() == GUIEventAdapter::PUSH && ea.getButton() == GUIEventAdapter::LEFT_MOUSE_BUTTON) {
        rememberPosition(ea);
        if (const auto position = pickOnMap(*view, ea))
            addVertex(*position);
    } else if (ea.getEventType() == GUIEventAdapter::RELEASE &&
               ea.getButton() == GUIEventAdapter::RIGHT_MOUSE_BUTTON) {
        onRightRelease(*view, ea);
    } else if (ea.getEventType() == GUIEventAdapter::MOVE) {
        rememberPosition(ea);
        if (const auto position = pickOnMap(*view, ea))
            updateRubberBand(*position);
    }
    return false;
}

void Cdrawspeicalarea::rememberPosition(const GUIEventAdapter& ea) {
    m_pressX = static_cast<int>(ea.getX());
    m_pressY = static_cast<int>(ea.getY());
}

void Cdrawspeicalarea::onRightRelease(osgViewer::View& view, const GUIEventAdapter& ea) {
    if (!isClick(ea, m_pressX, m_pressY))
        return;
    m_outlineStyle.getOrCreate<LineSymbol>()->stroke()->color() = Color(1.0F, 0.0F, 0.0F, 1.0F);
    if (const auto position = pickOnMap(view, ea))
        addVertex(*position);
    if (m_rubberBandNode)
        restyle(*m_rubberBandNode, m_outlineStyle);
    m_vertices.clear();
    clearRubberBand();
    finish();
}

void Cdrawspeicalarea::addVertex(const osg::Vec3d& position) {
    if (!m_dialog)
        return;
    m_areaStyle = makeDigitisedStyle(*m_dialog);
    m_vertices.push_back(m_vertices.empty() ? position : onTurnOf(m_vertices.back(), position));
    if (!m_areaNode) {
        m_areaNode = makeFeatureNode(new osgEarth::Symbology::Polygon, m_areaStyle);
        m_areaNode->setName(kGroupName);
        m_areaGroup->addChild(m_areaNode);
    }
    osgEarth::Symbology::Geometry* ring = m_areaNode->getFeature()->getGeometry();
    ring->clear();
    for (const osg::Vec3d& vertex : m_vertices)
        ring->push_back(vertex);
    restyle(*m_areaNode, m_areaStyle);
    clearRubberBand();
}

void Cdrawspeicalarea::updateRubberBand(const osg::Vec3d& cursor) {
    if (m_vertices.size() < 2)
        return;
    if (!m_rubberBandNode) {
        m_rubberBandNode = makeFeatureNode(new osgEarth::Symbology::LineString, m_outlineStyle);
        m_areaGroup->addChild(m_rubberBandNode);
    }
    // How the polygon would close through the pointer.
    osgEarth::Symbology::Geometry* line = m_rubberBandNode->getFeature()->getGeometry();
    line->clear();
    line->push_back(m_vertices.front());
    line->push_back(onTurnOf(m_vertices.back(), cursor));
    line->push_back(m_vertices.back());
    restyle(*m_rubberBandNode, m_outlineStyle);
}

void Cdrawspeicalarea::clearRubberBand() {
    if (!m_rubberBandNode)
        return;
    m_rubberBandNode->getFeature()->getGeometry()->clear();
    m_rubberBandNode->dirty();
}

void Cdrawspeicalarea::OnMessage(
    std::string message) { // NOLINT(performance-unnecessary-value-param): by contract
    if (message == "drawspecialarea") {
        addToGlobe(m_areaGroup);
        applyGlobalDefaults(m_areaGroup);
    } else if (message == "removespecialarea") {
        removeFromGlobe(m_areaGroup);
        applyGlobalDefaults(m_areaGroup);
    }
}

void Cdrawspeicalarea::SlotOK() {
    if (!m_dialog || !m_areaNode) {
        emit msg_waring(tr("请先绘制特殊面！"));
        m_areaNode = nullptr;
        return;
    }
    const QString name = m_dialog->ui.lineEditTitle->text();
    if (name.isEmpty()) {
        emit msg_waring(tr("请输入特殊面名称！"));
        return;
    }
    StationWindow* window = IORVAContext::Instance()->GetStationWindow();
    if (window->isReiterated_node(name))
        return;
    const Special_Polygon record = makeRecord(toGbk(name));
    restyleFinally();
    if (window->AddAreaNode(record))
        enterIntoScene(record);
    m_dialog->hide();
    m_areaNode = nullptr;
}

Special_Polygon Cdrawspeicalarea::makeRecord(const std::string& gbkName) const {
    const osgEarth::Symbology::Geometry* ring = m_areaNode->getFeature()->getGeometry();
    Special_Polygon record(gbkName, ring->getBounds().center());
    record.m_type = KV_SPECIAL_AREA;
    record.m_vertices.assign(ring->begin(), ring->end());
    copyStyle(*m_dialog, record);
    return record;
}

void Cdrawspeicalarea::restyleFinally() {
    osgEarth::MapNode* mapNode = globeMapNode();
    m_areaStyle = makeDigitisedStyle(*m_dialog);
    const osg::ref_ptr<osgEarth::Symbology::Geometry> ring = m_areaNode->getFeature()->getGeometry()->clone();
    m_areaNode->setFeature(new Feature(ring.get(), mapNode->getMapSRS(), m_areaStyle));
    m_areaNode->setMapNode(mapNode);
    m_areaNode->setStyle(m_areaStyle);
    m_areaNode->setName(kGroupName);
    m_areaNode->dirty();
}

void Cdrawspeicalarea::enterIntoScene(const Special_Polygon& record) {
    const osg::ref_ptr<osgEarth::Annotation::PlaceNode> label =
        makeMarker(record.GetCoor(), record.GetName());
    label->setName(kGroupName);
    // The rubber band, if there is one, stands behind the area.
    m_areaGroup->removeChild(1);
    m_areaGroup->addChild(label);
    m_areaGroup->setName(kGroupName);
    if (auto* scene = dataSet<OsgDataSet>())
        scene->addPipeAreas(m_areaGroup, Special_Area(record));
    osgEarth::ObjectIndex* index = osgEarth::Registry::objectIndex();
    index->tagNode(m_areaGroup, m_areaGroup);
    index->tagAllDrawables(m_areaGroup, m_areaGroup);
    applyGlobalDefaults(m_areaGroup);
    m_state = Finished;
}

void Cdrawspeicalarea::SlotClose() {
    osgPush("removespecialarea");
    finish();
}

void Cdrawspeicalarea::OnWaring(QString text) { // NOLINT(performance-unnecessary-value-param): a slot by name
    showWarning(text);
}
