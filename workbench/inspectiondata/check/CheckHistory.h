#pragma once

#include "host/inspection/KV_MySQL.h"
#include "workbench/inspectiondata/check/Finding.h"

namespace inspection {

/// The edits: each by itself, their order, and whether the rows that they touched are what the last of them
/// left. Throws KV_MySQL_Exception.
Findings checkHistory(mysqlhelper::KV_MySQL& database);

} // namespace inspection
