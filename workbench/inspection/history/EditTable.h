#pragma once

#include "workbench/inspection/history/RowChange.h"

#include <QString>

/// Rows of table "edit_history": the edits of a project, oldest first by id. Every function throws
/// KV_MySQL_Exception when the database refuses, and has no transaction of its own.
namespace inspection {

/// An edit without its rows, which are read when they are needed.
struct StoredEdit {
    std::int64_t id = 0;
    QString description;
    bool isUndone = false;
};

/// Undone edits come last.
INSPECTION_API std::vector<StoredEdit> readEdits(mysqlhelper::KV_MySQL& database);
/// The rows of an edit. Throws as well when they are not stored or damaged.
INSPECTION_API RowChanges readChanges(mysqlhelper::KV_MySQL& database, std::int64_t editId);

/// Stores a new edit in place of all that are undone. Gives its id.
INSPECTION_API std::int64_t insertEdit(mysqlhelper::KV_MySQL& database, const QString& description,
                                       const RowChanges& changes);
INSPECTION_API void markEdit(mysqlhelper::KV_MySQL& database, std::int64_t editId, bool isUndone);
/// Forgets the edits of a table, whose rows are replaced as a whole.
INSPECTION_API void forgetEdits(mysqlhelper::KV_MySQL& database, const std::string& table);

} // namespace inspection
