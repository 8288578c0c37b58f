#pragma once

#include "host/inspection/Station.h"
#include "workbench/inspection/table/AnomalyRow.h"
#include "workbench/inspectiondata/database/AnomalyChanges.h"
#include "workbench/inspectiondata/database/AnomalyTable.h"

#include <QString>

#include <memory>
#include <unordered_map>
#include <vector>

namespace inspection {

class ProjectSurroundings;
class Session;

/// What is to be done about a table without a row, which has so many stations and anomalies of them, deleted ones not
/// counted.
QString emptyTableHint(std::size_t stations, std::size_t anomalies, bool showsDeleted);

/// The stations that the table shows, with records of their own, which follow the edits. GUI thread.
class ShownStations {
public:
    /// Both must outlive it.
    ShownStations(Session& session, ProjectSurroundings& surroundings);

    /// Shows these and no others; reads what has been deleted of them.
    void show(std::vector<KV_StationItem> items);
    /// Takes the records of a station that is shown already; another one takes the place of all.
    void take(const KV_StationItem& item);
    const std::vector<KV_StationItem>& items() const { return m_items; }
    /// Null where that station is not shown.
    const KV_StationItem* item(std::uint32_t stationId) const;

    /// The rows of all stations, those of deleted anomalies behind the others.
    std::vector<AnomalyRow> rows();
    /// Rows for what the changes have marked as deleted.
    std::vector<AnomalyRow> deletedRows(const std::vector<AnomalyChange>& changes) const;
    /// The stations with what lies around them now.
    const std::vector<std::shared_ptr<const TableStation>>& measureAnew();

    std::size_t anomalyCount() const;
    /// "一号站：共 9 处异常，填方 5，挖方 4，已判定 2"
    QString summary() const;

    void apply(const std::vector<AnomalyChange>& changes);

private:
    void readDeleted();

    Session& m_session;
    ProjectSurroundings& m_surroundings;
    std::vector<KV_StationItem> m_items;
    std::vector<std::shared_ptr<const TableStation>> m_stations; ///< of the items, in their order
    std::unordered_map<std::uint32_t, std::size_t> m_places;     ///< of the items, by station
    std::vector<DeletedAnomaly> m_deleted;                       ///< of the items
};

} // namespace inspection
