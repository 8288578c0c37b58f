#include "workbench/inspectiondata/database/ComparisonStep.h"

#include "host/Gbk.h"
#include "workbench/inspectiondata/database/ComparisonTable.h"
#include "workbench/inspectiondata/database/Fields.h"
#include "workbench/inspectiondata/database/RowChange.h"
#include "workbench/inspectiondata/database/Schema.h"
#include "workbench/inspectiondata/database/TableCopy.h"
#include "workbench/inspectiondata/database/TableDescription.h"

#include <map>

namespace inspection {

using mysqlhelper::KV_MySQL;
using mysqlhelper::KV_Record;

namespace {

constexpr auto kEarlierResults = "station_result";
constexpr auto kEdits = "edit_history";

/// The parts of the step, each repeatable.
class ComparisonStep {
public:
    ComparisonStep(KV_MySQL& database, const EpochPair& pair) : m_database(database), m_pair(pair) {}

    void take() {
        if (hasTable(m_database, kEarlierResults)) {
            moveResults();
        }
        moveAnomalies();
        moveEdits();
        m_database.execute(std::string("drop table if exists ") + kEarlierResults);
    }

private:
    /// That of the project where the dates of its surveys were not known.
    EpochPair pairOf(const KV_Record& result) const {
        std::string older;
        std::string newer;
        takeField(result, "old_date", older);
        takeField(result, "new_date", newer);
        return older.empty() || newer.empty() ? m_pair : EpochPair{fromGbk(older), fromGbk(newer)};
    }

    void moveResults() {
        for (const KV_Record& earlier :
             m_database.queryRecord(std::string("select * from ") + kEarlierResults)) {
            KV_Record result = earlier;
            result[kComparisonColumn] = needComparison(m_database, pairOf(earlier));
            result.erase("old_date");
            result.erase("new_date");
            m_comparisons[wholeField(result, "station_id")] = comparisonOf(result);
            if (!isMoved(result)) {
                m_database.insertRecord(kComparisonResultTable, result);
            }
        }
    }
    bool isMoved(const KV_Record& result) {
        return !m_database
                    .queryRecord("select id from comparison_result where station_id=? and comparison_id=?",
                                 {result.at("station_id"), result.at(kComparisonColumn)})
                    .empty();
    }

    void moveAnomalies() {
        for (const KV_Record& station : m_database.queryRecord(
                 "select distinct station_id from anomaly where comparison_id=?", {kNoComparison})) {
            m_database.updateRecord(kAnomalyTable, {{kComparisonColumn, comparisonOfStation(station)}},
                                    "where comparison_id=? and station_id=?",
                                    {kNoComparison, station.at("station_id")});
        }
    }

    /// What an undo writes back must name its comparison, too. Edits that only tell others what was done tell
    /// nobody any more: no program that reads the earlier tables goes on with these.
    void moveEdits() {
        m_database.deleteRecord(kEdits, "where is_dropped=1", {});
        visitRows(m_database, {kEdits, "id"}, [this](const KV_Record& row) {
            std::string text;
            takeField(row, "changes", text);
            if (auto changes = toRowChanges(gbkToUtf8(text))) {
                moveEdit(row.at("id"), *changes);
            }
            return true;
        });
    }
    void moveEdit(const mysqlhelper::KV_Value& id, RowChanges& changes) {
        std::int64_t comparison = kNoComparison;
        for (RowChange& change : changes) {
            for (auto* row : {&change.before, &change.after}) {
                if (change.table == kAnomalyTable && row->has_value()) {
                    comparison = comparisonOfStation(**row);
                    (**row)[kComparisonColumn] = comparison;
                }
            }
        }
        if (comparison != kNoComparison) {
            m_database.updateRecord(
                kEdits, {{"changes", utf8ToGbk(toText(changes))}, {kComparisonColumn, comparison}},
                "where id=?", {id});
        }
    }

    /// Of the row's station, unless the row names its own.
    std::int64_t comparisonOfStation(const KV_Record& row) {
        if (const std::int64_t own = comparisonOf(row); own != kNoComparison) {
            return own;
        }
        std::int64_t station = 0;
        takeField(row, "station_id", station);
        const auto known = m_comparisons.find(station);
        return known != m_comparisons.end() ? known->second : needComparison(m_database, m_pair);
    }

    KV_MySQL& m_database;
    const EpochPair& m_pair;
    std::map<std::int64_t, std::int64_t> m_comparisons; ///< by station
};

} // namespace

void giveRowsToComparisons(KV_MySQL& database, const EpochPair& pair) {
    ComparisonStep(database, pair).take();
}

} // namespace inspection
