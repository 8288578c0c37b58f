#include "workbench/inspectiondata/database/AnomalyTable.h"

#include "host/Gbk.h"
#include "workbench/inspectiondata/database/ComparisonTable.h"
#include "workbench/inspectiondata/database/Fields.h"
#include "workbench/inspectiondata/database/Revision.h"
#include "workbench/inspectiondata/database/RowBatch.h"
#include "workbench/inspectiondata/database/RowChange.h"
#include "workbench/inspectiondata/database/Schema.h"
#include "workbench/inspectiondata/text/AnomalyFields.h"

#include <algorithm>

namespace inspection {

using mysqlhelper::KV_MySQL;
using mysqlhelper::KV_Record;
using mysqlhelper::KV_Value;

namespace {

/// A field's value as it is stored.
struct StoredValue {
    const SdiffData& anomaly;

    KV_Value operator()(std::string SdiffData::* text) const { return anomaly.*text; }
    KV_Value operator()(double SdiffData::* number) const { return anomaly.*number; }
    KV_Value operator()(std::optional<double> SdiffData::* number) const {
        return anomaly.*number ? KV_Value(*(anomaly.*number)) : KV_Value();
    }
    KV_Value operator()(bool SdiffData::* isFill) const { return std::string(kindCode(anomaly.*isFill)); }
};

/// Takes a field's value out of a row.
struct Taking {
    const KV_Record& row;
    const char* column;
    SdiffData& anomaly;

    void operator()(std::string SdiffData::* text) const { takeField(row, column, anomaly.*text); }
    void operator()(double SdiffData::* number) const { takeField(row, column, anomaly.*number); }
    void operator()(std::optional<double> SdiffData::* number) const {
        takeField(row, column, anomaly.*number);
    }
    void operator()(bool SdiffData::* isFill) const {
        std::string kind;
        takeField(row, column, kind);
        anomaly.*isFill = kind == kindCode(true);
    }
};

KV_Record recordOf(std::uint32_t stationId, std::int64_t comparisonId, const SdiffData& anomaly,
                   bool isDeleted) {
    KV_Record row{{"station_id", std::int64_t{stationId}},
                  {kComparisonColumn, comparisonId},
                  {kDeletedColumn, std::int64_t{isDeleted}}};
    for (const AnomalyField& field : kAnomalyFields) {
        row.emplace(field.name, std::visit(StoredValue{anomaly}, field.member));
    }
    if (anomaly.id != 0) {
        row.emplace("id", anomaly.id);
    }
    return row;
}

void take(const KV_Record& row, TakenByOthers& taken) {
    const SdiffData anomaly = anomalyOf(row);
    taken.names.insert(anomaly.name);
    taken.highestId = std::max(taken.highestId, anomaly.id);
}

} // namespace

bool isDeleted(const KV_Record& row) {
    int mark = 0;
    takeField(row, kDeletedColumn, mark);
    return mark != 0;
}

SdiffData anomalyOf(const KV_Record& row) {
    SdiffData anomaly;
    takeField(row, "id", anomaly.id);
    anomaly.version = versionOf(row);
    for (const AnomalyField& field : kAnomalyFields) {
        std::visit(Taking{row, field.name, anomaly}, field.member);
    }
    return anomaly;
}

std::vector<SdiffData> readAnomalies(KV_MySQL& database, std::uint32_t stationId, const EpochPair& pair) {
    std::vector<SdiffData> anomalies;
    for (const KV_Record& row :
         database.queryRecord("select a.* from anomaly a join comparison c on c.id=a.comparison_id "
                              "where a.station_id=? and c.old_epoch=? and c.new_epoch=? and a.is_deleted=0 "
                              "order by a.name",
                              {std::int64_t{stationId}, toGbk(pair.older), toGbk(pair.newer)})) {
        anomalies.push_back(anomalyOf(row));
    }
    return anomalies;
}

std::map<std::uint32_t, std::vector<SdiffData>>
readAnomalies(KV_MySQL& database, const std::vector<std::uint32_t>& stationIds, const EpochPair& pair) {
    std::map<std::uint32_t, std::vector<SdiffData>> anomalies;
    const std::int64_t comparisonId = findComparison(database, pair);
    forEachBatch(RowIds(stationIds.begin(), stationIds.end()),
                 [&](const std::string& marks, std::vector<KV_Value> bound) {
                     bound.emplace_back(comparisonId);
                     for (const KV_Record& row :
                          database.queryRecord("select * from anomaly where station_id in " + marks +
                                                   " and comparison_id=? and is_deleted=0 order by name",
                                               bound)) {
                         std::uint32_t stationId = 0;
                         takeField(row, "station_id", stationId);
                         anomalies[stationId].push_back(anomalyOf(row));
                     }
                 });
    return anomalies;
}

std::vector<DeletedAnomaly> readDeletedAnomalies(KV_MySQL& database, const EpochPair& pair) {
    std::vector<DeletedAnomaly> deleted;
    for (const KV_Record& row :
         database.queryRecord("select * from anomaly where comparison_id=? and is_deleted=1 order by name",
                              {findComparison(database, pair)})) {
        deleted.push_back({0, anomalyOf(row)});
        takeField(row, "station_id", deleted.back().stationId);
    }
    return deleted;
}

std::map<std::uint32_t, std::size_t> countAnomalies(KV_MySQL& database, const EpochPair& pair) {
    std::map<std::uint32_t, std::size_t> counts;
    for (const KV_Record& row :
         database.queryRecord("select station_id, count(*) as anomalies from anomaly "
                              "where comparison_id=? and is_deleted=0 group by station_id",
                              {findComparison(database, pair)})) {
        std::uint32_t stationId = 0;
        takeField(row, "station_id", stationId);
        takeField(row, "anomalies", counts[stationId]);
    }
    return counts;
}

TakenByOthers takenByOthers(KV_MySQL& database, std::int64_t comparisonId) {
    TakenByOthers taken;
    for (const KV_Record& row : database.queryRecord("select max(id) as highest from anomaly")) {
        takeField(row, "highest", taken.highestId);
    }
    for (const KV_Record& row :
         database.queryRecord("select id, name from anomaly where comparison_id<>?", {comparisonId})) {
        take(row, taken);
    }
    for (const KV_Record& row : database.queryRecord(
             "select changes from edit_history where comparison_id not in (?, ?) and is_dropped=0",
             {comparisonId, kNoComparison})) {
        std::string text;
        takeField(row, "changes", text);
        for (const RowChange& change : toRowChanges(gbkToUtf8(text)).value_or(RowChanges())) {
            if (change.table == kAnomalyTable) {
                take(change.before ? *change.before : *change.after, taken);
            }
        }
    }
    return taken;
}

void insertAnomalies(KV_MySQL& database, std::uint32_t stationId, const EpochPair& pair,
                     std::vector<SdiffData>& anomalies, bool areDeleted) {
    const std::int64_t comparisonId = needComparison(database, pair);
    for (SdiffData& anomaly : anomalies) {
        anomaly.id =
            database.insertRecord(kAnomalyTable, recordOf(stationId, comparisonId, anomaly, areDeleted));
    }
}

void deleteAnomalies(KV_MySQL& database, const std::vector<SdiffData>& anomalies) {
    RowIds ids;
    for (const SdiffData& anomaly : anomalies) {
        ids.push_back(anomaly.id);
    }
    KV_MySQL::Transaction transaction(database);
    deleteRows(database, kAnomalyTable, ids);
    transaction.commit();
}

} // namespace inspection
