#include "workbench/inspection/history/EditTransaction.h"

namespace inspection {

using mysqlhelper::KV_MySQL;
using mysqlhelper::KV_Record;

EditTransaction::EditTransaction(KV_MySQL& database) : m_database(database), m_transaction(database) {}

std::int64_t EditTransaction::insert(const std::string& table, const KV_Record& fields) {
    const std::int64_t id = m_database.insertRecord(table, fields);
    m_changes.push_back({table, id, std::nullopt, readRow(m_database, table, id)});
    return id;
}

bool EditTransaction::update(const std::string& table, std::int64_t id, const KV_Record& fields) {
    auto before = readRow(m_database, table, id);
    if (!before) {
        return false;
    }
    m_database.updateRecord(table, fields, "where id=?", {id});
    auto after = readRow(m_database, table, id);
    if (after != before) {
        m_changes.push_back({table, id, std::move(before), std::move(after)});
    }
    return true;
}

void EditTransaction::remove(const std::string& table, std::int64_t id) {
    if (auto before = readRow(m_database, table, id)) {
        m_database.deleteRecord(table, "where id=?", {id});
        m_changes.push_back({table, id, std::move(before), std::nullopt});
    }
}

} // namespace inspection
