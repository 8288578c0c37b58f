#include "workbench/inspectiondata/database/ComparisonTable.h"

#include "host/Gbk.h"
#include "workbench/inspectiondata/database/Fields.h"
#include "workbench/inspectiondata/database/Schema.h"

#include <map>

namespace inspection {

using mysqlhelper::KV_MySQL;
using mysqlhelper::KV_Record;

namespace {

QString textField(const KV_Record& row, const char* name) {
    std::string text;
    takeField(row, name, text);
    return fromGbk(text);
}

EpochPair pairOf(const KV_Record& row) {
    return {textField(row, "old_epoch"), textField(row, "new_epoch")};
}

void takeResults(KV_MySQL& database, std::map<std::int64_t, Comparison>& comparisons) {
    for (const KV_Record& row :
         database.queryRecord("select comparison_id, count(*) as stations, max(computed_at) as newest "
                              "from comparison_result group by comparison_id")) {
        Comparison& comparison = comparisons[comparisonOf(row)];
        takeField(row, "stations", comparison.stations);
        comparison.computedAt = textField(row, "newest");
    }
}

void takeAnomalies(KV_MySQL& database, std::map<std::int64_t, Comparison>& comparisons) {
    for (const KV_Record& row : database.queryRecord(
             "select comparison_id, count(case when is_deleted=0 then 1 end) as anomalies, "
             "count(case when is_deleted=0 and attribute<>'' then 1 end) as judged, "
             "count(case when is_deleted=1 then 1 end) as deleted from anomaly group by comparison_id")) {
        Comparison& comparison = comparisons[comparisonOf(row)];
        takeField(row, "anomalies", comparison.anomalies);
        takeField(row, "judged", comparison.judged);
        takeField(row, "deleted", comparison.deleted);
    }
}

} // namespace

std::int64_t findComparison(KV_MySQL& database, const EpochPair& pair) {
    std::int64_t id = kNoComparison;
    for (const KV_Record& row :
         database.queryRecord("select id from comparison where old_epoch=? and new_epoch=?",
                              {toGbk(pair.older), toGbk(pair.newer)})) {
        takeField(row, "id", id);
    }
    return id;
}

std::int64_t needComparison(KV_MySQL& database, const EpochPair& pair) {
    const std::int64_t known = findComparison(database, pair);
    return known != kNoComparison
               ? known
               : database.insertRecord(kComparisonTable,
                                       {{"old_epoch", toGbk(pair.older)}, {"new_epoch", toGbk(pair.newer)}});
}

std::optional<EpochPair> readComparedPair(KV_MySQL& database, std::int64_t comparisonId) {
    const auto rows = database.queryRecord("select * from comparison where id=?", {comparisonId});
    return rows.empty() ? std::nullopt : std::optional(pairOf(rows.front()));
}

std::vector<Comparison> readComparisons(KV_MySQL& database) {
    std::map<std::int64_t, Comparison> figures;
    takeResults(database, figures);
    takeAnomalies(database, figures);
    std::vector<Comparison> comparisons;
    for (const KV_Record& row : database.queryRecord("select * from comparison order by id")) {
        std::int64_t id = kNoComparison;
        takeField(row, "id", id);
        Comparison comparison = figures[id];
        comparison.id = id;
        comparison.pair = pairOf(row);
        comparisons.push_back(std::move(comparison));
    }
    return comparisons;
}

std::int64_t comparisonOf(const KV_Record& row) {
    std::int64_t id = kNoComparison;
    takeField(row, kComparisonColumn, id);
    return id;
}

void deleteComparison(KV_MySQL& database, std::int64_t comparisonId) {
    const std::string ofComparison = std::string("where ") + kComparisonColumn + "=?";
    for (const char* table : {kAnomalyTable, kComparisonResultTable}) {
        database.deleteRecord(table, ofComparison, {comparisonId});
    }
    database.deleteRecord(kComparisonTable, "where id=?", {comparisonId});
}

} // namespace inspection
