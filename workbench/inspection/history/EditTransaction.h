#pragma once

#include "workbench/inspection/history/RowChange.h"

namespace inspection {

/// The rows of one edit, changed in one transaction for as long as the object lives, and how each was before
/// and is after. Every operation throws KV_MySQL_Exception when the database refuses.
class INSPECTION_API EditTransaction {
public:
    explicit EditTransaction(mysqlhelper::KV_MySQL& database);

    /// Gives the new row's id.
    std::int64_t insert(const std::string& table, const mysqlhelper::KV_Record& fields);
    /// False when there is no such row.
    bool update(const std::string& table, std::int64_t id, const mysqlhelper::KV_Record& fields);
    /// A row that is gone already is no error.
    void remove(const std::string& table, std::int64_t id);

    mysqlhelper::KV_MySQL& database() { return m_database; }
    /// Without the rows that are as before.
    const RowChanges& changes() const { return m_changes; }
    void commit() { m_transaction.commit(); }

private:
    mysqlhelper::KV_MySQL& m_database;
    mysqlhelper::KV_MySQL::Transaction m_transaction;
    RowChanges m_changes;
};

} // namespace inspection
