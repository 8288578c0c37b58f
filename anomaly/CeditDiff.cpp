#include "anomaly/CeditDiff.h"

#include "anomaly/FrameRectangle.h"
#include "anomaly/Highlight.h"
#include "anomaly/StationScan.h"
#include "anomaly/kv_setdiffattri.h"
#include "host/Gbk.h"
#include "host/inspection/AVWindow.h"
#include "host/inspection/IORVAContext.h"
#include "host/inspection/KVImageWindow.h"
#include "host/inspection/Records.h"
#include "host/inspection/StationWindow.h"
#include "host/style/myMessageBox.h"
#include "host/viewmanager/MessageBus.h"
#include "plugin/Button.h"
#include "plugin/Drape.h"
#include "plugin/Globe.h"

#include <QCursor>
#include <QMenu>

#include <osgEarthSymbology/LineSymbol>
#include <osgEarthSymbology/PolygonSymbol>
#include <osgEarthUtil/EarthManipulator>
#include <osgViewer/View>

#include <algorithm>

using osgEarth::Symbology::Color;
using osgEarth::Symbology::LineSymbol;
using osgEarth::Symbology::PolygonSymbol;
using osgEarth::Util::EarthManipulator;

namespace {

constexpr char kKey[] = "307 edit diff ";
constexpr char kFrameName[] = "FrameSelect";
constexpr int kPickCameraPixels = 256;

/// The first child of the map node with the frame group's name, or null.
osg::Node* frameGroupInScene() {
    osgEarth::MapNode* mapNode = globeMapNode();
    for (unsigned index = 0; mapNode && index < mapNode->getNumChildren(); ++index) {
        if (mapNode->getChild(index)->getName() == kFrameName)
            return mapNode->getChild(index);
    }
    return nullptr;
}

} // namespace

CeditDiff::CeditDiff() : zeo::ToolPlugin(kKey), m_ownKey(kKey) {
    m_name = toGbk("查看\\编辑异常");
    m_toolTip = toGbk("查看\\编辑当前显示区域的异常信息");
    m_commandType = toGbk("巡检工具");
    m_cursor = QCursor(Qt::PointingHandCursor);
    m_icon = QIcon(":/ToolPluginorva/images/lookup.png");

    connect(this, SIGNAL(signal_eidtDff()), this, SLOT(eidtDff()));
    connect(this, SIGNAL(signal_checkDff()), this, SLOT(checkDff()));
    connect(this, SIGNAL(signal_deleteDff()), this, SLOT(OnDeleteDff()));
    buildMenu();

    AVWindow* table = IORVAContext::Instance()->GetAVWindow();
    m_currentItem = table->GetCurrentItem();
    connect(table, &AVWindow::selectionChanged, this, &CeditDiff::adoptTableSelection);
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
    osgPush("addPick");
    m_pickerIsComing = true;
    m_toolState = m_toggle ? Inactive : Active;
    setButtonChecked(m_pButton, !m_toggle);

    m_frameFeatureNode = nullptr;
    prepareAreaStyle();
    m_frameStyle = makeFrameStyle();
    m_frameGroup = new osg::Group;
    applyGlobalDefaults(m_frameGroup);
    osgPush(kFrameName);
}

void CeditDiff::OnDeactivate() {
    m_stationItems.clear();
    m_currentItem = IORVAContext::Instance()->GetAVWindow()->GetCurrentItem();
    m_doubleClickPoint.reset();
    if (EarthManipulator* manipulator = globeManipulator())
        manipulator->getSettings()->bindMouse(EarthManipulator::ACTION_EARTH_DRAG,
                                              osgGA::GUIEventAdapter::LEFT_MOUSE_BUTTON, 0,
                                              EarthManipulator::ActionOptions());
    removeFromGlobe(m_valueLabel);
    m_valueLabel = nullptr;
    // Left before the picker arrived, it must still be taken out again.
    if (m_picker || m_pickerIsComing)
        osgPush("removePick");
    if (!m_hoverPickList.empty()) {
        clearHoverPicks();
        tellTable({});
    }
    m_lastPickedId = PickCallback::kNothing;
    m_overlayCentres.clear();

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
    if (message == "removePick")
        removePicker();
    else if (message == "addPick")
        addPicker();
    else if (message == kFrameName)
        addFrameSelection();
    else if (message == "RemoveFrameSelect")
        removeFrameSelection();
}

void CeditDiff::addPicker() {
    m_pickerIsComing = false;
    osgViewer::View* view = globeView();
    if (!view)
        return;
    removePicker();
    m_picker = new osgEarth::Util::RTTPicker(kPickCameraPixels);
    m_picker->addChild(globeMapNode());
    m_pickCallback = new PickCallback;
    m_picker->setDefaultCallback(m_pickCallback);
    m_pickCallback->m_hold = 0;
    m_pickCallback->m_pickedId = PickCallback::kNothing;
    view->addEventHandler(m_picker);
}

void CeditDiff::removePicker() {
    if (osgViewer::View* view = globeView(); view && m_picker)
        view->removeEventHandler(m_picker);
    // The picker's end takes its pick camera out of the view as well.
    m_picker = nullptr;
    m_pickCallback = nullptr;
}

void CeditDiff::addFrameSelection() {
    if (!m_frameGroup)
        return;
    m_frameGroup->setName(kFrameName);
    // The group of an earlier activation would otherwise stay, and be the one that the next removal finds.
    osg::Node* inScene = frameGroupInScene();
    if (inScene != m_frameGroup)
        removeFromGlobe(inScene);
    addToGlobe(m_frameGroup);
}

void CeditDiff::removeFrameSelection() {
    removeFromGlobe(frameGroupInScene());
    if (m_frameFeatureNode)
        eraseFrame(*m_frameFeatureNode);
    osgPush(kFrameName);
}

void CeditDiff::scanSelectedItems() {
    m_stationItems = IORVAContext::Instance()->GetStationWindow()->GetSelectedStationItem();
}

void CeditDiff::eidtDff() {
    scanSelectedItems();
    visitItemsAtPoint(m_stationItems, m_rightClickPoint,
                      [this](KV_StationItem& item, const KV_Station& station, double, double) {
                          m_currentItem = &item;
                          m_stationSrs = station.m_srs;
                          if (CollectSelectedDiffs())
                              m_contextMenu->exec(QCursor::pos());
                          m_currentItem = IORVAContext::Instance()->GetAVWindow()->GetCurrentItem();
                          return true;
                      });
}

void CeditDiff::OnDeleteDff() {
    scanSelectedItems();
    visitItemsAtPoint(m_stationItems, m_deletePoint,
                      [this](KV_StationItem& item, const KV_Station& station, double, double) {
                          m_currentItem = &item;
                          m_stationSrs = station.m_srs;
                          if (CollectSelectedDiffs()) {
                              m_currentItem = IORVAContext::Instance()->GetAVWindow()->GetCurrentItem();
                              OnDeleteItem();
                          }
                          return true;
                      });
}

bool CeditDiff::CollectSelectedDiffs() {
    m_selectedAnomalies.clear();
    KV_StationItem* shownItem = IORVAContext::Instance()->GetAVWindow()->GetCurrentItem();
    const bool isShown = m_currentItem->GetStationId() == shownItem->GetStationId();
    if (isShown)
        m_currentItem = shownItem;
    else
        m_currentItem->readclassfi();

    for (const auto& overlay : m_hoverPickList) {
        SdiffData anomaly;
        if (m_currentItem->m_diffData.GetdiffdataByname(overlay->getName(), anomaly))
            m_selectedAnomalies.push_back(anomaly);
    }
    if (m_selectedAnomalies.empty())
        return false;
    if (!isShown)
        showCurrentItem();
    return true;
}

void CeditDiff::showCurrentItem() {
    if (!IORVAContext::Instance()->GetStationWindow()->SetcurrentdiffSelected(m_currentItem))
        return;
    AVWindow* table = IORVAContext::Instance()->GetAVWindow();
    table->Refresh();
    table->SetCurrentItem(*m_currentItem);
    table->AddData();
}

// The menu and the question wait for the user; meanwhile the project may have gone, and its items with it.
void CeditDiff::dropVanishedItem() {
    IORVAContext* context = IORVAContext::Instance();
    const std::vector<KV_StationItem*> items = context->GetStationWindow()->GetSelectedStationItem();
    const bool isThere = m_currentItem == context->GetAVWindow()->GetCurrentItem() ||
                         std::find(items.begin(), items.end(), m_currentItem) != items.end();
    if (!isThere)
        m_currentItem = nullptr;
}

void CeditDiff::OnDeleteItem() {
    constexpr int kConfirmed = 0;
    const int answer = myMessageBox::showMyMessageBox(IORVAContext::Instance()->GetMainWindow(), tr("提示"),
                                                      tr("是否删除变形信息?"), myMessageBox::Question,
                                                      myMessageBox::YesNo, true);
    if (answer != kConfirmed)
        return;
    dropVanishedItem();
    if (m_currentItem)
        IORVAContext::Instance()->GetAVWindow()->DeleteItems(m_currentItem, m_selectedAnomalies);
    m_currentItem = nullptr;
}

void CeditDiff::OnSetbuild() {
    SetDiffAttribute("建构筑物");
}

void CeditDiff::OnSetoccupy() {
    SetDiffAttribute("重物占压");
}

void CeditDiff::OnSump() {
    SetDiffAttribute("深挖");
}

void CeditDiff::OnCollapse() {
    SetDiffAttribute("塌陷");
}

void CeditDiff::OnSetweightthing() {
    SetDiffAttribute("重物");
}

void CeditDiff::OnSetother() {
    kv_setdiffattri dialog;
    dialog.setModal(true);
    dialog.exec();
    if (dialog.m_result == 1)
        storeDiffAttribute(toGbk(dialog.m_attribute));
}

void CeditDiff::SetDiffAttribute(const char* text) {
    storeDiffAttribute(toGbk(text));
}

void CeditDiff::storeDiffAttribute(const std::string& gbkText) {
    for (SdiffData& anomaly : m_selectedAnomalies)
        anomaly.attribute = gbkText;
    dropVanishedItem();
    if (m_currentItem)
        IORVAContext::Instance()->GetAVWindow()->SetItemAtrii(m_currentItem, m_selectedAnomalies);
}

void CeditDiff::checkDff() {
    if (!m_doubleClickPoint || !m_currentItem)
        return;
    AVWindow* table = IORVAContext::Instance()->GetAVWindow();
    if (m_currentItem->GetStationId() == table->GetCurrentItem()->GetStationId())
        m_currentItem = table->GetCurrentItem();
    else
        showCurrentItem();

    const double x = m_doubleClickPoint->x();
    const double y = m_doubleClickPoint->y();
    SdiffData zoom;
    m_currentItem->m_diffData.GetdiffdataBycoor(x, y, zoom);
    IORVAContext::Instance()->GetKVImageWindow()->CreatZoomItem(m_currentItem, zoom);
    table->SetSelectedbycoor(m_currentItem, x, y);
}
