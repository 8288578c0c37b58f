#pragma once

#include "host/Export.h"
#include "host/inspection/KV_MySQL.h"
#include "workbench/inspectiondata/check/Finding.h"
#include "workbench/inspectiondata/project/ProjectDescription.h"

#include <functional>

namespace inspection {

/// Called with the done part of the work, 0..1.
using CheckProgress = std::function<void(double)>;

/// Everything that is wrong in a project, files and tables, as docs/data-model.md describes them. Writes
/// nothing. Others may go on editing; their edits are seen wholly or not at all. Where a table or a column
/// lacks, the rows are not looked at. What cannot be read is a finding, too.
INSPECTIONDATA_API Findings checkProject(const ProjectDescription& project, mysqlhelper::KV_MySQL& database,
                                         const CheckProgress& progress = {});

/// The tables alone, and the rasters that results name.
INSPECTIONDATA_API Findings checkDatabase(const ProjectDescription& project, mysqlhelper::KV_MySQL& database,
                                          const CheckProgress& progress = {});

} // namespace inspection
