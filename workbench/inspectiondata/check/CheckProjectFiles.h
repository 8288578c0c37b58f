#pragma once

#include "host/inspection/KV_MySQL.h"
#include "workbench/inspectiondata/check/Finding.h"
#include "workbench/inspectiondata/project/ProjectDescription.h"

namespace inspection {

/// The epochs of project.json: their order, keys that differ, a chosen pair that there is,
/// and rasters that can be opened. Any thread.
Findings checkEpochs(const ProjectDescription& project);
/// The local files of the base layers, and addresses that cannot be one; no server is asked. Any thread.
Findings checkBaseLayers(const ProjectDescription& project);
/// The rasters that the stations' results name. Throws KV_MySQL_Exception.
Findings checkResultRasters(const ProjectDescription& project, mysqlhelper::KV_MySQL& database);

} // namespace inspection
