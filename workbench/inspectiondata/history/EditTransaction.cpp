#include "workbench/inspectiondata/history/EditTransaction.h"

#include "workbench/inspectiondata/database/AnomalyTable.h"
#include "workbench/inspectiondata/database/Fields.h"
#include "workbench/inspectiondata/database/Revision.h"
#include "workbench/inspectiondata/database/RowBatch.h"

#include <set>

namespace inspection {

using mysqlhelper::KV_MySQL;
using mysqlhelper::KV_Record;

namespace {

template<typename Row>
RowIds idsOf(const std::vector<Row>& rows) {
    RowIds ids;
    for (const Row& row : rows) {
        ids.push_back(row.id);
    }
    return ids;
}

bool isOutOfReach(const KV_Record& row, const RowEdit& edit) {
    return isDeleted(row) && edit.fields.count(kDeletedColumn) == 0;
}

} // namespace

EditTransaction::EditTransaction(KV_MySQL& database, const OwnVersions& own)
    : m_database(database), m_own(own), m_transaction(std::in_place, database),
      m_revision(raiseRevision(database)) {}

std::int64_t EditTransaction::insert(const std::string& table, const KV_Record& fields) {
    KV_Record row = fields;
    row[kVersionColumn] = m_revision;
    const std::int64_t id = m_database.insertRecord(table, row);
    m_changes.push_back({table, id, std::nullopt, readRow(m_database, table, id)});
    return id;
}

bool EditTransaction::update(const std::string& table, std::int64_t id, const KV_Record& fields,
                             std::int64_t seenVersion, const std::string& seenName) {
    return update(table, std::vector<RowEdit>{{id, fields, seenVersion, seenName}});
}

bool EditTransaction::update(const std::string& table, const std::vector<RowEdit>& edits) {
    return update(table, edits, readRows(m_database, table, idsOf(edits)));
}

bool EditTransaction::update(const std::string& table, const std::vector<RowEdit>& edits,
                             std::map<std::int64_t, KV_Record> stored) {
    std::set<std::int64_t> edited;
    bool areThere = true;
    RowUpdates updates;
    RowChanges changes;
    for (const RowEdit& edit : edits) {
        if (!edited.insert(edit.id).second) {
            continue;
        }
        const auto before = stored.find(edit.id);
        if (before == stored.end() || isOutOfReach(before->second, edit)) {
            m_conflicts.push_back({table, edit.id, edit.seenName, 0, true});
            if (edit.seenName.empty() && before != stored.end()) {
                takeField(before->second, "name", m_conflicts.back().name);
            }
            areThere = false;
            continue;
        }
        if (!isSame(edit.fields, before->second)) { // who wants what is there overwrites nobody
            check(table, before->second, edit.seenVersion);
            KV_Record changed = edit.fields;
            changed[kVersionColumn] = m_revision;
            updates.add(edit.id, changed);
            changes.push_back({table, edit.id, std::move(before->second), std::nullopt});
        }
    }
    updates.store(m_database, table);
    noteUpdates(table, std::move(changes));
    return areThere;
}

void EditTransaction::noteUpdates(const std::string& table, RowChanges changes) {
    auto stored = readRows(m_database, table, idsOf(changes));
    for (RowChange& change : changes) {
        change.after = std::move(stored.at(change.id));
        m_changes.push_back(std::move(change));
    }
}

void EditTransaction::remove(const std::string& table, std::int64_t id, std::int64_t seenVersion) {
    remove(table, std::vector<SeenRow>{{id, seenVersion}});
}

void EditTransaction::remove(const std::string& table, const std::vector<SeenRow>& rows) {
    auto stored = readRows(m_database, table, idsOf(rows));
    RowIds gone;
    for (const SeenRow& row : rows) {
        if (auto before = stored.extract(row.id)) {
            check(table, before.mapped(), row.version);
            gone.push_back(row.id);
            m_changes.push_back({table, row.id, std::move(before.mapped()), std::nullopt});
        }
    }
    deleteRows(m_database, table, gone);
}

void EditTransaction::markDeleted(const std::string& table, const std::vector<SeenRow>& rows) {
    auto stored = readRows(m_database, table, idsOf(rows));
    std::vector<RowEdit> edits;
    for (const SeenRow& row : rows) {
        const auto found = stored.find(row.id);
        if (found != stored.end() && !isDeleted(found->second)) {
            edits.push_back({row.id, {{kDeletedColumn, std::int64_t{1}}}, row.version});
        }
    }
    update(table, edits, std::move(stored));
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
