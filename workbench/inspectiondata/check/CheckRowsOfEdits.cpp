#include "workbench/inspectiondata/check/CheckRowsOfEdits.h"

#include "workbench/inspectiondata/check/RowCheck.h"
#include "workbench/inspectiondata/database/ComparisonTable.h"
#include "workbench/inspectiondata/database/Revision.h"
#include "workbench/inspectiondata/database/Schema.h"

#include <QStringList>

#include <algorithm>

namespace inspection {

using mysqlhelper::KV_MySQL;
using mysqlhelper::KV_Record;

namespace {

QString differentColumns(const KV_Record& expected, const KV_Record& row) {
    QStringList columns;
    for (const auto& field : expected) {
        if (!isSame({field}, row)) {
            columns << QString::fromStdString(field.first);
        }
    }
    return columns.join(QStringLiteral("、"));
}

} // namespace

RowGroup rowsOf(const RowChange& change) {
    // NOLINTNEXTLINE(bugprone-unchecked-optional-access): a change has at least one of them
    const KV_Record& row = change.after ? *change.after : *change.before;
    return {change.table, change.table == kAnomalyTable ? comparisonOf(row) : kNoComparison};
}

// Edits that were undone together share their revision. The newest of them was undone first, so that the
// oldest says what there is now.
void RowsOfEdits::takeEdit(const RowChanges& changes, bool isUndone, std::int64_t revision) {
    std::map<RowKey, Statement> said;
    for (const RowChange& change : isUndone ? reversed(changes) : changes) {
        said[{change.table, change.id}] = {revision, rowsOf(change), change.after};
    }
    for (auto& [key, statement] : said) {
        Statement& last = m_statements[key];
        if (statement.revision > last.revision) {
            last = std::move(statement);
        }
    }
}

void RowsOfEdits::takeReplacement(const RowGroup& rows, std::int64_t revision) {
    m_replacements[rows] = std::max(m_replacements[rows], revision);
}

/// A computation replaces all that was. An import only adds rows, which may get the id of one that is gone.
bool RowsOfEdits::isOutdated(const Statement& statement) const {
    const auto replacement = m_replacements.find(statement.group);
    return replacement != m_replacements.end() && statement.revision < replacement->second &&
           (statement.group.table == kAnomalyTable || !statement.row);
}

Findings RowsOfEdits::differences(KV_MySQL& database) const {
    Findings findings;
    for (const auto& [key, statement] : m_statements) {
        if (isOutdated(statement)) {
            continue;
        }
        const auto row = readRow(database, key.first, key.second);
        const KV_Record told = row ? *row : statement.row.value_or(KV_Record());
        RowCheck check(key.first.c_str(), told, findings);
        if (!statement.row) {
            // Imported rows have no version; the note of an old import is not kept.
            check.expect(!row || versionOf(*row) == 0, QStringLiteral("按修改记录应已不存在"));
        } else if (!row) {
            check.expect(false, QStringLiteral("按修改记录应当存在，却没有"));
        } else {
            const QString columns = differentColumns(*statement.row, *row);
            check.expect(columns.isEmpty(), QStringLiteral("与修改记录不一致：%1").arg(columns));
        }
    }
    return findings;
}

} // namespace inspection
