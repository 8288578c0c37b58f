#pragma once

#include "workbench/inspectiondata/project/Project.h"
#include "workbench/inspectiondata/project/ProjectDescription.h"
#include "workbench/inspectiondata/project/Result.h"

namespace inspection {

/// Writes project.json and the stations of a new project over two rasters, see Project::createFromRasters. On
/// failure neither file exists.
Result<ProjectDescription> writeRasterProject(const QString& folder, const RasterPair& rasters);

} // namespace inspection
