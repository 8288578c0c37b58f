#include "workbench/inspection/table/AnomalyTableWindow.h"

#include "host/Gbk.h"
#include "workbench/inspection/scene/AnomalyOverlays.h"
#include "workbench/inspection/session/Session.h"
#include "workbench/inspection/table/AnomalyEdits.h"
#include "workbench/inspection/table/AnomalyFilterBar.h"
#include "workbench/inspection/table/AnomalyTableModel.h"
#include "workbench/inspection/table/AnomalyTableView.h"
#include "workbench/inspection/table/ProjectSurroundings.h"
#include "workbench/inspectiondata/database/AnomalyChanges.h"

#include <QMetaMethod>
#include <QScrollBar>
#include <QVBoxLayout>

#include <algorithm>

namespace inspection {

namespace {

constexpr int kReachedMilliseconds = 200;

std::set<std::string> namesOfGone(const std::vector<AnomalyChange>& changes) {
    std::set<std::string> names;
    for (const AnomalyChange& change : changes) {
        if (change.isGone) {
            names.insert(change.anomaly.name);
        }
    }
    return names;
}

std::vector<std::string> namesOfPresent(const std::vector<AnomalyChange>& changes) {
    std::vector<std::string> names;
    for (const AnomalyChange& change : changes) {
        if (!change.isGone) {
            names.push_back(change.anomaly.name);
        }
    }
    return names;
}

/// Whole rows, in as few ranges as possible. `rows` in any order.
QItemSelection rowSelection(const QAbstractItemModel& model, std::vector<int> rows) {
    std::sort(rows.begin(), rows.end());
    QItemSelection selection;
    for (std::size_t first = 0; first < rows.size();) {
        std::size_t last = first;
        while (last + 1 < rows.size() && rows[last + 1] == rows[last] + 1) {
            ++last;
        }
        selection.append({model.index(rows[first], 0), model.index(rows[last], model.columnCount() - 1)});
        first = last + 1;
    }
    return selection;
}

} // namespace

AnomalyTableWindow::AnomalyTableWindow(Session& session, AnomalyOverlays& overlays, QWidget* parent)
    : AVWindow(parent), m_session(session), m_edits(std::make_unique<AnomalyEdits>(session)),
      m_overlays(overlays), m_surroundings(new ProjectSurroundings(session, this)),
      m_model(new AnomalyTableModel(this)), m_filter(new AnomalyFilter(this)), m_bar(new AnomalyFilterBar) {
    m_filter->setSourceModel(m_model);
    m_table = new AnomalyTableView(*m_filter);
    build();
    connectTable();
    updateSummary();
}

AnomalyTableWindow::~AnomalyTableWindow() = default;

void AnomalyTableWindow::build() {
    setFocusProxy(m_table);
    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(6, 6, 6, 6);
    column->setSpacing(4);
    column->addWidget(m_bar);
    column->addWidget(m_table, 1);
}

void AnomalyTableWindow::connectTable() {
    for (QTimer* timer : {&m_take, &m_show, &m_reached}) {
        timer->setSingleShot(true);
    }
    m_reached.setInterval(kReachedMilliseconds);
    connect(&m_take, &QTimer::timeout, this, &AnomalyTableWindow::takeSelection);
    connect(&m_show, &QTimer::timeout, this, &AnomalyTableWindow::showSelection);
    connect(&m_reached, &QTimer::timeout, this, [this] {
        if (const SdiffData* anomaly = anomalyAt(m_table->currentIndex())) {
            emit anomalyReached(*anomaly);
        }
    });
    connect(m_table->selectionModel(), &QItemSelectionModel::selectionChanged, this, [this] {
        if (!m_keepsSelection) {
            m_take.start(0);
        }
    });
    connect(m_table, &AnomalyTableView::walked, this, [this] { m_reached.start(); });
    connect(m_table, &AnomalyTableView::attributeRequested, this, &AnomalyTableWindow::classifySelected);
    connect(m_table, &AnomalyTableView::deleteRequested, this, &AnomalyTableWindow::deleteSelected);
    connect(m_table, &AnomalyTableView::showRequested, this, [this](const QModelIndex& index) {
        if (const SdiffData* anomaly = anomalyAt(index)) {
            m_reached.stop();
            emit anomalyActivated(*anomaly);
        }
    });
    connect(m_surroundings, &ProjectSurroundings::changed, this, &AnomalyTableWindow::measureSurroundings);
    connect(m_bar, &AnomalyFilterBar::attributeChosen, this, [this](AttributeFilter filter) {
        changeRows([&] { m_filter->setAttributeFilter(filter); });
        selectNamedRows();
    });
    connect(m_bar, &AnomalyFilterBar::signChosen, this, [this](SignFilter filter) {
        changeRows([&] { m_filter->setSignFilter(filter); });
        selectNamedRows();
    });
    connect(m_bar, &AnomalyFilterBar::significanceChosen, this, [this](SignificanceFilter filter) {
        changeRows([&] { m_filter->setSignificanceFilter(filter); });
        selectNamedRows();
    });
}

void AnomalyTableWindow::SetCurrentItem(const KV_StationItem& item) {
    m_current = item;
    updateSummary();
}

void AnomalyTableWindow::Refresh() {
    m_take.stop();
    m_model->setAnomalies({}, nullptr);
    updateSummary();
}

void AnomalyTableWindow::AddData() {
    fill();
    showSelection();
}

void AnomalyTableWindow::fill() {
    m_take.stop();
    m_model->setAnomalies(m_current.m_diffData.m_anomalies, m_surroundings->around(m_current.m_station));
    m_table->fitColumns();
}

void AnomalyTableWindow::measureSurroundings() {
    m_model->setSurroundings(m_surroundings->around(m_current.m_station));
}

void AnomalyTableWindow::clearSelection() {
    m_reached.stop();
    if (!m_selectedNames.empty()) {
        m_selectedNames.clear();
        announceSelection();
    }
}

void AnomalyTableWindow::showStation(KV_StationItem* item) {
    if (!item) {
        clearSelection();
    }
    Refresh();
    SetCurrentItem(item ? *item : KV_StationItem());
    AddData();
}

void AnomalyTableWindow::updateSummary() {
    const auto& anomalies = m_model->anomalies();
    m_bar->setAnomalies(anomalies);
    if (m_current.GetStationId() == 0) {
        m_bar->setSummary(tr("未选择站段"));
        return;
    }
    const auto fills =
        std::count_if(anomalies.begin(), anomalies.end(), [](const auto& each) { return each.isFill; });
    const auto judged = std::count_if(anomalies.begin(), anomalies.end(),
                                      [](const auto& each) { return !each.attribute.empty(); });
    QString text = tr("%1：共 %2 处异常，填方 %3，挖方 %4，已判定 %5")
                       .arg(fromGbk(m_current.m_station.m_name))
                       .arg(anomalies.size())
                       .arg(fills)
                       .arg(static_cast<qsizetype>(anomalies.size()) - fills)
                       .arg(judged);
    if (m_filter->isFiltering()) {
        text += tr("，显示 %1").arg(m_filter->rowCount());
    }
    const auto selectedRows = m_table->selectionModel()->selectedRows().size();
    if (selectedRows > 1) {
        text += tr("，已选 %1").arg(selectedRows);
    }
    m_bar->setSummary(text);
}

const SdiffData* AnomalyTableWindow::anomalyAt(const QModelIndex& sortedIndex) const {
    const int row = m_filter->mapToSource(sortedIndex).row();
    return row >= 0 && row < m_model->rowCount() ? &m_model->anomaly(row) : nullptr;
}

std::vector<SdiffData> AnomalyTableWindow::selected() const {
    std::vector<SdiffData> anomalies;
    for (const QModelIndex& index : m_table->selectionModel()->selectedRows()) {
        if (const SdiffData* anomaly = anomalyAt(index)) {
            anomalies.push_back(*anomaly);
        }
    }
    return anomalies;
}

void AnomalyTableWindow::takeSelection() {
    m_show.stop();
    m_selectedNames.clear();
    for (const SdiffData& anomaly : selected()) {
        m_selectedNames.push_back(anomaly.name);
    }
    updateSummary();
    announceSelection();
}

bool AnomalyTableWindow::isFollowed() const {
    return isSignalConnected(QMetaMethod::fromSignal(&AnomalyTableWindow::selectionChanged));
}

void AnomalyTableWindow::announceSelection() {
    if (!isFollowed()) {
        m_overlays.tint(m_selectedNames);
        return;
    }
    m_overlays.tint({});
    QStringList names;
    for (const std::string& name : m_selectedNames) {
        names << fromGbk(name);
    }
    emit selectionChanged(names);
}

void AnomalyTableWindow::connectNotify(const QMetaMethod& signal) {
    announceWhenFollowed(signal);
}

void AnomalyTableWindow::disconnectNotify(const QMetaMethod& signal) {
    announceWhenFollowed(signal);
}

void AnomalyTableWindow::announceWhenFollowed(const QMetaMethod& signal) {
    if (signal != QMetaMethod::fromSignal(&AnomalyTableWindow::selectionChanged)) {
        return;
    }
    const auto announce = [this] {
        if (!m_selectedNames.empty()) {
            announceSelection();
        }
    };
    // A signal that is being connected has no receiver yet.
    QMetaObject::invokeMethod(this, announce, Qt::QueuedConnection);
}

void AnomalyTableWindow::SetSelectedbyname(const QStringList& names) {
    m_take.stop();
    m_selectedNames.clear();
    for (const QString& name : names) {
        m_selectedNames.push_back(toGbk(name));
    }
    m_show.start(0);
}

void AnomalyTableWindow::changeRows(const std::function<void()>& change) {
    m_keepsSelection = true;
    change();
    m_keepsSelection = false;
    updateSummary();
}

void AnomalyTableWindow::showSelection() {
    m_show.stop();
    goTo(selectNamedRows());
}

int AnomalyTableWindow::selectNamedRows() {
    std::vector<int> rows;
    for (const std::string& name : m_selectedNames) {
        if (const int row = rowOf(name); row >= 0) {
            rows.push_back(row);
        }
    }
    changeRows([&] {
        m_table->selectionModel()->select(rowSelection(*m_filter, rows), QItemSelectionModel::ClearAndSelect);
    });
    return rows.empty() ? -1 : rows.back();
}

int AnomalyTableWindow::rowOf(const std::string& name) const {
    return m_filter->mapFromSource(m_model->index(m_model->rowOf(name), 0)).row();
}

void AnomalyTableWindow::goTo(int row) {
    if (row < 0) {
        return;
    }
    const QModelIndex place = m_filter->index(row, AnomalyColumn::Name);
    m_table->selectionModel()->setCurrentIndex(place, QItemSelectionModel::NoUpdate);
    m_table->scrollTo(place, QAbstractItemView::EnsureVisible);
}

void AnomalyTableWindow::SetSelectedbycoor(KV_StationItem* item, double x, double y) {
    SdiffData anomaly;
    if (item && item->GetStationId() == m_current.GetStationId() &&
        item->m_diffData.GetdiffdataBycoor(x, y, anomaly)) {
        lookAt(anomaly.name);
    }
}

void AnomalyTableWindow::lookAt(const std::string& name) {
    const bool isSelected =
        std::find(m_selectedNames.begin(), m_selectedNames.end(), name) != m_selectedNames.end();
    if (!isSelected) {
        m_selectedNames = {name};
        announceSelection();
    }
    m_show.stop();
    const int last = selectNamedRows();
    const int row = rowOf(name);
    goTo(row >= 0 ? row : last); // a filter may hide it
}

void AnomalyTableWindow::SetItemAtrii(KV_StationItem* item, const std::vector<SdiffData>& anomalies) {
    if (item && !anomalies.empty()) {
        takeInto(*item, m_edits->classify(anomalies));
    }
}

void AnomalyTableWindow::DeleteItems(KV_StationItem* item, const std::vector<SdiffData>& anomalies) {
    if (item && !anomalies.empty()) {
        takeInto(*item, m_edits->remove(anomalies));
    }
}

// The windows have their own records of the station, which have followed by now.
void AnomalyTableWindow::takeInto(KV_StationItem& item, const std::optional<RowChanges>& changes) {
    if (changes) {
        applyChanges(anomalyChanges(*changes, m_session.comparisonId()), item.GetStationId(),
                     item.m_diffData.m_anomalies);
    }
}

void AnomalyTableWindow::applyRows(const RowChanges& changes, Showing showing) {
    const std::vector<AnomalyChange> anomalies = anomalyChanges(changes, m_session.comparisonId());
    if (anomalies.empty()) {
        return;
    }
    forget(namesOfGone(anomalies));
    const std::vector<std::string> present = namesOfPresent(anomalies);
    if (showing == Showing::Followed && !present.empty()) {
        m_selectedNames = present;
    }
    const int place = m_table->verticalScrollBar()->value();
    const bool isFilledAnew = applyToTable(anomalies);
    if (isFilledAnew || showing == Showing::Followed) {
        showSelection();
    }
    if (showing == Showing::Followed) {
        announceSelection();
    } else if (isFilledAnew) {
        m_table->verticalScrollBar()->setValue(place);
    }
}

bool AnomalyTableWindow::applyToTable(const std::vector<AnomalyChange>& changes) {
    std::vector<SdiffData>& anomalies = m_current.m_diffData.m_anomalies;
    applyChanges(changes, m_current.GetStationId(), anomalies);
    changeRows([&] { m_model->remove(namesOfGone(changes)); });
    if (static_cast<int>(anomalies.size()) != m_model->rowCount()) {
        fill(); // rows have come back
        return true;
    }
    changeRows([&] { m_model->replace(anomalies); });
    return false;
}

void AnomalyTableWindow::forget(const std::set<std::string>& names) {
    m_selectedNames.erase(std::remove_if(m_selectedNames.begin(), m_selectedNames.end(),
                                         [&](const std::string& name) { return names.count(name) != 0; }),
                          m_selectedNames.end());
}

void AnomalyTableWindow::classifySelected(const QString& attribute) {
    std::vector<SdiffData> anomalies = selected();
    for (SdiffData& anomaly : anomalies) {
        anomaly.attribute = toGbk(attribute);
    }
    SetItemAtrii(&m_current, anomalies);
    walkOn();
}

void AnomalyTableWindow::deleteSelected() {
    const std::vector<SdiffData> anomalies = selected();
    if (anomalies.empty() || !m_session.ask(tr("是否删除变形信息?"))) {
        return;
    }
    DeleteItems(&m_current, anomalies);
    walkOn();
}

// Rows that left the table, deleted or judged away under a filter, leave the current row on their neighbour.
void AnomalyTableWindow::walkOn() {
    m_table->setFocus();
    if (m_table->selectionModel()->hasSelection() || !m_table->currentIndex().isValid()) {
        return;
    }
    m_table->selectRow(m_table->currentIndex().row());
    m_reached.start();
}

} // namespace inspection
