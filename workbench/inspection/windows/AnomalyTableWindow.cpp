#include "workbench/inspection/windows/AnomalyTableWindow.h"

#include "host/Gbk.h"
#include "workbench/inspection/context/Session.h"
#include "workbench/inspection/database/AnomalyTable.h"
#include "workbench/inspection/windows/AnomalyOverlays.h"
#include "workbench/inspection/windows/AnomalyTableModel.h"

#include <QHeaderView>
#include <QLabel>
#include <QSortFilterProxyModel>
#include <QTableView>
#include <QVBoxLayout>

#include <algorithm>
#include <iostream>
#include <set>

namespace inspection {

using mysqlhelper::KV_MySQL;
using mysqlhelper::KV_MySQL_Exception;

namespace {

std::set<std::string> namesOf(const std::vector<SdiffData>& anomalies) {
    std::set<std::string> names;
    for (const SdiffData& anomaly : anomalies) {
        names.insert(anomaly.name);
    }
    return names;
}

void copyAttributes(const std::vector<SdiffData>& from, std::vector<SdiffData>& to) {
    for (const SdiffData& changed : from) {
        for (SdiffData& anomaly : to) {
            if (anomaly.name == changed.name) {
                anomaly.attribute = changed.attribute;
            }
        }
    }
}

void removeNamed(const std::set<std::string>& names, std::vector<SdiffData>& anomalies) {
    anomalies.erase(std::remove_if(anomalies.begin(), anomalies.end(),
                                   [&](const SdiffData& anomaly) { return names.count(anomaly.name) != 0; }),
                    anomalies.end());
}

} // namespace

AnomalyTableWindow::AnomalyTableWindow(Session& session, AnomalyOverlays& overlays, QWidget* parent)
    : AVWindow(parent), m_session(session), m_overlays(overlays), m_model(new AnomalyTableModel(this)),
      m_sorted(new QSortFilterProxyModel(this)), m_table(new QTableView), m_summary(new QLabel) {
    m_sorted->setSourceModel(m_model);
    m_sorted->setSortRole(AnomalyTableModel::kSortRole);
    m_sorted->setSortLocaleAware(true);
    build();
    updateSummary();
    connect(m_table, SIGNAL(activated(QModelIndex)), this, SLOT(activate(QModelIndex)));
}

AnomalyTableWindow::~AnomalyTableWindow() = default;

void AnomalyTableWindow::build() {
    m_summary->setObjectName("anomalySummary");
    m_table->setObjectName("anomalyTable");
    m_table->setModel(m_sorted);
    m_table->setSortingEnabled(true);
    m_table->sortByColumn(AnomalyTableModel::Name, Qt::AscendingOrder);
    m_table->setSelectionBehavior(QAbstractItemView::SelectRows);
    m_table->setSelectionMode(QAbstractItemView::ExtendedSelection);
    m_table->setEditTriggers(QAbstractItemView::NoEditTriggers);
    m_table->setAlternatingRowColors(true);
    m_table->setShowGrid(false);
    m_table->setWordWrap(false);
    m_table->verticalHeader()->hide();
    m_table->verticalHeader()->setDefaultSectionSize(m_table->fontMetrics().height() + 8);
    m_table->horizontalHeader()->setHighlightSections(false);
    m_table->horizontalHeader()->setStretchLastSection(true);

    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(6, 6, 6, 6);
    column->setSpacing(4);
    column->addWidget(m_summary);
    column->addWidget(m_table, 1);
}

void AnomalyTableWindow::SetCurrentItem(const KV_StationItem& item) {
    m_current = item;
    updateSummary();
}

void AnomalyTableWindow::Refresh() {
    m_model->setAnomalies({});
    updateSummary();
}

void AnomalyTableWindow::AddData() {
    m_model->setAnomalies(m_current.m_diffData.m_anomalies);
    m_table->resizeColumnsToContents();
    const int room = m_table->fontMetrics().averageCharWidth() * 2;
    for (int column = 0; column + 1 < m_model->columnCount(); ++column) {
        m_table->setColumnWidth(column, m_table->columnWidth(column) + room);
    }
    updateSummary();
}

void AnomalyTableWindow::showStation(KV_StationItem* item) {
    Refresh();
    SetCurrentItem(item != nullptr ? *item : KV_StationItem());
    AddData();
}

void AnomalyTableWindow::updateSummary() {
    if (m_current.GetStationId() == 0) {
        m_summary->setText(tr("未选择站段"));
        return;
    }
    const auto& anomalies = m_model->anomalies();
    const auto fills =
        std::count_if(anomalies.begin(), anomalies.end(), [](const auto& each) { return each.isFill; });
    const auto judged = std::count_if(anomalies.begin(), anomalies.end(),
                                      [](const auto& each) { return !each.attribute.empty(); });
    m_summary->setText(tr("%1：共 %2 处异常，填方 %3，挖方 %4，已判定 %5")
                           .arg(fromGbk(m_current.m_station.m_name))
                           .arg(anomalies.size())
                           .arg(fills)
                           .arg(static_cast<qsizetype>(anomalies.size()) - fills)
                           .arg(judged));
}

void AnomalyTableWindow::select(const std::string& name) {
    const int row = m_model->rowOf(name);
    if (row < 0) {
        return;
    }
    const QModelIndex index = m_sorted->mapFromSource(m_model->index(row, AnomalyTableModel::Name));
    m_table->setCurrentIndex(index);
    m_table->selectRow(index.row());
    m_table->scrollTo(index, QAbstractItemView::EnsureVisible);
}

void AnomalyTableWindow::SetSelectedbycoor(KV_StationItem* item, double x, double y) {
    SdiffData anomaly;
    if (item != nullptr && item->GetStationId() == m_current.GetStationId() &&
        item->m_diffData.GetdiffdataBycoor(x, y, anomaly)) {
        select(anomaly.name);
    }
}

template<typename Store>
bool AnomalyTableWindow::stored(const Store& store) {
    KV_MySQL* database = m_session.connection();
    if (database == nullptr) {
        return false;
    }
    try {
        store(*database);
        return true;
    } catch (const KV_MySQL_Exception& exception) {
        std::cout << exception.what() << std::endl;
        m_session.warn(tr("数据库拒绝了修改，未作任何更改：%1").arg(QString::fromUtf8(exception.what())));
        return false;
    }
}

void AnomalyTableWindow::SetItemAtrii(KV_StationItem* item, const std::vector<SdiffData>& anomalies) {
    if (item == nullptr || anomalies.empty() ||
        !stored([&](KV_MySQL& database) { storeAttributes(database, anomalies); })) {
        return;
    }
    const std::uint32_t stationId = item->GetStationId();
    copyAttributes(anomalies, item->m_diffData.m_anomalies);
    if (stationId == m_current.GetStationId()) {
        copyAttributes(anomalies, m_current.m_diffData.m_anomalies);
        for (const SdiffData& anomaly : anomalies) {
            m_model->setAttribute(anomaly.name, anomaly.attribute);
        }
        updateSummary();
    }
    emit anomaliesChanged(stationId);
}

void AnomalyTableWindow::DeleteItems(KV_StationItem* item, const std::vector<SdiffData>& anomalies) {
    if (item == nullptr || anomalies.empty() ||
        !stored([&](KV_MySQL& database) { deleteAnomalies(database, anomalies); })) {
        return;
    }
    const std::uint32_t stationId = item->GetStationId();
    const std::set<std::string> names = namesOf(anomalies);
    removeNamed(names, item->m_diffData.m_anomalies);
    for (const std::string& name : names) {
        m_overlays.remove(stationId, name);
    }
    if (stationId == m_current.GetStationId()) {
        removeNamed(names, m_current.m_diffData.m_anomalies);
        for (const std::string& name : names) {
            m_model->remove(name);
        }
        updateSummary();
    }
    emit anomaliesChanged(stationId);
}

void AnomalyTableWindow::activate(const QModelIndex& index) {
    const int row = m_sorted->mapToSource(index).row();
    if (row >= 0 && row < m_model->rowCount()) {
        emit anomalyActivated(m_model->anomalies()[static_cast<std::size_t>(row)]);
    }
}

} // namespace inspection
