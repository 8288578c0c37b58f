#include "workbench/inspectiondata/database/AnomalyTable.h"

#include "workbench/inspectiondata/database/Fields.h"
#include "workbench/inspectiondata/database/Revision.h"
#include "workbench/inspectiondata/database/RowBatch.h"
#include "workbench/inspectiondata/database/Schema.h"
#include "workbench/inspectiondata/text/AnomalyFields.h"

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
    KV_Value operator()(bool SdiffData::* isFill) const { return std::string(kindCode(anomaly.*isFill)); }
};

/// Takes a field's value out of a row.
struct Taking {
    const KV_Record& row;
    const char* column;
    SdiffData& anomaly;

    void operator()(std::string SdiffData::* text) const { takeField(row, column, anomaly.*text); }
    void operator()(double SdiffData::* number) const { takeField(row, column, anomaly.*number); }
    void operator()(bool SdiffData::* isFill) const {
        std::string kind;
        takeField(row, column, kind);
        anomaly.*isFill = kind == kindCode(true);
    }
};

KV_Record recordOf(std::uint32_t stationId, const SdiffData& anomaly) {
    KV_Record row{{"station_id", std::int64_t{stationId}}};
    for (const AnomalyField& field : kAnomalyFields) {
        row.emplace(field.name, std::visit(StoredValue{anomaly}, field.member));
    }
    if (anomaly.id != 0) {
        row.emplace("id", anomaly.id);
    }
    return row;
}

} // namespace

SdiffData anomalyOf(const KV_Record& row) {
    SdiffData anomaly;
    takeField(row, "id", anomaly.id);
    anomaly.version = versionOf(row);
    for (const AnomalyField& field : kAnomalyFields) {
        std::visit(Taking{row, field.name, anomaly}, field.member);
    }
    return anomaly;
}

std::vector<SdiffData> readAnomalies(KV_MySQL& database, std::uint32_t stationId) {
    std::vector<SdiffData> anomalies;
    for (const KV_Record& row : database.queryRecord("select * from anomaly where station_id=? order by name",
                                                     {std::int64_t{stationId}})) {
        anomalies.push_back(anomalyOf(row));
    }
    return anomalies;
}

std::map<std::uint32_t, std::size_t> countAnomalies(KV_MySQL& database) {
    std::map<std::uint32_t, std::size_t> counts;
    for (const KV_Record& row :
         database.queryRecord("select station_id, count(*) as anomalies from anomaly group by station_id")) {
        std::uint32_t stationId = 0;
        takeField(row, "station_id", stationId);
        takeField(row, "anomalies", counts[stationId]);
    }
    return counts;
}

void insertAnomalies(KV_MySQL& database, std::uint32_t stationId, std::vector<SdiffData>& anomalies) {
    for (SdiffData& anomaly : anomalies) {
        anomaly.id = database.insertRecord(kAnomalyTable, recordOf(stationId, anomaly));
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
