#pragma once

#include "host/Export.h"
#include "host/inspection/KV_MySQL.h"
#include "host/inspection/Station.h"
#include "workbench/inspectiondata/creation/Stretches.h"

#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <vector>

/// Stations laid out anew under anomalies that stay. Every function throws KV_MySQL_Exception when the database refuses.
namespace inspection {

/// The stations of a project before and after. New stations get ids that no station ever had, so that the names of
/// anomalies ("S3-0007") and the folders of results stay apart. What lies in no new station keeps its earlier one, which
/// stands behind the others as 「站段外」.
struct StationChange {
    std::vector<KV_Station> before;
    std::vector<KV_Station> after; ///< by id, which is their order of precedence
    std::size_t laidOut = 0;       ///< how many of them are laid out; those outside stand behind
    std::set<std::uint32_t> kept;  ///< ids of the first stations, as long as their boxes are the same
    std::map<std::uint32_t, std::uint32_t> outside; ///< id of an earlier station: its id as one outside

    /// The station that an anomaly of an earlier one belongs to; 0 when it lies in none.
    std::uint32_t stationOf(double x, double y, std::uint32_t earlier) const;
};

/// What becomes of the stations that there are; writes nothing.
StationChange planStations(mysqlhelper::KV_MySQL& database, const std::vector<Stretch>& stretches,
                           const QString& srs);

/// Anomalies of all pairs.
struct MovedAnomalies {
    std::int64_t all = 0;
    std::int64_t moved = 0;   ///< that get another of the stations laid out
    std::int64_t outside = 0; ///< that lie in none of them, also those that did so before
};
MovedAnomalies countMoves(mysqlhelper::KV_MySQL& database, const StationChange& change);

/// Makes the change, part of a transaction: stations, the anomalies of all pairs, and the rows of edits, so that they can
/// be undone. `results` are the rows of table "comparison_result" for the stations that are not kept.
void storeStations(mysqlhelper::KV_MySQL& database, const StationChange& change,
                   const mysqlhelper::KV_Rows& results);

} // namespace inspection
