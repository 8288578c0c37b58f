#pragma once

#include "host/inspection/KV_MySQL.h"
#include "workbench/inspectiondata/check/Finding.h"
#include "workbench/inspectiondata/project/ProjectDescription.h"

namespace inspection {

/// Stations, their results, and the nodes of the pipeline. Throws KV_MySQL_Exception.
Findings checkStations(const ProjectDescription& project, mysqlhelper::KV_MySQL& database);

} // namespace inspection
