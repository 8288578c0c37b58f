#pragma once

#include "host/Export.h"
#include "host/inspection/KV_MySQL.h"

#include <cstdint>

/// Table "project_revision": how often the project's data were changed, in one row. Whatever changes them
/// raises it first, in the same transaction, so that all who do wait for each other and revisions become
/// visible in their order. Every function throws KV_MySQL_Exception.
namespace inspection {

/// Column of the tables that inspectors edit: the revision in which the row was last edited, 0 for never.
constexpr auto kVersionColumn = "version";
INSPECTIONDATA_API std::int64_t versionOf(const mysqlhelper::KV_Record& row);

INSPECTIONDATA_API std::int64_t readRevision(mysqlhelper::KV_MySQL& database);
/// First statement of a transaction. Gives the new revision.
INSPECTIONDATA_API std::int64_t raiseRevision(mysqlhelper::KV_MySQL& database);
/// Makes the row where it lacks; part of opening a project for writing.
void startRevisions(mysqlhelper::KV_MySQL& database);

} // namespace inspection
