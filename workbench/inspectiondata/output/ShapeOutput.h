#pragma once

#include "host/Export.h"
#include "workbench/inspectiondata/output/InspectionData.h"
#include "workbench/inspectiondata/output/Report.h"
#include "workbench/inspectiondata/project/Result.h"

#include <QString>

namespace inspection {

/// Writes anomalies, stations, the pipe and the special objects into `folder` (made if missing), in the project's reference
/// system: ESRI Shapefiles with .prj and .cpg (UTF-8), and the same layers in corridor.gpkg. Earlier files
/// are replaced only when all new ones are complete, all or none of them, and none that the project is made of. Any
/// thread.
INSPECTIONDATA_API Status writeShapes(const InspectionData& data, const QString& folder,
                                      const OutputProgress& progress = {});

} // namespace inspection
