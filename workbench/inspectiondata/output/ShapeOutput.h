#pragma once

#include "host/Export.h"
#include "workbench/inspectiondata/output/InspectionData.h"
#include "workbench/inspectiondata/output/Report.h"
#include "workbench/inspectiondata/project/Result.h"

#include <QString>

#include <cstdint>
#include <vector>

namespace inspection {

/// Writes anomalies, stations, the pipe and the special objects into `folder` (made if missing), in the project's reference
/// system: ESRI Shapefiles with .prj and .cpg (UTF-8), and the same layers in corridor.gpkg. Earlier files
/// are replaced only when all new ones are complete, all or none of them, and none that the project is made of. Any
/// thread.
INSPECTIONDATA_API Status writeShapes(const InspectionData& data, const QString& folder,
                                      const OutputProgress& progress = {});

/// The same of what the database holds, of stations only those that are named, if any are. Findings are read while they
/// are written, a stretch of the line at a time, so that memory does not grow with its length. Returns how many
/// anomalies have an outline that is none, so that no picture shows it. On the database's thread.
INSPECTIONDATA_API Result<std::int64_t> writeStoredShapes(const ProjectDescription& project,
                                                          mysqlhelper::KV_MySQL& database,
                                                          const std::vector<std::uint32_t>& stationIds,
                                                          const QString& folder,
                                                          const OutputProgress& progress = {});

} // namespace inspection
