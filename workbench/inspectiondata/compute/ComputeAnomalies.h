#pragma once

#include "detect/Detection.h"
#include "host/Export.h"
#include "host/inspection/KV_MySQL.h"
#include "workbench/inspectiondata/project/ProjectDescription.h"
#include "workbench/inspectiondata/project/Result.h"
#include "workbench/inspectiondata/text/ComputationStep.h"

#include <QString>

#include <cstdint>
#include <functional>
#include <optional>
#include <vector>

namespace inspection {

/// Which stations are searched together.
enum class Grouping {
    OfTheChosen, ///< the chosen ones among themselves
    OfAll ///< as a computation of all stations does it: a piece of that computation. Only whole groups can be chosen.
};

/// What is computed.
struct ComputationRequest {
    ProjectDescription project;
    std::vector<std::uint32_t> stationIds; ///< empty means all
    int threads = 0;                       ///< of the engine; 0 means one for each processor
    Grouping grouping = Grouping::OfTheChosen;
    /// Of the pair, as coregisterPair found it; it is looked for where it is not given.
    std::optional<detect::Coregistration> coregistration{};
};

/// What came out of it.
struct ComputationSummary {
    std::vector<std::uint32_t> stationIds;
    int anomalies = 0;
    std::int64_t cells = 0;
    double detectionSeconds = 0.0; ///< within the engine, co-registration included
    double seconds = 0.0;
    detect::Coregistration coregistration;
};

struct StationChanges;
/// Without `seconds`.
ComputationSummary summaryOf(const std::vector<StationChanges>& changes,
                             const detect::Coregistration& coregistration);

/// Called with 0..1 and what is being done, on the thread of the work; false stops it.
using ComputationProgress = std::function<bool(double fraction, const ComputationStep& step)>;

/// How the new epoch of the compared pair lies on the old one: the same whoever asks, with however many threads.
INSPECTIONDATA_API Result<detect::Coregistration>
coregisterPair(const ProjectDescription& project, int threads, const detect::Progress& progress = {});

/// Detects the changes of the stations between the project's compared epochs and stores them; results of other
/// pairs stay as they are. Runs in the calling
/// thread.
///
/// The pair is co-registered once. Each station is searched with a margin around its bounds; an anomaly
/// belongs to the first station whose bounds (lower edges included, upper edges not) contain its centroid.
/// All results of the stations are replaced in one transaction when every station has succeeded; on failure
/// or cancel the earlier results, rasters included, are as they were.
INSPECTIONDATA_API Result<ComputationSummary> computeAnomalies(const ComputationRequest& request,
                                                               const ComputationProgress& progress = {});
/// The same over a connection of the calling thread to the project's database.
INSPECTIONDATA_API Result<ComputationSummary> computeAnomalies(const ComputationRequest& request,
                                                               mysqlhelper::KV_MySQL& database,
                                                               const ComputationProgress& progress = {});

} // namespace inspection
