#pragma once

#include "host/inspection/KV_MySQL.h"
#include "workbench/inspectiondata/project/ProjectDescription.h"
#include "workbench/inspectiondata/project/Result.h"

namespace inspection {

/// Reads layers "stations" (boxes; id, name, start_m, end_m) and "nodes" (points; name, km), where there are
/// any, from the project's centre-line file into an empty database, in one transaction. At least one station
/// is asked for. Throws KV_MySQL_Exception when the database refuses.
Status importCenterline(const ProjectDescription& project, mysqlhelper::KV_MySQL& database);

} // namespace inspection
