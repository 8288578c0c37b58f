#pragma once

#include "host/Export.h"
#include "host/inspection/KV_MySQL.h"
#include "host/inspection/Station.h"
#include "workbench/inspectiondata/project/ProjectDescription.h"

#include <cstddef>
#include <cstdint>
#include <map>
#include <set>
#include <string>
#include <vector>

/// Rows of table "anomaly". Every function throws KV_MySQL_Exception when the database refuses; what is said
/// to happen in one transaction has then not happened at all. Texts of SdiffData are GBK.
namespace inspection {

/// Column that is 1 for an anomaly which an inspector has deleted. Its row stays: the same change is known again
/// when it is found by the next computation, and the anomaly can be restored.
constexpr auto kDeletedColumn = "is_deleted";
/// Whether a row, of whatever table, is deleted in that way.
bool isDeleted(const mysqlhelper::KV_Record& row);

/// What a row says.
SdiffData anomalyOf(const mysqlhelper::KV_Record& row);

/// The anomalies of a station between two epochs, by name; without deleted ones, as everywhere where nothing is said.
INSPECTIONDATA_API std::vector<SdiffData> readAnomalies(mysqlhelper::KV_MySQL& database,
                                                        std::uint32_t stationId, const EpochPair& pair);

/// The same for several stations, by few statements.
INSPECTIONDATA_API std::map<std::uint32_t, std::vector<SdiffData>>
readAnomalies(mysqlhelper::KV_MySQL& database, const std::vector<std::uint32_t>& stationIds,
              const EpochPair& pair);

struct DeletedAnomaly {
    std::uint32_t stationId = 0;
    SdiffData anomaly;
};
/// The deleted anomalies of all stations between two epochs, by name.
INSPECTIONDATA_API std::vector<DeletedAnomaly> readDeletedAnomalies(mysqlhelper::KV_MySQL& database,
                                                                    const EpochPair& pair);

/// How many anomalies each station has between two epochs; none for those that have none.
INSPECTIONDATA_API std::map<std::uint32_t, std::size_t> countAnomalies(mysqlhelper::KV_MySQL& database,
                                                                       const EpochPair& pair);

/// What new anomalies of a comparison must not have, because others have it or would again after an undo.
struct TakenByOthers {
    std::set<std::string> names; ///< of anomalies of other comparisons, deleted ones included
    std::int64_t highestId = 0;  ///< of all anomalies, deleted ones included
};
TakenByOthers takenByOthers(mysqlhelper::KV_MySQL& database, std::int64_t comparisonId);

/// One row for each anomaly, in no transaction of its own. An id of 0 lets the database choose one; any other
/// is kept, so that a deleted anomaly can come back as it was. The chosen ids are written into `anomalies`.
INSPECTIONDATA_API void insertAnomalies(mysqlhelper::KV_MySQL& database, std::uint32_t stationId,
                                        const EpochPair& pair, std::vector<SdiffData>& anomalies,
                                        bool areDeleted = false);

/// Removes the rows of the anomalies by id, in one transaction. One that is gone already is no error.
INSPECTIONDATA_API void deleteAnomalies(mysqlhelper::KV_MySQL& database,
                                        const std::vector<SdiffData>& anomalies);

} // namespace inspection
