#pragma once

#include "host/Export.h"
#include "host/inspection/KV_MySQL.h"
#include "workbench/inspectiondata/project/Project.h"
#include "workbench/inspectiondata/project/Result.h"

namespace inspection {

/// What happens to verdicts on what an epoch was compared with, and to what was deleted of it.
enum class Verdicts {
    Keep,  ///< the epoch is not removed while there are any
    Remove ///< they go with it
};

/// Takes an epoch out of a project that is open for writing, and the results of all pairs that it belongs to:
/// first, in one transaction, their rows, then the epoch in project.json. Whoever is killed
/// in between leaves an epoch that was never computed, and can repeat it. The epoch's own rasters stay, those of the results go.
INSPECTIONDATA_API Status removeEpoch(Project& project, mysqlhelper::KV_MySQL& database, const QString& key,
                                      Verdicts verdicts);

/// The first part of it: the results of all pairs that the epoch belongs to. Fails when there are verdicts among
/// them that are to be kept; nothing is removed then. Undoing does not bring them back.
INSPECTIONDATA_API Status removeResults(const ProjectDescription& project, mysqlhelper::KV_MySQL& database,
                                        const QString& key, Verdicts verdicts);

} // namespace inspection
