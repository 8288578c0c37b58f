#pragma once

#include "host/Export.h"
#include "host/inspection/KV_MySQL.h"
#include "workbench/inspectiondata/project/ProjectDescription.h"

#include <string>
#include <vector>

/// The tables of a project's database. docs/data-model.md describes them column by column.
namespace inspection {

constexpr int kSchemaVersion = 6;

/// Table of an object type code (KV_ObjectType), empty for an unknown one.
INSPECTIONDATA_API std::string tableName(int type);
constexpr const char* kAnomalyTable = "anomaly";
constexpr const char* kComparisonTable = "comparison";
constexpr const char* kComparisonResultTable = "comparison_result";

struct StoredTable {
    std::string name;
    std::string key; ///< column that numbers its rows
};

/// Every table of kSchemaVersion, each behind those that its foreign keys name.
INSPECTIONDATA_API std::vector<StoredTable> storedTables();

/// Version of the schema in the database, 0 for an empty one.
INSPECTIONDATA_API int storedSchemaVersion(mysqlhelper::KV_MySQL& database);

/// Makes what lacks of the tables; the version stays 0 until storeSchemaVersion. Not inside a transaction.
INSPECTIONDATA_API void createTables(mysqlhelper::KV_MySQL& database);
/// The database is a project's from now on. May be part of a transaction.
INSPECTIONDATA_API void storeSchemaVersion(mysqlhelper::KV_MySQL& database);

/// Brings the database to kSchemaVersion, step by step; not inside a transaction. Results of before there were
/// several comparisons belong to `pair` where they do not say which epochs they are of. Throws KV_MySQL_Exception
/// when the schema is newer than that or the database refuses. A SQLite file is as before then. On a server
/// tables are no part of a transaction; there the version is as before, and the next call completes what
/// lacks, also after a killed process.
INSPECTIONDATA_API void migrateSchema(mysqlhelper::KV_MySQL& database, const EpochPair& pair);

} // namespace inspection
