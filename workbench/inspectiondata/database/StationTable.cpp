#include "workbench/inspectiondata/database/StationTable.h"

#include "host/Gbk.h"
#include "workbench/inspectiondata/database/ComparisonTable.h"
#include "workbench/inspectiondata/database/Driver.h"
#include "workbench/inspectiondata/database/Fields.h"
#include "workbench/inspectiondata/database/RowBatch.h"
#include "workbench/inspectiondata/database/Schema.h"

#include <limits>

namespace inspection {

using mysqlhelper::KV_MySQL;
using mysqlhelper::KV_Record;

namespace {

template<typename Record>
std::vector<Record> readNodes(KV_MySQL& database, KV_ObjectType type) {
    std::vector<Record> records;
    for (const KV_Record& row : database.queryRecord("select * from " + tableName(type) + " order by id")) {
        Record record;
        record.m_type = type;
        record.init_from_sqldata(row);
        records.push_back(record);
    }
    return records;
}

void takeText(const KV_Record& row, const char* name, QString& target) {
    std::string gbk;
    takeField(row, name, gbk);
    target = fromGbk(gbk);
}

std::string utf8Field(const KV_Record& row, const char* name) {
    std::string gbk;
    takeField(row, name, gbk);
    return gbkToUtf8(gbk);
}

/// NULL for nothing.
mysqlhelper::KV_Value textOrNone(const std::string& utf8) {
    return utf8.empty() ? mysqlhelper::KV_Value() : mysqlhelper::KV_Value(utf8ToGbk(utf8));
}

} // namespace

std::vector<KV_Station> readStations(KV_MySQL& database) {
    std::vector<KV_Station> stations;
    for (const KV_Record& row :
         database.queryRecord("select * from " + tableName(KV_STATION) + " order by id")) {
        KV_Station station;
        station.m_tableKind = KV_STATION;
        station.init_from_sqldata(row);
        stations.push_back(station);
    }
    return stations;
}

KV_Record stationRecord(const KV_Station& station) {
    return {{"name", station.m_name},           {"srs", station.m_srs},        {"x_min", station.m_xMin},
            {"y_min", station.m_yMin},          {"x_max", station.m_xMax},     {"y_max", station.m_yMax},
            {"start_m", station.m_startMetres}, {"end_m", station.m_endMetres}};
}

namespace {

StationResult resultOf(const KV_Record& row, const EpochPair& pair) {
    StationResult result;
    takeField(row, "station_id", result.stationId);
    result.pair = pair;
    takeText(row, "computed_at", result.computedAt);
    takeText(row, "dz_raster", result.dzRaster);
    takeText(row, "coregistration", result.coregistration);
    takeField(row, "threshold_m", result.thresholdMetres);
    takeField(row, "min_area_m2", result.minAreaSquareMetres);
    takeField(row, "dx_m", result.dxMetres);
    takeField(row, "dy_m", result.dyMetres);
    takeField(row, "dz_m", result.dzMetres);
    takeField(row, "nmad_before_m", result.nmadBeforeMetres);
    takeField(row, "nmad_after_m", result.nmadAfterMetres);
    takeField(row, "cells", result.cells);
    takeText(row, "correction_raster", result.correctionRaster);
    result.summary = detect::readSummary(utf8Field(row, "summary"));
    result.stableDifferences = readHistogram(utf8Field(row, "stable_dz"));
    return result;
}

/// A column of all the pair's results, by station.
std::map<std::uint32_t, QString> textsOfResults(KV_MySQL& database, const char* column,
                                                const EpochPair& pair) {
    std::map<std::uint32_t, QString> texts;
    for (const KV_Record& row :
         database.queryRecord(std::string("select r.station_id, r.") + column +
                                  " from comparison_result r join comparison c on c.id=r.comparison_id "
                                  "where c.old_epoch=? and c.new_epoch=?",
                              {toGbk(pair.older), toGbk(pair.newer)})) {
        std::uint32_t stationId = 0;
        takeField(row, "station_id", stationId);
        takeText(row, column, texts[stationId]);
    }
    return texts;
}

} // namespace

std::optional<StationResult> readStationResult(KV_MySQL& database, std::uint32_t stationId,
                                               const EpochPair& pair) {
    const mysqlhelper::KV_Rows& rows = database.driver().queryKept(
        QStringLiteral("select r.* from comparison_result r join comparison c on c.id=r.comparison_id "
                       "where r.station_id=? and c.old_epoch=? and c.new_epoch=?"),
        {std::int64_t{stationId}, toGbk(pair.older), toGbk(pair.newer)});
    return rows.empty() ? std::nullopt : std::optional(resultOf(rows.front(), pair));
}

void visitStationResults(KV_MySQL& database, const EpochPair& pair,
                         const std::function<void(const StationResult&)>& visit) {
    constexpr std::size_t kRowsAtATime = 500;
    const std::int64_t comparisonId = findComparison(database, pair);
    std::int64_t lastStation = std::numeric_limits<std::int64_t>::min();
    mysqlhelper::KV_Rows rows;
    do {
        rows = database.queryRecord("select * from comparison_result where comparison_id=? and station_id>? "
                                    "order by station_id limit " +
                                        std::to_string(kRowsAtATime),
                                    {comparisonId, lastStation});
        for (const KV_Record& row : rows) {
            visit(resultOf(row, pair));
            lastStation = wholeField(row, "station_id");
        }
    } while (rows.size() == kRowsAtATime);
}

std::map<std::uint32_t, StationResult>
readStationResults(KV_MySQL& database, const std::vector<std::uint32_t>& stationIds, const EpochPair& pair) {
    std::map<std::uint32_t, StationResult> results;
    const std::int64_t comparisonId = findComparison(database, pair);
    forEachBatch(RowIds(stationIds.begin(), stationIds.end()), [&](const std::string& marks,
                                                                   std::vector<mysqlhelper::KV_Value> bound) {
        bound.emplace_back(comparisonId);
        for (const KV_Record& row : database.queryRecord(
                 "select * from comparison_result where station_id in " + marks + " and comparison_id=?",
                 bound)) {
            StationResult result = resultOf(row, pair);
            results.emplace(result.stationId, std::move(result));
        }
    });
    return results;
}

std::map<std::uint32_t, QString> readComputationTimes(KV_MySQL& database, const EpochPair& pair) {
    return textsOfResults(database, "computed_at", pair);
}

std::map<std::uint32_t, QString> readDifferenceRasters(KV_MySQL& database, const EpochPair& pair) {
    return textsOfResults(database, "dz_raster", pair);
}

void storeStationResult(KV_MySQL& database, const StationResult& result) {
    const std::int64_t comparisonId = needComparison(database, result.pair);
    const std::string summary = result.summary
                                    ? detect::summaryText(result.summary->report, result.summary->parameters)
                                    : std::string();
    const std::string differences =
        result.stableDifferences ? histogramText(*result.stableDifferences) : std::string();
    database.deleteRecord(kComparisonResultTable, "where station_id=? and comparison_id=?",
                          {std::int64_t{result.stationId}, comparisonId});
    database.insertRecord(kComparisonResultTable,
                          {{"station_id", std::int64_t{result.stationId}},
                           {kComparisonColumn, comparisonId},
                           {"computed_at", toGbk(result.computedAt)},
                           {"dz_raster", toGbk(result.dzRaster)},
                           {"threshold_m", result.thresholdMetres},
                           {"min_area_m2", result.minAreaSquareMetres},
                           {"coregistration", toGbk(result.coregistration)},
                           {"dx_m", result.dxMetres},
                           {"dy_m", result.dyMetres},
                           {"dz_m", result.dzMetres},
                           {"nmad_before_m", result.nmadBeforeMetres},
                           {"nmad_after_m", result.nmadAfterMetres},
                           {"cells", result.cells},
                           {"summary", textOrNone(summary)},
                           {"stable_dz", textOrNone(differences)},
                           {"correction_raster", textOrNone(result.correctionRaster.toStdString())}});
}

std::vector<KV_BasicNode> readPipeNodes(KV_MySQL& database) {
    return readNodes<KV_BasicNode>(database, KV_PIPE_NODE);
}

std::vector<Special_Point> readSpecialPoints(KV_MySQL& database) {
    return readNodes<Special_Point>(database, KV_SPECIAL_POINT);
}

std::vector<Special_Area> readSpecialAreas(KV_MySQL& database) {
    return readNodes<Special_Area>(database, KV_SPECIAL_AREA);
}

std::vector<Special_Polygon> readHighConsequenceAreas(KV_MySQL& database) {
    return readNodes<Special_Polygon>(database, KV_HIGH_CONSEQUENCE_AREA);
}

} // namespace inspection
