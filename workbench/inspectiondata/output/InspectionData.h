#pragma once

#include "host/Export.h"
#include "host/inspection/KV_MySQL.h"
#include "workbench/inspectiondata/database/ComparisonTable.h"
#include "workbench/inspectiondata/database/DetectionAccount.h"
#include "workbench/inspectiondata/database/StationTable.h"
#include "workbench/inspectiondata/project/ProjectDescription.h"
#include "workbench/inspectiondata/project/Result.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <vector>

namespace inspection {

/// A project and the objects along its pipe.
struct ProjectObjects {
    ProjectDescription project;
    std::vector<KV_BasicNode> pipeNodes; ///< valves, posts and the like
    std::vector<Special_Point> specialPoints;
    std::vector<Special_Area> specialAreas;
    std::vector<Special_Polygon> highConsequenceAreas;
};

/// A station with everything that was found in it.
struct StationFindings {
    KV_Station station;
    std::optional<StationResult> result; ///< empty: not computed yet
    std::vector<SdiffData> anomalies;    ///< by name
};

/// All that the outputs show of the project's compared epochs, as plain values that any thread may use.
struct InspectionData : ProjectObjects {
    std::vector<StationFindings> stations; ///< by id
    std::vector<Comparison> comparisons;   ///< of all pairs of epochs
    std::optional<DetectionAccount> account;

    int anomalyCount() const;
    /// How many anomalies have an outline that is none, so that no picture shows it.
    INSPECTIONDATA_API int brokenOutlines() const;
};

/// Stations with their findings, by id, for those that need no more than one of them at a time.
struct FindingsInTurn {
    using Visit = std::function<Status(const StationFindings&)>;

    std::size_t stations = 0;
    /// Ends with the first failure of `visit`, or of the reading.
    std::function<Status(const Visit& visit)> forEach;
};
/// Those that `data` holds, which must outlive it.
FindingsInTurn findingsInTurn(const InspectionData& data);
/// Those of the database, of some hundreds of anomalies at a time. All of one visit are as they were when it began. The
/// database must outlive it; call it on the database's thread. Throws KV_MySQL_Exception.
FindingsInTurn findingsInTurn(const ProjectDescription& project, mysqlhelper::KV_MySQL& database,
                              const std::vector<std::uint32_t>& stationIds);

/// Throws KV_MySQL_Exception.
ProjectObjects readProjectObjects(const ProjectDescription& project, mysqlhelper::KV_MySQL& database);

/// That the database refused, in one line.
Unexpected databaseFailure(const mysqlhelper::KV_MySQL_Exception& exception);

/// Reads everything from the project's database, of stations only those that are named, if any are; call it on the
/// database's thread.
INSPECTIONDATA_API Result<InspectionData>
readInspectionData(const ProjectDescription& project, mysqlhelper::KV_MySQL& database,
                   const std::vector<std::uint32_t>& stationIds = {});

} // namespace inspection
