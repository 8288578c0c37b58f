#pragma once

#include "host/Export.h"
#include "host/inspection/Station.h"
#include "workbench/inspectiondata/compute/SearchGroups.h"
#include "workbench/inspectiondata/project/ProjectDescription.h"
#include "workbench/inspectiondata/project/Result.h"

#include <vector>

namespace inspection {

/// What a computation of all stations does, and in what order.
struct ComputationPlan {
    std::vector<KV_Station> stations;
    std::vector<double> cells;       ///< that each station's search would look at if it were alone
    std::vector<SearchGroup> groups; ///< of `stations`
};

/// Reads the project's stations and its old surface model's grid. Writes nothing.
INSPECTIONDATA_API Result<ComputationPlan> planComputation(const ProjectDescription& project);

/// All stations of a project that others may have open; of one that was never opened, those of its centre-line file.
INSPECTIONDATA_API Result<std::vector<KV_Station>> readProjectStations(const ProjectDescription& project);

} // namespace inspection
