#pragma once

#include "workbench/inspectiondata/database/RowChange.h"
#include "workbench/inspectiondata/history/OwnVersions.h"

#include <vector>

namespace inspection {

/// A row that somebody else has changed or deleted since it was shown here.
struct EditConflict {
    std::string table;
    std::int64_t id = 0;
    std::string name;         ///< GBK; empty for a row that is gone
    std::int64_t version = 0; ///< that is stored now
    bool isGone = false;
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
                std::int64_t seenVersion);
    /// The same. A row that is gone already is no conflict.
    void remove(const std::string& table, std::int64_t id, std::int64_t seenVersion);

    /// The project's revision that this edit makes.
    std::int64_t revision() const { return m_revision; }
    /// Without the rows that are as before.
    const RowChanges& changes() const { return m_changes; }
    const std::vector<EditConflict>& conflicts() const { return m_conflicts; }
    void commit() { m_transaction.commit(); }

private:
    void check(const std::string& table, const mysqlhelper::KV_Record& row, std::int64_t seenVersion);

    mysqlhelper::KV_MySQL& m_database;
    const OwnVersions& m_own;
    mysqlhelper::KV_MySQL::Transaction m_transaction;
    std::int64_t m_revision;
    RowChanges m_changes;
    std::vector<EditConflict> m_conflicts;
};

} // namespace inspection
