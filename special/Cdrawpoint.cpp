#include "special/Cdrawpoint.h"

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
#include "special/Warning.h"

#include <QCursor>
#include <QMenu>

#include <osgEarth/GeoData>
#include <osgEarth/ObjectIndex>
#include <osgEarth/Registry>
#include <osgViewer/View>

using osgGA::GUIEventAdapter;

namespace {

constexpr char kKey[] = "3082 draw point ";
constexpr char kGroupName[] = "ROIPoint";

/// What is left of a position in single precision: a marker's is known to a metre or two.
osg::Vec3d inSinglePrecision(const osg::Vec3d& exact) {
    osg::Vec3d rounded;
    for (int axis = 0; axis < 3; ++axis) {
        // Volatile, because GCC 12 drops the rounding where it narrows and widens two numbers at once.
        const volatile auto narrow = static_cast<float>(exact[axis]);
        rounded[axis] = narrow;
    }
    return rounded;
}

} // namespace

Cdrawpoint::Cdrawpoint() : zeo::ToolPlugin(kKey), m_ownKey(kKey) {
    m_name = m_toolTip = toGbk("添加特殊点");
    m_commandType = toGbk("巡检工具");
    m_cursor = QCursor(Qt::PointingHandCursor);
    m_icon = QIcon(":/ToolPluginorva/images/spt.png");

    connect(this, SIGNAL(msg_waring(QString)), this, SLOT(OnWaring(QString)));
    connect(this, SIGNAL(signal_eidtpt()), this, SLOT(eidtPt()));
    m_contextMenu = std::make_unique<QMenu>();
    m_contextMenu->addAction(tr("删除"));
}

Cdrawpoint::~Cdrawpoint() {
    delete m_dialog.data();
}

void Cdrawpoint::OnActivate() {
    osgCmd(m_name.c_str());
    setStatbarTip(fromGbk(m_name));
    if (m_active) {
        m_state = Finished;
        setButtonChecked(m_pButton, false);
        return;
    }
    m_state = Confirming;
    setButtonChecked(m_pButton, true);
    if (!isDrawingDatabaseReady()) {
        m_active = false;
        return;
    }
    openDialog();
    RemovePreview(); // of a drawing that was given up
    m_pointGroup = new osg::Group;
    m_pointGroup->setName(kGroupName);
    m_threads.onFrame([this, group = m_pointGroup] { m_groupOfGlobe = group; });
    osgPush("drawStationPoint");
    m_state = Placing;
    m_active = true;
}

void Cdrawpoint::OnDeactivate() {
    finish();
    if (m_dialog) {
        m_dialog->hide();
    }
    m_active = false;
}

void Cdrawpoint::finish() {
    m_active = !isButtonChecked(m_pButton);
    m_state = Finished;
    setButtonChecked(m_pButton, false);
}

void Cdrawpoint::openDialog() {
    delete m_dialog.data();
    m_dialog = new CDrawPointDlg;
    m_dialog->LoadRecord(KV_SPECIAL_POINT);
    connect(m_dialog, SIGNAL(SignalClose()), this, SLOT(SlotClose()));
    connect(m_dialog, SIGNAL(SignalOK()), this, SLOT(SlotOK()));
    m_dialog->show();
}

bool Cdrawpoint::handle(const GUIEventAdapter& ea, osgGA::GUIActionAdapter& aa) {
    auto* view = dynamic_cast<osgViewer::View*>(&aa);
    m_threads.enterFrame();
    if (!view || !m_active) {
        return false;
    }
    const bool isLeft = ea.getButton() == GUIEventAdapter::LEFT_MOUSE_BUTTON;
    const bool followsPointer = ea.getEventType() == GUIEventAdapter::MOVE && m_state == Confirming;
    if ((ea.getEventType() == GUIEventAdapter::PUSH && isLeft) || followsPointer) {
        m_pressX = static_cast<int>(ea.getX());
        m_pressY = static_cast<int>(ea.getY());
    } else if (ea.getEventType() == GUIEventAdapter::RELEASE && isLeft) {
        onRelease(*view, ea);
    }
    return false;
}

void Cdrawpoint::onRelease(osgViewer::View& view, const GUIEventAdapter& ea) {
    if (!isClick(ea, m_pressX, m_pressY)) {
        return;
    }
    const osg::Vec3d picked = pick(&view, ea);
    const osgEarth::MapNode* mapNode = globeMapNode();
    if (picked == kPickNoHit || !mapNode) {
        return;
    }
    osgEarth::GeoPoint onMap;
    onMap.fromWorld(mapNode->getMapSRS(), inSinglePrecision(picked));
    m_threads.onGui([this, position = inSinglePrecision(onMap.vec3d())] {
        if (m_state == Placing) {
            PlacePoint(position.x(), position.y(), position.z());
        }
    });
}

void Cdrawpoint::addToGroup(const osg::ref_ptr<osgEarth::Annotation::PlaceNode>& marker) {
    m_threads.onFrame([group = m_pointGroup, marker] { group->addChild(marker); });
}

void Cdrawpoint::removeFromGroup(const osg::ref_ptr<osgEarth::Annotation::PlaceNode>& marker) {
    m_threads.onFrame([group = m_pointGroup, marker] { group->removeChild(marker); });
}

void Cdrawpoint::PlacePoint(double lonDegrees, double latDegrees, double heightMetres) {
    if (m_state == Confirming || !m_pointGroup) {
        return;
    }
    RemovePreview();
    m_clicked.set(lonDegrees, latDegrees, heightMetres);
    const QString label = m_dialog ? m_dialog->ui.lineEditTitle->text() : QString();
    m_previewMarker = makeMarker(m_clicked, toGbk(label));
    if (!m_previewMarker) {
        return;
    }
    m_previewMarker->setName(kGroupName);
    m_previewCentre = m_previewMarker->getBound().center();
    addToGroup(m_previewMarker);
}

void Cdrawpoint::RemovePreview() {
    if (m_previewMarker && m_pointGroup) {
        removeFromGroup(m_previewMarker);
    }
    m_previewMarker = nullptr;
}

void Cdrawpoint::PlaceFinalMarker(const std::string& gbkName) {
    const osg::ref_ptr<osgEarth::Annotation::PlaceNode> marker = makeMarker(m_clicked, gbkName);
    if (!marker) {
        return;
    }
    marker->setName(kGroupName);
    marker->setDynamic(true);
    m_threads.onFrame([group = m_pointGroup, marker] {
        group->addChild(marker);
        osgEarth::Registry::objectIndex()->tagNode(group, group);
    });
}

void Cdrawpoint::OnMessage(std::string message) { // NOLINT(performance-unnecessary-value-param): by contract
    m_threads.enterFrame();
    if (message == "drawStationPoint") {
        addToGlobe(m_groupOfGlobe);
        applyGlobalDefaults(m_groupOfGlobe);
    } else if (message == "removeStationPoint") {
        const osg::ref_ptr<osg::Group> group = m_closedGroup ? m_closedGroup : m_groupOfGlobe;
        m_closedGroup = nullptr;
        removeFromGlobe(group);
        applyGlobalDefaults(group);
    }
}

void Cdrawpoint::SlotOK() {
    m_state = Confirming;
    const osgEarth::MapNode* mapNode = globeMapNode();
    if (!mapNode || !m_dialog || !m_previewMarker || m_clicked == osg::Vec3d()) {
        emit msg_waring(tr("请先绘制特殊点"));
        m_state = Placing;
        return;
    }
    osg::Vec3d position;
    mapNode->getMapSRS()->transformFromWorld(m_previewCentre, position);
    const std::string name = toGbk(m_dialog->m_name);
    Special_Point point(name, position);
    point.m_attribute = toGbk(m_dialog->m_attribute);
    point.m_type = KV_SPECIAL_POINT;
    if (name.empty()) {
        emit msg_waring(tr("请输入名称"));
        return;
    }
    StationWindow* window = stationWindow();
    if (!window || window->isReiterated_node(m_dialog->m_name)) {
        return;
    }
    if (!window->AddPointNode(point)) {
        removeFromGroup(m_previewMarker);
        return;
    }
    if (auto* scene = dataSet<OsgDataSet>()) {
        scene->addPipePoints(m_pointGroup, point);
    }
    RemovePreview();
    PlaceFinalMarker(name);
    m_dialog->hide();
    finish();
}

void Cdrawpoint::SlotClose() {
    m_threads.onFrame([this] { m_closedGroup = m_groupOfGlobe; });
    osgPush("removeStationPoint");
    finish();
}

void Cdrawpoint::eidtPt() {
    m_contextMenu->exec(QCursor::pos());
}

void Cdrawpoint::OnWaring(QString text) { // NOLINT(performance-unnecessary-value-param): a slot by name
    showWarning(text);
}
