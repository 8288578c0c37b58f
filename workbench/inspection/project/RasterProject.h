#pragma once

#include "workbench/inspection/project/Failure.h"
#include "workbench/inspection/project/Project.h"
#include "workbench/inspection/project/ProjectDescription.h"

namespace inspection {

/// Writes project.json and the stations of a new project over two rasters, see Project::createFromRasters. On
/// failure neither file exists.
Result<ProjectDescription> writeRasterProject(const QString& folder, const RasterPair& rasters);

} // namespace inspection
