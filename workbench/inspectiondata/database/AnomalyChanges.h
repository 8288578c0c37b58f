#pragma once

#include "host/Export.h"
#include "host/inspection/Station.h"
#include "workbench/inspectiondata/database/RowChange.h"

#include <cstdint>
#include <map>
#include <vector>

/// What changed rows of table "anomaly" mean for the records of a station in memory.
namespace inspection {

struct AnomalyChange {
    std::uint32_t stationId = 0;
    SdiffData anomaly;     ///< as it is now; one that is gone as it was last
    bool isNew = false;    ///< added, or restored after it was deleted
    bool isGone = false;   ///< also one that is only marked as deleted
    bool isMarked = false; ///< gone, and can be restored
};

/// The anomalies of a comparison among the rows, each once, in the order in which they were changed last.
INSPECTIONDATA_API std::vector<AnomalyChange> anomalyChanges(const RowChanges& changes,
                                                             std::int64_t comparisonId);
/// A comparison other than that one which anomalies among the rows belong to; kNoComparison without any.
INSPECTIONDATA_API std::int64_t otherComparison(const RowChanges& changes, std::int64_t comparisonId);

/// The changes of each station, in their order.
INSPECTIONDATA_API std::map<std::uint32_t, std::vector<AnomalyChange>>
byStation(const std::vector<AnomalyChange>& changes);

/// Makes the changes of that station in its anomalies, which are in the order of readAnomalies() and stay in
/// it. Changes of other stations are passed over.
INSPECTIONDATA_API void applyChanges(const std::vector<AnomalyChange>& changes, std::uint32_t stationId,
                                     std::vector<SdiffData>& anomalies);

} // namespace inspection
