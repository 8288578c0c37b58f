#include "workbench/inspectiondata/check/CheckHistory.h"

#include "host/Gbk.h"
#include "host/inspection/Records.h"
#include "workbench/inspectiondata/check/CheckRowsOfEdits.h"
#include "workbench/inspectiondata/check/RowCheck.h"
#include "workbench/inspectiondata/database/ComparisonTable.h"
#include "workbench/inspectiondata/database/Revision.h"
#include "workbench/inspectiondata/database/Schema.h"
#include "workbench/inspectiondata/database/TableCopy.h"

#include <algorithm>
#include <map>
#include <set>

namespace inspection {

using mysqlhelper::KV_MySQL;
using mysqlhelper::KV_Record;

namespace {

constexpr auto kTable = "edit_history";

bool isEditedTable(const std::string& table) {
    return table == kAnomalyTable || table == tableName(KV_SPECIAL_POINT) ||
           table == tableName(KV_SPECIAL_AREA) || table == tableName(KV_HIGH_CONSEQUENCE_AREA);
}

bool hasId(const std::optional<KV_Record>& fields, std::int64_t id) {
    const auto field = fields ? fields->find("id") : KV_Record::const_iterator();
    return !fields || (field != fields->end() && field->second == mysqlhelper::KV_Value(id));
}

bool isWhole(const RowChange& change) {
    return isEditedTable(change.table) && hasId(change.before, change.id) && hasId(change.after, change.id);
}

/// Stations are laid out anew, which leaves a note, but they are not edited.
bool isRelayout(const RowCheck& row) {
    const auto changes = toRowChanges(gbkToUtf8(row.text("changes")));
    return row.text("subject") == tableName(KV_STATION) && row.whole("is_dropped") != 0 && changes &&
           changes->empty();
}

/// Whether the comparison is one of those that the anomalies among the rows belong to.
bool isAbout(const RowChanges& changes, std::int64_t comparison) {
    std::set<std::int64_t> touched;
    for (const RowChange& change : changes) {
        if (change.table == kAnomalyTable) {
            touched.insert(rowsOf(change).comparison);
        }
    }
    return changes.empty() ||
           (touched.empty() ? comparison == kNoComparison : touched.count(comparison) != 0);
}

/// The edits in the order in which they were made, looked at one after the other.
class EditCheck {
public:
    explicit EditCheck(KV_MySQL& database) : m_newestRevision(readRevision(database)) {}

    void take(const KV_Record& record, Findings& findings) {
        RowCheck row(kTable, record, findings);
        row.expectTime("made_at");
        row.expect(isEditedTable(row.text("subject")) || isRelayout(row),
                   QStringLiteral("subject 不是可编辑的数据表"));
        const std::int64_t revision = row.whole("revision");
        row.expect(revision > 0 && revision <= m_newestRevision, [&] {
            return QStringLiteral("revision %1 不在 1 和项目的修订号 %2 之间")
                .arg(revision)
                .arg(m_newestRevision);
        });
        checkOrder(row);
        checkRevision(row);
        checkChanges(row);
    }
    Findings rowsThatDiffer(KV_MySQL& database) const { return m_rows.differences(database); }

private:
    void checkOrder(RowCheck& row) {
        if (row.whole("is_dropped") != 0) {
            return;
        }
        bool& hasUndone = m_hasUndone[row.text("inspector")];
        hasUndone = hasUndone || row.whole("is_undone") != 0;
        row.expect(!hasUndone || row.whole("is_undone") != 0,
                   QStringLiteral("排在同一人已撤销的操作之后，却没有撤销"));
    }
    /// Only steps that one inspector took back together share a revision.
    void checkRevision(RowCheck& row) {
        const Sharer mine{row.text("inspector"), row.whole("is_undone") != 0};
        const auto [first, isNew] = m_revisions.insert({row.whole("revision"), mine});
        row.expect(isNew ||
                       (mine.isUndone && first->second.isUndone && mine.inspector == first->second.inspector),
                   QStringLiteral("与另一操作的 revision 相同"));
    }
    void checkChanges(RowCheck& row) {
        const auto changes = toRowChanges(gbkToUtf8(row.text("changes")));
        row.expect(changes.has_value(), QStringLiteral("changes 已损坏"));
        if (!changes) {
            return;
        }
        row.expect(std::all_of(changes->begin(), changes->end(), isWhole),
                   QStringLiteral("changes 中有不属于可编辑数据表的行"));
        row.expect(isAbout(*changes, row.whole(kComparisonColumn)),
                   QStringLiteral("comparison_id 与 changes 中的不同"));
        if (changes->empty()) {
            row.expect(row.whole("is_dropped") != 0, QStringLiteral("操作没有任何更改"));
            m_rows.takeReplacement({row.text("subject"), row.whole(kComparisonColumn)},
                                   row.whole("revision"));
        } else {
            m_rows.takeEdit(*changes, row.whole("is_undone") != 0, row.whole("revision"));
        }
    }

    struct Sharer {
        std::string inspector;
        bool isUndone = false;
    };
    const std::int64_t m_newestRevision;
    std::map<std::string, bool> m_hasUndone; ///< by inspector
    std::map<std::int64_t, Sharer> m_revisions;
    RowsOfEdits m_rows;
};

} // namespace

Findings checkHistory(KV_MySQL& database) {
    Findings findings;
    EditCheck check(database);
    visitRows(database, {kTable, "id"}, [&](const KV_Record& row) {
        check.take(row, findings);
        return true;
    });
    const Findings rows = check.rowsThatDiffer(database);
    findings.insert(findings.end(), rows.begin(), rows.end());
    return findings;
}

} // namespace inspection
