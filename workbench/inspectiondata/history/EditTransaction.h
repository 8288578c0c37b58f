#pragma once

#include "workbench/inspectiondata/database/EditTable.h"
#include "workbench/inspectiondata/database/RowChange.h"
#include "workbench/inspectiondata/history/OwnVersions.h"

#include <map>
#include <vector>

namespace inspection {

/// A row that somebody else has changed or deleted since it was shown here.
struct EditConflict {
    std::string table;
    std::int64_t id = 0;
    std::string name;         ///< GBK; of a row that is gone as the user has seen it
    std::int64_t version = 0; ///< that is stored now
    bool isGone = false;
};

/// Fields for a row, which the user has seen in that version.
struct RowEdit {
    std::int64_t id = 0;
    mysqlhelper::KV_Record fields;
    std::int64_t seenVersion = 0;
    std::string seenName = {}; ///< GBK
};

/// A row that the user wants to delete, as he has seen it.
struct SeenRow {
    std::int64_t id = 0;
    std::int64_t version = 0;
};

/// The rows of one edit, changed in one transaction for as long as the object lives, and how each was before
/// and is after. Edits of several inspectors wait for each other here. Every operation throws
/// KV_MySQL_Exception when the database refuses.
class INSPECTIONDATA_API EditTransaction {
public:
    /// `own` tells what this workbench has stored itself.
    EditTransaction(mysqlhelper::KV_MySQL& database, const OwnVersions& own);

    /// Gives the new row's id.
    std::int64_t insert(const std::string& table, const mysqlhelper::KV_Record& fields);
    /// `seenVersion` is the row's as it was shown to the user who edits it; another one now, or no such row,
    /// is a conflict. False when there is no such row.
    bool update(const std::string& table, std::int64_t id, const mysqlhelper::KV_Record& fields,
                std::int64_t seenVersion, const std::string& seenName = {});
    /// The same for many rows, by few statements. Of several edits of one row the first one counts. False
    /// when one of the rows is not there. A row that is marked as deleted is not there, unless the edit restores it.
    bool update(const std::string& table, const std::vector<RowEdit>& edits);
    /// A row that is gone already is no conflict.
    void remove(const std::string& table, std::int64_t id, std::int64_t seenVersion);
    void remove(const std::string& table, const std::vector<SeenRow>& rows);
    /// Marks the rows as deleted (kDeletedColumn). One that is marked or gone already is no conflict.
    void markDeleted(const std::string& table, const std::vector<SeenRow>& rows);

    /// The project's revision that this edit makes.
    std::int64_t revision() const { return m_revision; }
    /// Without the rows that are as before.
    const RowChanges& changes() const { return m_changes; }
    const std::vector<EditConflict>& conflicts() const { return m_conflicts; }
    /// Once the edit's row is in the history. It is over then, whatever is thrown.
    void commit(const QString& inspector) { commitNoted(m_database, m_transaction, inspector, m_revision); }

private:
    /// `stored` holds the rows as they are, by id.
    bool update(const std::string& table, const std::vector<RowEdit>& edits,
                std::map<std::int64_t, mysqlhelper::KV_Record> stored);
    void check(const std::string& table, const mysqlhelper::KV_Record& row, std::int64_t seenVersion);
    /// Notes these changes, with the rows as they are now.
    void noteUpdates(const std::string& table, RowChanges changes);

    mysqlhelper::KV_MySQL& m_database;
    const OwnVersions& m_own;
    std::optional<mysqlhelper::KV_MySQL::Transaction> m_transaction;
    std::int64_t m_revision;
    RowChanges m_changes;
    std::vector<EditConflict> m_conflicts;
};

} // namespace inspection
