#include "workbench/inspectiondata/database/AnomalyTable.h"

#include "host/Gbk.h"
#include "workbench/inspectiondata/database/Fields.h"
#include "workbench/inspectiondata/database/Revision.h"
#include "workbench/inspectiondata/database/Schema.h"

namespace inspection {

using mysqlhelper::KV_MySQL;
using mysqlhelper::KV_MySQL_Exception;
using mysqlhelper::KV_Record;

namespace {

KV_Record recordOf(std::uint32_t stationId, const SdiffData& anomaly) {
    KV_Record fields{{"station_id", std::int64_t{stationId}},
                     {"name", anomaly.name},
                     {"kind", std::string(anomaly.isFill ? "fill" : "cut")},
                     {"attribute", anomaly.attribute},
                     {"suggested", anomaly.suggested},
                     {"x", anomaly.x},
                     {"y", anomaly.y},
                     {"lon_deg", anomaly.lonDegrees},
                     {"lat_deg", anomaly.latDegrees},
                     {"x_min", anomaly.xMin},
                     {"y_min", anomaly.yMin},
                     {"x_max", anomaly.xMax},
                     {"y_max", anomaly.yMax},
                     {"area_m2", anomaly.areaSquareMetres},
                     {"fill_m3", anomaly.fillCubicMetres},
                     {"cut_m3", anomaly.cutCubicMetres},
                     {"dz_mean_m", anomaly.dzMeanMetres},
                     {"dz_min_m", anomaly.dzMinMetres},
                     {"dz_max_m", anomaly.dzMaxMetres},
                     {"outline_wkt", anomaly.outlineWkt}};
    if (anomaly.id != 0) {
        fields.emplace("id", anomaly.id);
    }
    return fields;
}

bool isStored(KV_MySQL& database, const SdiffData& anomaly) {
    return !database.queryRecord("select id from anomaly where id=?", {anomaly.id}).empty();
}

} // namespace

SdiffData anomalyOf(const KV_Record& row) {
    SdiffData anomaly;
    std::string kind;
    takeField(row, "id", anomaly.id);
    anomaly.version = versionOf(row);
    takeField(row, "name", anomaly.name);
    takeField(row, "kind", kind);
    anomaly.isFill = kind == "fill";
    takeField(row, "attribute", anomaly.attribute);
    takeField(row, "suggested", anomaly.suggested);
    takeField(row, "x", anomaly.x);
    takeField(row, "y", anomaly.y);
    takeField(row, "lon_deg", anomaly.lonDegrees);
    takeField(row, "lat_deg", anomaly.latDegrees);
    takeField(row, "x_min", anomaly.xMin);
    takeField(row, "y_min", anomaly.yMin);
    takeField(row, "x_max", anomaly.xMax);
    takeField(row, "y_max", anomaly.yMax);
    takeField(row, "area_m2", anomaly.areaSquareMetres);
    takeField(row, "fill_m3", anomaly.fillCubicMetres);
    takeField(row, "cut_m3", anomaly.cutCubicMetres);
    takeField(row, "dz_mean_m", anomaly.dzMeanMetres);
    takeField(row, "dz_min_m", anomaly.dzMinMetres);
    takeField(row, "dz_max_m", anomaly.dzMaxMetres);
    takeField(row, "outline_wkt", anomaly.outlineWkt);
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

void storeAttributes(KV_MySQL& database, const std::vector<SdiffData>& anomalies) {
    KV_MySQL::Transaction transaction(database);
    for (const SdiffData& anomaly : anomalies) {
        const std::int64_t changed = database.updateRecord(kAnomalyTable, {{"attribute", anomaly.attribute}},
                                                           "where id=?", {anomaly.id});
        if (changed == 0 && !isStored(database, anomaly)) {
            throw KV_MySQL_Exception("anomaly " + gbkToUtf8(anomaly.name) + " is not stored any more");
        }
    }
    transaction.commit();
}

void deleteAnomalies(KV_MySQL& database, const std::vector<SdiffData>& anomalies) {
    KV_MySQL::Transaction transaction(database);
    for (const SdiffData& anomaly : anomalies) {
        database.deleteRecord(kAnomalyTable, "where id=?", {anomaly.id});
    }
    transaction.commit();
}

} // namespace inspection
