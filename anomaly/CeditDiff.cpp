#include "anomaly/CeditDiff.h"

#include "anomaly/FrameRectangle.h"
#include "anomaly/ShownItem.h"
#include "host/Gbk.h"
#include "host/viewmanager/MessageBus.h"
#include "plugin/Button.h"
#include "plugin/Drape.h"
#include "plugin/Globe.h"

#include <QMenu>

#include <osgEarthSymbology/LineSymbol>
#include <osgEarthSymbology/PolygonSymbol>
#include <osgViewer/View>

using osgEarth::Symbology::Color;
using osgEarth::Symbology::LineSymbol;
using osgEarth::Symbology::PolygonSymbol;

namespace {

constexpr char kKey[] = "307 edit diff ";
constexpr char kFrameName[] = "FrameSelect";

/// The first child of the map node with the frame group's name, or null.
osg::Node* frameGroupInScene() {
    osgEarth::MapNode* mapNode = globeMapNode();
    for (unsigned index = 0; mapNode && index < mapNode->getNumChildren(); ++index) {
        if (mapNode->getChild(index)->getName() == kFrameName) {
            return mapNode->getChild(index);
        }
    }
    return nullptr;
}

} // namespace

CeditDiff::CeditDiff()
    : zeo::ToolPlugin(kKey), m_table([this](const auto& gbkNames) { takeTableSelection(gbkNames); }),
      m_ownKey(kKey) {
    m_name = toGbk("查看\\编辑异常");
    m_toolTip = toGbk("查看\\编辑当前显示区域的异常信息");
    m_commandType = toGbk("巡检工具");
    m_cursor = QCursor(Qt::PointingHandCursor);
    m_icon = QIcon(":/ToolPluginorva/images/lookup.png");

    connect(this, SIGNAL(signal_eidtDff()), this, SLOT(eidtDff()));
    connect(this, SIGNAL(signal_checkDff()), this, SLOT(checkDff()));
    connect(this, SIGNAL(signal_deleteDff()), this, SLOT(OnDeleteDff()));
    buildMenu();

    m_currentItem = shownItem();
}

CeditDiff::~CeditDiff() = default;

void CeditDiff::buildMenu() {
    m_contextMenu = std::make_unique<QMenu>();
    QAction* remove = m_contextMenu->addAction(tr("删除"));
    connect(remove, SIGNAL(triggered()), this, SLOT(OnDeleteItem()));

    QMenu* attribute = m_contextMenu->addMenu(tr("属性设置"));
    connect(attribute->addAction(tr("建构筑物")), SIGNAL(triggered()), this, SLOT(OnSetbuild()));
    connect(attribute->addAction(tr("重物占压")), SIGNAL(triggered()), this, SLOT(OnSetoccupy()));
    connect(attribute->addAction(tr("深挖")), SIGNAL(triggered()), this, SLOT(OnSump()));
    connect(attribute->addAction(tr("塌陷")), SIGNAL(triggered()), this, SLOT(OnCollapse()));
    connect(attribute->addAction(tr("自定义")), SIGNAL(triggered()), this, SLOT(OnSetother()));
}

void CeditDiff::OnActivate() {
    osgCmd(m_name.c_str());
    setStatbarTip(fromGbk(m_toolTip));
    m_picker.announce();
    osgPush("addPick");
    m_toolState = m_toggle ? Inactive : Active;
    setButtonChecked(m_pButton, !m_toggle);

    prepareAreaStyle();
    m_threads.onFrame([this] { bringFrameGroup(); });
    osgPush(kFrameName);
    if (!m_toggle) {
        m_table.follow();
    }
}

void CeditDiff::bringFrameGroup() {
    m_frameFeatureNode = nullptr;
    m_frameStyle = makeFrameStyle();
    m_frameGroup = new osg::Group;
    applyGlobalDefaults(m_frameGroup);
}

void CeditDiff::OnDeactivate() {
    m_table.leave();
    m_stationItems.clear();
    m_currentItem = shownItem();
    m_doubleClickPoint.reset();
    m_threads.onFrame([this] { leaveGlobe(); });
    // Left before the picker arrived, it must still be taken out again.
    if (m_picker.isThereOrComing()) {
        osgPush("removePick");
    }
    m_toggle = !isButtonChecked(m_pButton);
    m_toolState = Inactive;
    setButtonChecked(m_pButton, false);
}

void CeditDiff::prepareAreaStyle() {
    auto* fill = m_areaStyle.getOrCreate<PolygonSymbol>();
    fill->fill()->color() = Color(1, 1, 0, 5);
    auto* line = m_areaStyle.getOrCreate<LineSymbol>();
    line->stroke()->color() = Color::White;
    line->stroke()->width() = 1.0F;
    line->stroke()->widthUnits() = osgEarth::Units::PIXELS;
    drapeOnTerrain(m_areaStyle);
}

void CeditDiff::OnMessage(std::string message) { // NOLINT(performance-unnecessary-value-param): by contract
    m_threads.enterFrame();
    if (message == "removePick") {
        m_picker.remove();
    } else if (message == "addPick") {
        m_picker.install(message);
    } else if (message == kFrameName) {
        addFrameSelection();
    } else if (message == "RemoveFrameSelect") {
        removeFrameSelection();
    }
}

void CeditDiff::addFrameSelection() {
    if (!m_frameGroup) {
        return;
    }
    m_frameGroup->setName(kFrameName);
    // The group of an earlier activation would otherwise stay, and be the one that the next removal finds.
    osg::Node* inScene = frameGroupInScene();
    if (inScene != m_frameGroup) {
        removeFromGlobe(inScene);
    }
    addToGlobe(m_frameGroup);
}

void CeditDiff::removeFrameSelection() {
    removeFromGlobe(frameGroupInScene());
    if (m_frameFeatureNode) {
        eraseFrame(*m_frameFeatureNode);
    }
    osgPush(kFrameName);
}
