#pragma once

#include "host/inspection/KV_MySQL.h"
#include "workbench/inspectiondata/check/Finding.h"

namespace inspection {

/// Special points, special areas and high-consequence areas. Throws KV_MySQL_Exception.
Findings checkSpecialObjects(mysqlhelper::KV_MySQL& database);

} // namespace inspection
