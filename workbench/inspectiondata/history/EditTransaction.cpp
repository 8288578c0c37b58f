#include "workbench/inspectiondata/history/EditTransaction.h"

#include "workbench/inspectiondata/database/Fields.h"
#include "workbench/inspectiondata/database/Revision.h"

namespace inspection {

using mysqlhelper::KV_MySQL;
using mysqlhelper::KV_Record;

EditTransaction::EditTransaction(KV_MySQL& database, const OwnVersions& own)
    : m_database(database), m_own(own), m_transaction(database), m_revision(raiseRevision(database)) {}

std::int64_t EditTransaction::insert(const std::string& table, const KV_Record& fields) {
    KV_Record row = fields;
    row[kVersionColumn] = m_revision;
    const std::int64_t id = m_database.insertRecord(table, row);
    m_changes.push_back({table, id, std::nullopt, readRow(m_database, table, id)});
    return id;
}

bool EditTransaction::update(const std::string& table, std::int64_t id, const KV_Record& fields,
                             std::int64_t seenVersion) {
    auto before = readRow(m_database, table, id);
    if (!before) {
        m_conflicts.push_back({table, id, {}, 0, true});
        return false;
    }
    check(table, *before, seenVersion);
    if (isSame(fields, *before)) {
        return true;
    }
    KV_Record changed = fields;
    changed[kVersionColumn] = m_revision;
    m_database.updateRecord(table, changed, "where id=?", {id});
    m_changes.push_back({table, id, std::move(before), readRow(m_database, table, id)});
    return true;
}

void EditTransaction::remove(const std::string& table, std::int64_t id, std::int64_t seenVersion) {
    if (auto before = readRow(m_database, table, id)) {
        check(table, *before, seenVersion);
        m_database.deleteRecord(table, "where id=?", {id});
        m_changes.push_back({table, id, std::move(before), std::nullopt});
    }
}

void EditTransaction::check(const std::string& table, const KV_Record& row, std::int64_t seenVersion) {
    EditConflict conflict{table, 0, {}, versionOf(row), false};
    takeField(row, "id", conflict.id);
    if (!m_own.isCurrent(table, conflict.id, seenVersion, conflict.version)) {
        takeField(row, "name", conflict.name);
        m_conflicts.push_back(std::move(conflict));
    }
}

} // namespace inspection
