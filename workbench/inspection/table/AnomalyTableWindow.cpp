#include "workbench/inspection/table/AnomalyTableWindow.h"

#include "host/Gbk.h"
#include "workbench/inspection/scene/AnomalyOverlays.h"
#include "workbench/inspection/session/Session.h"
#include "workbench/inspection/table/AnomalyEdits.h"
#include "workbench/inspection/table/AnomalyFilterBar.h"
#include "workbench/inspection/table/AnomalyTableModel.h"
#include "workbench/inspection/table/AnomalyTableView.h"
#include "workbench/inspection/table/KeptRows.h"
#include "workbench/inspection/table/ProjectSurroundings.h"
#include "workbench/inspection/table/ShownStations.h"
#include "workbench/inspection/table/TableColumns.h"
#include "workbench/inspection/table/TableExport.h"
#include "workbench/inspectiondata/database/AnomalyChanges.h"

#include <QMetaMethod>
#include <QScrollBar>
#include <QShortcut>
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

std::vector<SdiffData> presentOf(const std::vector<AnomalyChange>& changes) {
    std::vector<SdiffData> anomalies;
    for (const AnomalyChange& change : changes) {
        if (!change.isGone) {
            anomalies.push_back(change.anomaly);
        }
    }
    return anomalies;
}

QStringList namesOf(const std::vector<std::string>& gbkNames) {
    QStringList names;
    for (const std::string& name : gbkNames) {
        names << fromGbk(name);
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

} // namespace

AnomalyTableWindow::AnomalyTableWindow(Session& session, AnomalyOverlays& overlays, QWidget* parent)
    : AVWindow(parent), m_session(session), m_edits(std::make_unique<AnomalyEdits>(session)),
      m_overlays(overlays), m_surroundings(new ProjectSurroundings(session, this)),
      m_stations(std::make_unique<ShownStations>(session, *m_surroundings)),
      m_model(new AnomalyTableModel(this)), m_filter(new AnomalyFilter(this)), m_bar(new AnomalyFilterBar) {
    m_filter->setSourceModel(m_model);
    m_table = new AnomalyTableView(*m_filter);
    build();
    m_bar->setExportMenu(new TableExport(m_session, *m_table, this));
    connectTable();
    connectBar();
    connect(&session, &Session::opened, this,
            [this] { m_table->columns().useProject(m_session.project()->description().folder); });
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
    connect(&m_show, &QTimer::timeout, this, &AnomalyTableWindow::goToSelection);
    connect(&m_reached, &QTimer::timeout, this, [this] {
        if (const SdiffData* anomaly = goToStationOf(m_table->currentIndex())) {
            emit anomalyReached(*anomaly);
        }
    });
    connect(m_table->selectionModel(), &QItemSelectionModel::selectionChanged, this, [this] {
        if (!m_keepsSelection) {
            m_take.start(0);
        }
    });
    connect(m_table, &AnomalyTableView::editorOpened, &m_session, &Session::holdNewsWhileOpen);
    connect(m_table, &AnomalyTableView::walked, this, [this] { m_reached.start(); });
    connect(m_table, &AnomalyTableView::attributeRequested, this, &AnomalyTableWindow::classifySelected);
    connect(m_table, &AnomalyTableView::deleteRequested, this, &AnomalyTableWindow::deleteSelected);
    connect(m_table, &AnomalyTableView::restoreRequested, this, &AnomalyTableWindow::restoreSelected);
    connect(m_table, &AnomalyTableView::showRequested, this, [this](const QModelIndex& index) {
        if (const SdiffData* anomaly = goToStationOf(index)) {
            m_reached.stop();
            emit anomalyActivated(*anomaly);
        }
    });
    connect(m_surroundings, &ProjectSurroundings::changed, this,
            [this] { m_model->setStations(m_stations->measureAnew()); });
}

void AnomalyTableWindow::connectBar() {
    connect(m_bar, &AnomalyFilterBar::criteriaChanged, this, &AnomalyTableWindow::applyCriteria);
    connect(m_bar, &AnomalyFilterBar::left, m_table, [this] { m_table->setFocus(); });
    connect(m_table, &AnomalyTableView::escaped, m_bar, &AnomalyFilterBar::clearWords);
    connect(new QShortcut(QKeySequence::Find, this), &QShortcut::activated, m_bar, &AnomalyFilterBar::search);
}

void AnomalyTableWindow::applyCriteria() {
    changeRows([this] {
        m_filter->setCriteria(m_bar->criteria());
        m_table->setShowsDeleted(m_filter->showsDeleted());
    });
    selectNamedRows();
}

void AnomalyTableWindow::SetCurrentItem(const KV_StationItem& item) {
    m_current = item;
    updateSummary();
}

void AnomalyTableWindow::Refresh() {
    m_take.stop();
    m_model->setRows({});
    updateSummary();
}

void AnomalyTableWindow::AddData() {
    m_stations->take(m_current);
    fill();
    showSelection();
}

void AnomalyTableWindow::fill() {
    m_take.stop();
    m_model->setRows(m_stations->rows());
    m_table->columns().setSeveralStations(m_stations->items().size() > 1);
    m_table->columns().fit();
}

void AnomalyTableWindow::clearSelection() {
    m_reached.stop();
    if (!m_selectedNames.empty()) {
        m_selectedNames.clear();
        announceSelection();
    }
}

void AnomalyTableWindow::showStations(const std::vector<KV_StationItem*>& items) {
    if (items.empty()) {
        clearSelection();
    }
    Refresh();
    std::vector<KV_StationItem> copies;
    for (const KV_StationItem* item : items) {
        copies.push_back(*item);
    }
    m_stations->show(std::move(copies));
    const KV_StationItem* current = m_stations->item(m_current.GetStationId());
    SetCurrentItem(current ? *current : items.empty() ? KV_StationItem() : *items.front());
    AddData();
}

void AnomalyTableWindow::updateSummary() {
    m_bar->setRows(m_model->rows());
    m_table->setHint(
        emptyTableHint(m_stations->items().size(), m_stations->anomalyCount(), m_filter->showsDeleted()));
    if (m_stations->items().empty()) {
        m_bar->setSummary(tr("未选择站段"));
        return;
    }
    QString text = m_stations->summary();
    if (m_filter->isFiltering()) {
        text += tr("，显示 %1").arg(m_filter->rowCount());
    }
    const auto selectedRows = m_table->selectedRows().size();
    if (selectedRows > 1) {
        text += tr("，已选 %1").arg(selectedRows);
    }
    m_bar->setSummary(text);
}

const SdiffData* AnomalyTableWindow::goToStationOf(const QModelIndex& sortedIndex) {
    const SdiffData* anomaly = anomalyAt(sortedIndex);
    if (!anomaly) {
        return nullptr;
    }
    const std::uint32_t id = m_model->row(m_filter->mapToSource(sortedIndex).row()).station().id;
    const KV_StationItem* item = m_stations->item(id);
    if (item && id != m_current.GetStationId()) {
        m_current = *item;
    }
    return anomaly;
}

const SdiffData* AnomalyTableWindow::anomalyAt(const QModelIndex& sortedIndex) const {
    const int row = m_filter->mapToSource(sortedIndex).row();
    return row >= 0 && row < m_model->rowCount() ? &m_model->anomaly(row) : nullptr;
}

void AnomalyTableWindow::takeSelection() {
    if (m_filter->showsDeleted()) {
        updateSummary();
        return;
    }
    m_show.stop();
    m_selectedNames.clear();
    for (const int row : m_table->selectedRows()) {
        m_selectedNames.push_back(m_filter->rowAt(row).anomaly().name);
    }
    updateSummary();
    announceSelection();
}

bool AnomalyTableWindow::isFollowed() const {
    return isSignalConnected(QMetaMethod::fromSignal(&AnomalyTableWindow::selectionChanged));
}

void AnomalyTableWindow::announceSelection() {
    m_overlays.keep(m_selectedNames);
    if (!isFollowed()) {
        m_overlays.tint(m_selectedNames);
        return;
    }
    m_overlays.tint({});
    emit selectionChanged(namesOf(m_selectedNames));
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
    const KeptRows kept(*m_table, *m_filter);
    change();
    kept.restore();
    m_keepsSelection = false;
    updateSummary();
}

void AnomalyTableWindow::showSelection() {
    m_show.stop();
    goTo(selectNamedRows());
}

void AnomalyTableWindow::goToSelection() {
    showSelection();
    const bool areAllHere =
        std::all_of(m_selectedNames.begin(), m_selectedNames.end(),
                    [this](const std::string& name) { return m_model->rowOf(name) >= 0; });
    if (!areAllHere) {
        emit stationsNeeded(namesOf(m_selectedNames));
    }
}

int AnomalyTableWindow::selectNamedRows() {
    std::vector<int> rows;
    for (const std::string& name : m_selectedNames) {
        if (const int row = rowOf(name); row >= 0) {
            rows.push_back(row);
        }
    }
    m_keepsSelection = true;
    m_table->selectOnly(rows);
    m_keepsSelection = false;
    updateSummary();
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
    if (item && m_stations->item(item->GetStationId()) && item->m_diffData.GetdiffdataBycoor(x, y, anomaly)) {
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
    applyChanges(changes, m_current.GetStationId(), m_current.m_diffData.m_anomalies);
    m_stations->apply(changes);
    const bool haveComeBack =
        std::any_of(changes.begin(), changes.end(), [this](const AnomalyChange& change) {
            return change.isNew && !change.isGone && m_stations->item(change.stationId);
        });
    if (haveComeBack) {
        changeRows([this] { fill(); });
        return true;
    }
    changeRows(
        [&] { m_model->apply(namesOfGone(changes), m_stations->deletedRows(changes), presentOf(changes)); });
    return false;
}

void AnomalyTableWindow::forget(const std::set<std::string>& names) {
    m_selectedNames.erase(std::remove_if(m_selectedNames.begin(), m_selectedNames.end(),
                                         [&](const std::string& name) { return names.count(name) != 0; }),
                          m_selectedNames.end());
}

} // namespace inspection
