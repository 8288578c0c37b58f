#pragma once

#include "host/Export.h"
#include "host/inspection/KV_MySQL.h"

#include <string>

/// The tables of a project's database. docs/data-model.md describes them column by column.
namespace inspection {

constexpr int kSchemaVersion = 2;

/// Table of an object type code (KV_ObjectType), empty for an unknown one.
INSPECTION_API std::string tableName(int type);
constexpr const char* kAnomalyTable = "anomaly";

/// Version of the schema in the database, 0 for an empty one.
INSPECTION_API int storedSchemaVersion(mysqlhelper::KV_MySQL& database);

/// Brings the database to kSchemaVersion, step by step, all steps in one transaction. Throws
/// KV_MySQL_Exception when the schema is newer than that or the database refuses; it is as before then.
INSPECTION_API void migrateSchema(mysqlhelper::KV_MySQL& database);

} // namespace inspection
