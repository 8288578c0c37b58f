#pragma once

#include "host/Export.h"
#include "host/inspection/KV_MySQL.h"
#include "workbench/inspectiondata/database/ComparisonTable.h"
#include "workbench/inspectiondata/database/DetectionAccount.h"
#include "workbench/inspectiondata/database/StationTable.h"
#include "workbench/inspectiondata/project/ProjectDescription.h"
#include "workbench/inspectiondata/project/Result.h"

#include <cstdint>
#include <optional>
#include <vector>

namespace inspection {

/// A station with everything that was found in it.
struct StationFindings {
    KV_Station station;
    std::optional<StationResult> result; ///< empty: not computed yet
    std::vector<SdiffData> anomalies;    ///< by name
};

/// All that the outputs show of the project's compared epochs, as plain values that any thread may use.
struct InspectionData {
    ProjectDescription project;
    std::vector<StationFindings> stations; ///< by id
    std::vector<KV_BasicNode> pipeNodes;   ///< valves, posts and the like
    std::vector<Special_Point> specialPoints;
    std::vector<Special_Area> specialAreas;
    std::vector<Special_Polygon> highConsequenceAreas;
    std::vector<Comparison> comparisons; ///< of all pairs of epochs
    std::optional<DetectionAccount> account;

    int anomalyCount() const;
    /// How many anomalies have an outline that is none, so that no picture shows it.
    INSPECTIONDATA_API int brokenOutlines() const;
};

/// Reads everything from the project's database, of stations only those that are named, if any are; call it on the
/// database's thread.
INSPECTIONDATA_API Result<InspectionData>
readInspectionData(const ProjectDescription& project, mysqlhelper::KV_MySQL& database,
                   const std::vector<std::uint32_t>& stationIds = {});

} // namespace inspection
