#pragma once

#include "workbench/inspectiondata/amendment/NewFiles.h"
#include "workbench/inspectiondata/amendment/StationChange.h"
#include "workbench/inspectiondata/project/ProjectDescription.h"
#include "workbench/inspectiondata/project/Result.h"

#include <functional>

namespace inspection {

/// What was computed of earlier stations, as the results of new ones.
struct ResultChange {
    mysqlhelper::KV_Rows before; ///< of table "comparison_result", all that there were
    mysqlhelper::KV_Rows after;  ///< for the stations that are not kept; without ids
    std::int64_t partly = 0;     ///< results of stations of which something was never computed
    std::int64_t absent = 0;     ///< those whose rasters lie, in part, in the folder of another inspector
};

/// Puts the rasters of elevation differences of each compared pair together for every new station: of what was computed
/// of its ground by then, with a margin. The row names the oldest time and, of the parameters, those of the largest part.
/// Fails on a full disk and on the user's stop. Throws KV_MySQL_Exception.
Result<ResultChange> planResults(const ProjectDescription& project, mysqlhelper::KV_MySQL& database,
                                 const StationChange& change, NewFiles& files,
                                 const std::function<bool(double fraction)>& progress);

/// The same without rasters, to be told: their rows have none.
ResultChange countResults(const ProjectDescription& project, mysqlhelper::KV_MySQL& database,
                          const StationChange& change);

} // namespace inspection
