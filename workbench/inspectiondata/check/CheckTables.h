#pragma once

#include "host/inspection/KV_MySQL.h"
#include "workbench/inspectiondata/check/Finding.h"

namespace inspection {

/// Tables and columns of kSchemaVersion that the database lacks. Throws KV_MySQL_Exception.
Findings checkTables(mysqlhelper::KV_MySQL& database);
/// What the database, which has all tables, finds damaged in itself. Not inside a transaction. Throws
/// KV_MySQL_Exception.
Findings checkDamage(mysqlhelper::KV_MySQL& database);

} // namespace inspection
