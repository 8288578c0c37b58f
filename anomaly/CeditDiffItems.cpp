// What the anomaly tool does with stored anomalies, on the GUI thread; see CeditDiffEvents.cpp for what leads
// here.

#include "anomaly/CeditDiff.h"

#include "anomaly/OverlayMode.h"
#include "anomaly/ShownItem.h"
#include "anomaly/StationScan.h"
#include "anomaly/kv_setdiffattri.h"
#include "host/Gbk.h"
#include "host/inspection/AVWindow.h"
#include "host/inspection/KVImageWindow.h"
#include "host/inspection/StationWindow.h"
#include "host/style/myMessageBox.h"
#include "plugin/Globe.h"
#include "plugin/Inspection.h"

#include <QCursor>
#include <QMenu>

#include <osgViewer/View>

#include <algorithm>
#include <unordered_set>

void CeditDiff::scanSelectedItems() {
    m_stationItems = selectedItems();
}

void CeditDiff::eidtDff() {
    scanSelectedItems();
    FindItemAtPoint(m_stationItems, m_rightClickPoint,
                    [this](KV_StationItem& item, const KV_Station& station, double, double) {
                        m_currentItem = &item;
                        m_stationSrs = station.m_srs;
                        if (CollectSelectedDiffs()) {
                            m_contextMenu->exec(QCursor::pos());
                        }
                        m_currentItem = shownItem();
                        return true;
                    });
}

void CeditDiff::OnDeleteDff() {
    scanSelectedItems();
    FindItemAtPoint(m_stationItems, m_deletePoint,
                    [this](KV_StationItem& item, const KV_Station& station, double, double) {
                        m_currentItem = &item;
                        m_stationSrs = station.m_srs;
                        if (CollectSelectedDiffs()) {
                            m_currentItem = shownItem();
                            OnDeleteItem();
                        }
                        return true;
                    });
}

bool CeditDiff::CollectSelectedDiffs() {
    m_selectedAnomalies.clear();
    if (!anomalyTable()) {
        return false; // it is the table that classifies and deletes
    }
    const bool isShown = takeShownItem();
    if (!isShown) {
        m_currentItem->readclassfi();
    }
    for (const std::string& name : m_hoveredNames) {
        SdiffData anomaly;
        if (m_currentItem->m_diffData.GetdiffdataByname(name, anomaly)) {
            m_selectedAnomalies.push_back(anomaly);
        }
    }
    if (m_selectedAnomalies.empty()) {
        return false;
    }
    if (!isShown) {
        showCurrentItem();
    }
    return true;
}

bool CeditDiff::takeShownItem() {
    KV_StationItem* shown = shownItem();
    if (!shown || shown->GetStationId() != m_currentItem->GetStationId()) {
        return false;
    }
    m_currentItem = shown;
    return true;
}

void CeditDiff::showCurrentItem() {
    StationWindow* stations = stationWindow();
    AVWindow* table = anomalyTable();
    if (!stations || !table || !stations->SetcurrentdiffSelected(m_currentItem)) {
        return;
    }
    table->Refresh();
    table->SetCurrentItem(*m_currentItem);
    table->AddData();
}

// The menu and the question wait for the user; meanwhile the project may have gone, and its items with it.
void CeditDiff::dropVanishedItem() {
    const std::vector<KV_StationItem*> items = selectedItems();
    const bool isThere =
        m_currentItem == shownItem() || std::find(items.begin(), items.end(), m_currentItem) != items.end();
    if (!isThere) {
        m_currentItem = nullptr;
    }
}

void CeditDiff::OnDeleteItem() {
    constexpr int kConfirmed = 0;
    const int answer = myMessageBox::showMyMessageBox(mainWindow(), tr("提示"), tr("是否删除变形信息?"),
                                                      myMessageBox::Question, myMessageBox::YesNo, true);
    if (answer != kConfirmed) {
        return;
    }
    dropVanishedItem();
    AVWindow* table = anomalyTable();
    if (m_currentItem && table) {
        table->DeleteItems(m_currentItem, m_selectedAnomalies);
    }
    m_currentItem = nullptr;
}

void CeditDiff::OnSetbuild() {
    SetDiffAttribute(toGbk("建构筑物"));
}

void CeditDiff::OnSetoccupy() {
    SetDiffAttribute(toGbk("重物占压"));
}

void CeditDiff::OnSump() {
    SetDiffAttribute(toGbk("深挖"));
}

void CeditDiff::OnCollapse() {
    SetDiffAttribute(toGbk("塌陷"));
}

void CeditDiff::OnSetweightthing() {
    SetDiffAttribute(toGbk("重物"));
}

void CeditDiff::OnSetother() {
    kv_setdiffattri dialog;
    dialog.setModal(true);
    dialog.exec();
    if (dialog.result == 1) {
        SetDiffAttribute(toGbk(dialog.attribute));
    }
}

void CeditDiff::SetDiffAttribute(const std::string& gbkText) {
    for (SdiffData& anomaly : m_selectedAnomalies) {
        anomaly.attribute = gbkText;
    }
    dropVanishedItem();
    AVWindow* table = anomalyTable();
    if (m_currentItem && table) {
        table->SetItemAtrii(m_currentItem, m_selectedAnomalies);
    }
}

double CeditDiff::differenceAt(const osg::Vec3d& world) {
    double difference = 0.0;
    bool isFirst = true;
    scanSelectedItems();
    FindItemAtPoint(m_stationItems, world, [&](KV_StationItem& item, const KV_Station&, double x, double y) {
        if (isFirst) {
            m_doubleClickPoint = std::make_unique<osg::Vec2d>(x, y);
        }
        isFirst = false;
        item.readdiffvz();
        return !item.m_diffData.GetdZ(x, y, difference);
    });
    return difference;
}

void CeditDiff::showItemAt(const osg::Vec3d& world) {
    bool isHit = false;
    scanSelectedItems();
    FindItemAtPoint(m_stationItems, world, [&](KV_StationItem& item, const KV_Station&, double x, double y) {
        item.readdom();
        m_doubleClickPoint = std::make_unique<osg::Vec2d>(x, y);
        m_currentItem = &item;
        isHit = true;
        return false;
    });
    if (isHit) {
        emit signal_checkDff();
    }
}

void CeditDiff::checkDff() {
    if (!m_doubleClickPoint || !m_currentItem) {
        return;
    }
    if (!takeShownItem()) {
        showCurrentItem();
    }
    const double x = m_doubleClickPoint->x();
    const double y = m_doubleClickPoint->y();
    SdiffData zoom;
    m_currentItem->m_diffData.GetdiffdataBycoor(x, y, zoom);
    if (KVImageWindow* images = imageWindow()) {
        images->CreatZoomItem(m_currentItem, zoom);
    }
    if (AVWindow* table = anomalyTable()) {
        table->SetSelectedbycoor(m_currentItem, x, y);
    }
}

void CeditDiff::takeTableSelection(const std::vector<std::string>& gbkNames) {
    const bool isByBounds = isPickedByBounds();
    m_hoveredNames = isByBounds ? std::vector<std::string>() : gbkNames;
    const std::unordered_set<std::string> wanted(gbkNames.begin(), gbkNames.end());
    ++m_tableSelections;
    m_threads.onFrame([this, wanted, isByBounds, number = m_tableSelections] {
        m_tableSelectionsSeen = number;
        if (wanted.empty() && m_selection.hovered().empty() && m_selection.inBounds().empty()) {
            return;
        }
        m_selection.replace(wanted, isByBounds);
        if (osgViewer::View* view = globeView()) {
            view->requestRedraw();
        }
    });
}
