#include "region/CeditPolygon.h"

#include "host/Gbk.h"
#include "host/inspection/DataSet.h"
#include "host/inspection/OptionalMembers.h"
#include "host/inspection/StationWindow.h"
#include "host/viewmanager/MessageBus.h"
#include "host/viewmanager/pick.h"
#include "plugin/Button.h"
#include "plugin/ClickTest.h"
#include "plugin/Globe.h"
#include "plugin/Inspection.h"
#include "plugin/OptionalCall.h"
#include "region/RegionRestyle.h"
#include "special/Marker.h"
#include "special/RegionStyle.h"

#include <QCursor>
#include <QMenu>

#include <osgEarth/ObjectIndex>
#include <osgEarth/Registry>
#include <osgEarthFeatures/Feature>
#include <osgEarthSymbology/Geometry>
#include <osgViewer/View>

using osgGA::GUIEventAdapter;

namespace {

constexpr char kKey[] = "309 edit polygon";
constexpr int kNothing = PickCallback_other::kNothing;

/// Name of the object that `node` stands for, GBK; empty when it stands for none.
std::string nameOnGlobe(const osg::ref_ptr<osg::Group>& node) {
    const auto* scene = dataSet<OsgDataSet>();
    const auto nameIn = [&node](const auto& map) {
        const auto entry = map.find(node);
        return entry == map.end() ? std::string() : entry->second.GetName();
    };
    if (!scene) {
        return {};
    }
    for (const std::string& name :
         {nameIn(scene->getPipePolygons()), nameIn(scene->getPipeAreas()), nameIn(scene->getPipePoints())}) {
        if (!name.empty()) {
            return name;
        }
    }
    return {};
}

/// Copies the record of `node` out of one of the data set's maps.
template<typename Map, typename Record>
bool copyRecord(const Map& map, const osg::ref_ptr<osg::Group>& node, Record& record) {
    const auto entry = map.find(node);
    if (entry == map.end()) {
        return false;
    }
    record = entry->second;
    return true;
}

} // namespace

CeditPolygon::CeditPolygon() : zeo::ToolPlugin(kKey), m_ownKey(kKey) {
    m_name = toGbk("编辑特殊区域");
    m_toolTip = toGbk("编辑特殊面、特殊点");
    m_commandType = toGbk("巡检工具");
    m_cursor = QCursor(Qt::ArrowCursor);
    m_icon = QIcon(":/ToolPluginorva/images/editpolgon.png");

    connect(this, SIGNAL(signal_eidtPolygon()), this, SLOT(eidtPolygon()));
    buildMenu();
}

CeditPolygon::~CeditPolygon() {
    delete m_styleDialog.data();
    delete m_pointDialog.data();
}

void CeditPolygon::buildMenu() {
    m_contextMenu = std::make_unique<QMenu>();
    connect(m_contextMenu->addAction(tr("删除")), SIGNAL(triggered()), this, SLOT(SLOTDeletFeature_All()));
    connect(m_contextMenu->addAction(tr("编辑")), SIGNAL(triggered()), this, SLOT(SLOTEditPolygon()));
}

void CeditPolygon::OnActivate() {
    osgCmd(m_name.c_str());
    setStatbarTip(tr("编辑高后果区、特殊面、特殊点"));
    m_picker.announce();
    osgPush("addpick");
    m_editState = m_wasUnchecked ? Inactive : Active;
    setButtonChecked(m_pButton, !m_wasUnchecked);
}

void CeditPolygon::OnDeactivate() {
    // Left before the picker arrived, it must still be taken out again.
    if (m_picker.isThereOrComing()) {
        osgPush("removePick");
    }
    if (m_pointDialog) {
        m_pointDialog->hide();
    }
    if (m_styleDialog) {
        m_styleDialog->hide();
    }
    m_wasUnchecked = !isButtonChecked(m_pButton);
    m_editState = Inactive;
    setButtonChecked(m_pButton, false);
}

void CeditPolygon::OnMessage(
    std::string message) { // NOLINT(performance-unnecessary-value-param): by contract
    m_threads.enterFrame();
    if (message == "removePick") {
        m_picker.remove();
    } else if (message == "deletedrawable") {
        m_threads.onGui([this] { takeOffGlobe(m_pickedNode); });
    } else if (message == "addpick") {
        m_picker.install(message);
    }
}

void CeditPolygon::takeOffGlobe(const osg::ref_ptr<osg::Group>& region) {
    m_threads.onFrame([region] { removeFromGlobe(region); });
}

bool CeditPolygon::handle(const GUIEventAdapter& ea, osgGA::GUIActionAdapter& aa) {
    auto* view = dynamic_cast<osgViewer::View*>(&aa);
    m_threads.enterFrame();
    if (!view || m_editState != Active) {
        return false;
    }
    switch (ea.getEventType()) {
    case GUIEventAdapter::RELEASE:
        if (ea.getButton() == GUIEventAdapter::RIGHT_MOUSE_BUTTON) {
            onRightRelease(*view, ea);
        }
        break;
    case GUIEventAdapter::MOVE:
        rememberPosition(ea);
        pick(view, ea);
        break;
    case GUIEventAdapter::KEYDOWN:
        onKeyDown(ea);
        break;
    case GUIEventAdapter::KEYUP:
        if (ea.getKey() == GUIEventAdapter::KEY_Delete) {
            m_deleteKeyDown = false;
        }
        break;
    default:
        break;
    }
    return false;
}

void CeditPolygon::onRightRelease(osgViewer::View& view, const GUIEventAdapter& ea) {
    const auto picked = takePickedNode();
    if (!picked) {
        return;
    }
    m_threads.onGui([this, node = *picked] { m_pickedNode = node; });
    if (!isClick(ea, m_lastX, m_lastY)) {
        return;
    }
    rememberPosition(ea);
    m_threads.onGui([this, world = pick(&view, ea)] { openMenuAt(world); });
}

void CeditPolygon::onKeyDown(const GUIEventAdapter& ea) {
    if (ea.getKey() == GUIEventAdapter::KEY_Delete) {
        m_deleteKeyDown = true;
    }
    if (!m_deleteKeyDown) {
        return;
    }
    if (const auto picked = takePickedNode()) {
        m_threads.onGui([this, node = *picked] {
            m_pickedNode = node;
            SLOTDeletFeature_All();
        });
    }
}

void CeditPolygon::openMenuAt(const osg::Vec3d& world) {
    m_pickPoint = world;
    callIfThere(stationWindow(), optional_member::kSelectNode, fromGbk(nameOnGlobe(m_pickedNode)));
    emit signal_eidtPolygon();
}

void CeditPolygon::rememberPosition(const GUIEventAdapter& ea) {
    m_lastX = static_cast<int>(ea.getX());
    m_lastY = static_cast<int>(ea.getY());
}

std::optional<osg::ref_ptr<osg::Group>> CeditPolygon::takePickedNode() {
    const PickCallback_other* callback = m_picker.callback();
    if (!callback) {
        return std::nullopt;
    }
    const int id = callback->m_pickedId;
    if (id == kNothing || id != m_lastHandledId) {
        m_lastHandledId = kNothing;
    }
    if (id == kNothing || id == m_lastHandledId) {
        return std::nullopt;
    }
    return osgEarth::Registry::objectIndex()->get<osg::Group>(static_cast<osgEarth::ObjectID>(id));
}

void CeditPolygon::eidtPolygon() {
    if (m_pickedNode) {
        m_contextMenu->exec(QCursor::pos());
    }
}

void CeditPolygon::SLOTDeletFeature_All() {
    if (!m_pickedNode) {
        return;
    }
    const std::string& kind = m_pickedNode->getName();
    if (kind == "ROIPolygon") {
        deletePolygon();
    } else if (kind == "ROIPoint") {
        deletePoint();
    } else if (kind == "ROIArea") {
        deleteArea();
    }
}

bool CeditPolygon::findPolygonRecord() {
    auto* scene = dataSet<OsgDataSet>();
    return scene && copyRecord(scene->getPipePolygons(), m_pickedNode, m_polygon);
}

bool CeditPolygon::findAreaRecord() {
    auto* scene = dataSet<OsgDataSet>();
    return scene && copyRecord(scene->getPipeAreas(), m_pickedNode, m_area);
}

bool CeditPolygon::findPointRecord() {
    auto* scene = dataSet<OsgDataSet>();
    return scene && copyRecord(scene->getPipePoints(), m_pickedNode, m_point);
}

void CeditPolygon::deletePolygon() {
    if (!findPolygonRecord() || !deleteStored(m_polygon)) {
        return;
    }
    dataSet<OsgDataSet>()->removePipePolygons(m_pickedNode);
    takeOffGlobe(m_pickedNode);
}

void CeditPolygon::deleteArea() {
    if (!findAreaRecord() || !deleteStored(m_area)) {
        return;
    }
    dataSet<OsgDataSet>()->removePipeAreas(m_pickedNode);
    takeOffGlobe(m_pickedNode);
}

// There is no removal call for points: their entry stays in the point map.
void CeditPolygon::deletePoint() {
    if (!findPointRecord() || !deleteStored(m_point)) {
        return;
    }
    dataSet<OsgDataSet>()->removePipePolygons(m_pickedNode);
    takeOffGlobe(m_pickedNode);
}

bool CeditPolygon::deleteStored(const KV_BasicNode& record) {
    StationWindow* window = stationWindow();
    return !window || window->DeleteNode(fromGbk(record.GetName()), record.m_type);
}

void CeditPolygon::SLOTEditPolygon() {
    if (findPolygonRecord()) {
        openStyleDialog(m_polygon, KV_HIGH_CONSEQUENCE_AREA);
    } else if (findAreaRecord()) {
        openStyleDialog(m_area, KV_SPECIAL_AREA);
    } else if (findPointRecord()) {
        openPointDialog();
    }
}

void CeditPolygon::openStyleDialog(const Special_Region& record, int type) {
    delete m_styleDialog.data();
    m_styleDialog = new CdrawPolygonDlg(mainWindow());
    m_styleDialog->LoadRecord(type);
    m_styleDialog->showRecord(record);
    m_styleDialog->show();
    connect(m_styleDialog, SIGNAL(SignalClose()), this, SLOT(SlotClose()));
    connect(m_styleDialog, SIGNAL(SignalOK()), this, SLOT(SlotOK()));
}

void CeditPolygon::openPointDialog() {
    // Crossed on purpose: an old point dialog takes the style dialog with it and is itself only forgotten.
    // The main window owns it from then on.
    if (m_pointDialog) {
        delete m_styleDialog.data();
    }
    m_pointDialog = new CDrawPointDlg(mainWindow());
    m_pointDialog->LoadRecord(KV_SPECIAL_POINT);
    m_pointDialog->showRecord(m_point);
    m_pointDialog->show();
    connect(m_pointDialog, SIGNAL(SignalClose()), this, SLOT(SlotPointClose()));
    connect(m_pointDialog, SIGNAL(SignalOK()), this, SLOT(SlotPointOK()));
}

void CeditPolygon::SlotClose() {
    if (m_styleDialog) {
        m_styleDialog->hide();
    }
    m_editState = Active;
}

void CeditPolygon::SlotPointClose() {
    if (m_pointDialog) {
        m_pointDialog->hide();
    }
}

const osgEarth::Symbology::Geometry* CeditPolygon::findOutlineOfPickedNode() {
    osg::Node* first = m_pickedNode->getNumChildren() > 0 ? m_pickedNode->getChild(0) : nullptr;
    m_featureNode = dynamic_cast<osgEarth::Annotation::FeatureNode*>(first);
    const osgEarth::Features::Feature* feature = m_featureNode ? m_featureNode->getFeature() : nullptr;
    const osgEarth::Symbology::Geometry* outline = feature ? feature->getGeometry() : nullptr;
    if (outline) {
        m_vertexCount = static_cast<int>(outline->size());
    }
    return outline;
}

template<typename Record>
void CeditPolygon::confirmRegion(Record& record) {
    const QString name = m_styleDialog->ui.lineEditTitle->text();
    const std::string oldName = record.GetName();
    StationWindow* window = stationWindow();
    // Before the record is touched: a refused name must not become the old name of the next try.
    if (toGbk(name) != oldName && window && window->isReiterated_node(name)) {
        return;
    }
    const osgEarth::Symbology::Geometry* outline = findOutlineOfPickedNode();
    record.SetName(toGbk(name));
    if (outline) {
        record.SetCoor(outline->getBounds().center());
        record.m_vertices.assign(outline->begin(), outline->end());
    }
    copyStyle(*m_styleDialog, record);

    if (window && window->UpdataNode(record, oldName)) {
        updateRegistry(record);
        if (outline) {
            m_threads.onFrame(
                [region = m_pickedNode, node = m_featureNode, name = record.GetName(),
                 style = makeRegionStyle(*m_styleDialog)] { restyleRegion(*region, *node, style, name); });
        }
    }
    m_editState = Active;
    m_styleDialog->hide();
}

void CeditPolygon::updateRegistry(const Special_Polygon& polygon) {
    if (auto* scene = dataSet<OsgDataSet>()) {
        scene->UpdataPipePolygon(m_pickedNode, polygon);
    }
}

void CeditPolygon::updateRegistry(const Special_Area& area) {
    if (auto* scene = dataSet<OsgDataSet>()) {
        scene->UpdataPipeArea(m_pickedNode, area);
    }
}

void CeditPolygon::SlotOK() {
    if (!m_pickedNode || !m_styleDialog) {
        return;
    }
    const std::string& kind = m_pickedNode->getName();
    if (kind == "ROIPolygon") {
        confirmRegion(m_polygon);
    } else if (kind == "ROIArea") {
        confirmRegion(m_area);
    }
}

void CeditPolygon::SlotPointOK() {
    osg::Node* first =
        m_pickedNode && m_pickedNode->getNumChildren() > 0 ? m_pickedNode->getChild(0) : nullptr;
    m_pointNode = dynamic_cast<osgEarth::Annotation::PlaceNode*>(first);
    if (!m_pointDialog || !m_pointNode) {
        return;
    }
    const QString name = m_pointDialog->ui.lineEditTitle->text();
    const std::string oldName = m_point.GetName();
    StationWindow* window = stationWindow();
    if (toGbk(name) != oldName && window && window->isReiterated_node(name)) {
        return;
    }
    m_point.m_attribute = toGbk(m_pointDialog->m_attribute);
    m_point.SetName(toGbk(name));
    if (window && window->UpdataNode(m_point, oldName)) {
        if (auto* scene = dataSet<OsgDataSet>()) {
            scene->UpdataPipePoint(m_pickedNode, m_point);
        }
        rebuildPoint();
    }
    m_editState = Active;
    m_pointDialog->hide();
}

void CeditPolygon::rebuildPoint() {
    const osg::ref_ptr<osgEarth::Annotation::PlaceNode> old = m_pointNode;
    m_pointNode = makeMarker(m_point.GetCoor(), m_point.GetName());
    if (m_pointNode) {
        m_pointNode->setName("ROIPoint");
        m_pointNode->setDynamic(true);
    }
    m_threads.onFrame([region = m_pickedNode, old, marker = m_pointNode] {
        region->removeChild(old);
        if (marker) {
            region->addChild(marker);
        }
    });
}
