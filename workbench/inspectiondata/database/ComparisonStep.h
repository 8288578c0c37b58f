#pragma once

#include "host/inspection/KV_MySQL.h"
#include "workbench/inspectiondata/project/ProjectDescription.h"

namespace inspection {

/// The rows of a database that knew one result of each station, given to the comparisons that they are of: that
/// of the epochs whose dates a result names, or else `pair`. Repeatable, also after a part of it; the tables and
/// columns must be there. The earlier table of results is gone afterwards. Throws KV_MySQL_Exception.
void giveRowsToComparisons(mysqlhelper::KV_MySQL& database, const EpochPair& pair);

} // namespace inspection
