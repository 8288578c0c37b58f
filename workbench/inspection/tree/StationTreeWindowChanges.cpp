// How the tree follows what changes in the project; see StationTreeWindow.cpp for what it is and what the user does in it.

#include "workbench/inspection/tree/StationTreeWindow.h"

#include "workbench/inspection/scene/AnomalyOverlays.h"
#include "workbench/inspection/session/Log.h"
#include "workbench/inspection/session/Session.h"
#include "workbench/inspection/tree/SpecialObjects.h"
#include "workbench/inspection/tree/StationOverlays.h"
#include "workbench/inspection/tree/StationRecords.h"
#include "workbench/inspection/tree/StationTree.h"
#include "workbench/inspectiondata/database/AnomalyChanges.h"
#include "workbench/inspectiondata/database/StationTable.h"

#include <algorithm>
#include <map>
#include <set>

namespace inspection {

using mysqlhelper::KV_MySQL_Exception;

void StationTreeWindow::takeResults(const std::vector<std::uint32_t>& stationIds) {
    m_session.history().reload(); // edits of the earlier anomalies have gone
    m_records->takeResults(stationIds);
    const KV_StationItem* rich = nullptr;
    std::map<std::uint32_t, QString> counts;
    for (const KV_StationItem* station : m_records->read(stationIds)) {
        const std::size_t anomalies = station->m_diffData.m_anomalies.size();
        counts[station->GetStationId()] = countText(station->GetStationId(), anomalies);
        rich = !rich && anomalies != 0 ? station : rich;
    }
    m_tree->setCounts(counts);
    refreshOverlays();
    if (!m_tree->selectedStations().empty()) {
        announceChosen();
    } else if (rich) {
        m_tree->setCurrentItem(m_tree->station(rich->GetStationId()));
    }
}

void StationTreeWindow::applyRows(const RowChanges& changes, Showing showing) {
    m_objects->applyRows(changes, showing);
    const std::vector<AnomalyChange> anomalies = anomalyChanges(changes, m_session.comparisonId());
    std::set<std::uint32_t> changed;
    for (const AnomalyChange& change : anomalies) {
        if (change.isGone) {
            m_globe.remove(change.stationId, change.anomaly.name);
        }
    }
    const auto changesOf = byStation(anomalies);
    std::vector<std::uint32_t> unread;
    for (const auto& [id, those] : changesOf) {
        changed.insert(id);
        if (KV_StationItem* station = m_records->item(id); station && m_records->isRead(id)) {
            applyChanges(those, id, station->m_diffData.m_anomalies);
        } else {
            unread.push_back(id);
        }
    }
    m_records->read(unread); // as they are after the changes
    std::map<std::uint32_t, QString> counts;
    for (const auto& [id, those] : changesOf) {
        if (const KV_StationItem* station = m_records->item(id); station && m_records->isRead(id)) {
            counts[id] = countText(id, station->m_diffData.m_anomalies.size());
            showGrown(*station, those);
        }
    }
    m_tree->setCounts(counts);
    if (showing == Showing::Followed && !changed.empty()) {
        showThose(changed);
    }
}

// Where all of them are among the selected stations, these stay.
void StationTreeWindow::showThose(const std::set<std::uint32_t>& stationIds) {
    const std::vector<std::uint32_t> shown = m_tree->selectedStations();
    const std::set<std::uint32_t> selected(shown.begin(), shown.end());
    if (!std::includes(selected.begin(), selected.end(), stationIds.begin(), stationIds.end())) {
        m_tree->selectStations({stationIds.begin(), stationIds.end()});
    }
}

void StationTreeWindow::showGrown(const KV_StationItem& station, const std::vector<AnomalyChange>& changes) {
    const bool hasGrown = std::any_of(changes.begin(), changes.end(), [](const AnomalyChange& change) {
        return change.isNew && !change.isGone;
    });
    if (hasGrown && IsDiffChecked(&station)) {
        m_overlays->show(station.GetStationId());
    }
}

bool StationTreeWindow::hasOtherStations() const {
    const auto stored = readStations(*m_session.connection());
    return !std::equal(stored.begin(), stored.end(), m_records->all().begin(), m_records->all().end(),
                       [](const KV_Station& station, const auto& item) {
                           return stationRecord(station) == stationRecord(item->m_station) &&
                                  station.m_id == item->GetStationId();
                       });
}

void StationTreeWindow::reload() {
    try {
        if (hasOtherStations()) {
            const StationChoice kept = choice();
            load();
            setChoice(kept);
            return;
        }
        m_objects->reload();
    } catch (const KV_MySQL_Exception& exception) {
        qCWarning(windowLog).noquote() << "The special objects cannot be read again:" << exception.what();
    }
    reloadAnomalies();
}

void StationTreeWindow::reloadAnomalies() {
    m_records->forgetAnomalies();
    try {
        showCounts();
    } catch (const KV_MySQL_Exception& exception) {
        qCWarning(windowLog).noquote() << "The anomalies cannot be read again:" << exception.what();
    }
    refreshOverlays();
    announceChosen();
}

void StationTreeWindow::refreshOverlays() {
    for (const std::uint32_t id : m_tree->checkedStations()) {
        m_overlays->show(id);
    }
}

void StationTreeWindow::recolourOverlays() {
    if (m_overlays->areOutdated()) {
        refreshOverlays();
    }
}

} // namespace inspection
