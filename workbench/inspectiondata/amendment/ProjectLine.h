#pragma once

#include "host/Export.h"
#include "host/inspection/Station.h"
#include "workbench/inspectiondata/creation/ProjectPlan.h"
#include "workbench/inspectiondata/project/ProjectDescription.h"

#include <optional>
#include <vector>

/// What a project is now, in the words in which one is asked for.
namespace inspection {

/// Its centre line, with the chainages that it has; nothing where the file has none. Fails when the file cannot be read.
INSPECTIONDATA_API Result<std::optional<Centerline>> projectLine(const ProjectDescription& project);

/// Length and half width of stations that were laid out along a line; what cannot be told from them is as usual.
INSPECTIONDATA_API StationLayout layoutOf(const std::vector<KV_Station>& stations,
                                          const std::optional<Centerline>& line);

/// The wish that the project would come of; epochs in their order, no line and no stations.
INSPECTIONDATA_API NewProject wishOf(const ProjectDescription& project);

/// What its settings begin with.
struct PresentProject {
    ProjectDescription description;
    std::vector<KV_Station> stations;
    NewProject wish; ///< the line is its own one
};
INSPECTIONDATA_API PresentProject presentProject(const ProjectDescription& project,
                                                 std::vector<KV_Station> stations);

} // namespace inspection
