#pragma once

#include "workbench/inspectiondata/database/RowBatch.h"
#include "workbench/inspectiondata/database/RowChange.h"
#include "workbench/inspectiondata/project/ProjectDescription.h"

#include <QString>

#include <functional>
#include <optional>

/// Rows of table "edit_history": the edits of a project, oldest first by id. Each belongs to the inspector
/// who made it, and to the project's revision in which it was made, undone or made again the last time. Every
/// function throws KV_MySQL_Exception when the database refuses, and has no transaction of its own.
namespace inspection {

/// An edit without its rows, which are read when they are needed.
struct StoredEdit {
    std::int64_t id = 0;
    QString description;
    bool isUndone = false;
};

/// What an edit last did to the rows.
struct EditStep {
    std::int64_t revision = 0;
    QString inspector;
    QString description;
    std::string subject; ///< table that was edited
    RowChanges changes;
    bool isReplacement = false; ///< tables were replaced as a whole; there are no single changes
};

/// Those of that inspector; undone ones come last.
INSPECTIONDATA_API std::vector<StoredEdit> readEdits(mysqlhelper::KV_MySQL& database,
                                                     const QString& inspector);
/// The rows of an edit. Throws as well when they are not stored or damaged.
INSPECTIONDATA_API RowChanges readChanges(mysqlhelper::KV_MySQL& database, std::int64_t editId);

/// Stores a new edit, which belongs to the comparison of its anomalies where it has any. Gives its id.
INSPECTIONDATA_API std::int64_t insertEdit(mysqlhelper::KV_MySQL& database, const QString& inspector,
                                           const QString& description, const RowChanges& changes,
                                           std::int64_t revision);
/// Undone edits can no longer be redone; others still read that they were undone.
INSPECTIONDATA_API void dropEdits(mysqlhelper::KV_MySQL& database, const RowIds& editIds);
INSPECTIONDATA_API void markEdit(mysqlhelper::KV_MySQL& database, std::int64_t editId, bool isUndone,
                                 std::int64_t revision);

/// Notes that rows of a table were replaced or added as a whole, which nobody can undo; first statement of a
/// transaction. Whoever has the project open reads everything anew. Gives the revision that it raises.
INSPECTIONDATA_API std::int64_t noteReplacement(mysqlhelper::KV_MySQL& database, const QString& inspector,
                                                const std::string& table, const QString& description);
/// The same for the anomalies of two epochs, whose comparison is made where there is none.
std::int64_t noteComputation(mysqlhelper::KV_MySQL& database, const QString& inspector, const EpochPair& pair,
                             const QString& description);
/// Gives the edits of one inspector to another, whose folder the project lies in now.
INSPECTIONDATA_API void handOverEdits(mysqlhelper::KV_MySQL& database, const QString& from,
                                      const QString& to);
/// Forgets the edits of a comparison's anomalies, of all inspectors.
void forgetEdits(mysqlhelper::KV_MySQL& database, std::int64_t comparisonId);
/// Calls `change` with every row of every edit, also of dropped ones, and stores the edits of which it says that it
/// has changed a row.
INSPECTIONDATA_API void changeRowsOfEdits(mysqlhelper::KV_MySQL& database,
                                          const std::function<bool(RowChange&)>& change);
/// Whether something is stored that the inspector did in that revision. Waits for whoever is still storing.
INSPECTIONDATA_API bool isStored(mysqlhelper::KV_MySQL& database, const QString& inspector,
                                 std::int64_t revision);
/// Completes a transaction that has left such a row. Where the connection is lost meanwhile it looks on a new one
/// whether that is stored. Throws otherwise; of what is in doubt even then ConnectionLost says so.
INSPECTIONDATA_API void commitNoted(mysqlhelper::KV_MySQL& database,
                                    std::optional<mysqlhelper::KV_MySQL::Transaction>& transaction,
                                    const QString& inspector, std::int64_t revision);
/// Deletes dropped edits and replacements that are more than a day old: until then others read them. The notes of
/// stations that were laid out anew stay.
INSPECTIONDATA_API void trimEdits(mysqlhelper::KV_MySQL& database);

/// What was done after that revision, in its order, by others than that inspector; by anybody when null.
INSPECTIONDATA_API std::vector<EditStep> readSteps(mysqlhelper::KV_MySQL& database,
                                                   std::int64_t afterRevision, const QString& inspector);
/// The last step of others that changed that row, among the newest hundred.
INSPECTIONDATA_API std::optional<EditStep> lastStepOn(mysqlhelper::KV_MySQL& database,
                                                      const std::string& table, std::int64_t id,
                                                      const QString& inspector);
/// The last one that took that row away, alone or with the whole table, among the newest hundred.
INSPECTIONDATA_API std::optional<EditStep> lastRemovalOf(mysqlhelper::KV_MySQL& database,
                                                         const std::string& table, std::int64_t id,
                                                         const QString& inspector);

} // namespace inspection
