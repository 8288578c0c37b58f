#include "workbench/inspectiondata/database/Schema.h"

#include "host/inspection/Records.h"
#include "workbench/inspectiondata/database/AnomalyTable.h"
#include "workbench/inspectiondata/database/ComparisonStep.h"
#include "workbench/inspectiondata/database/ComparisonTable.h"
#include "workbench/inspectiondata/database/Driver.h"
#include "workbench/inspectiondata/database/TableDescription.h"

#include <string>
#include <vector>

namespace inspection {

using mysqlhelper::KV_MySQL;
using mysqlhelper::KV_MySQL_Exception;

namespace {

using Sort = Column::Sort;
using Columns = std::vector<Column>;

constexpr auto kStationResultTable = "station_result"; // of the first versions
constexpr auto kEditTable = "edit_history";
constexpr auto kRevisionTable = "project_revision";
constexpr auto kOfStation = "foreign key (station_id) references station(id) on delete cascade";

Columns required(Sort sort, const std::vector<std::string>& names) {
    Columns columns;
    for (const std::string& name : names) {
        columns.push_back({name, sort, true, {}});
    }
    return columns;
}

Columns joined(const std::vector<Columns>& parts) {
    Columns columns;
    for (const Columns& part : parts) {
        columns.insert(columns.end(), part.begin(), part.end());
    }
    return columns;
}

const Column kId{"id", Sort::RowId, true, {}};
const Column kName{"name", Sort::Name, true, {}};
const Column kAttribute{"attribute", Sort::Text, true, "''"};

// Positions of places are WGS 84 longitude and latitude in degrees, heights in metres above the ellipsoid.
Columns place() {
    return joined({{kId, kName}, required(Sort::Real, {"lon_deg", "lat_deg", "height_m"}), {kAttribute}});
}

TableDescription pipeNode() {
    return {tableName(KV_PIPE_NODE), joined({place(), {{"km", Sort::Real, false, {}}}}), {}, {}};
}

TableDescription specialPoint() {
    return {tableName(KV_SPECIAL_POINT), place(), {"unique (name)"}, {}};
}

TableDescription region(KV_ObjectType type) {
    return {tableName(type),
            joined({place(), required(Sort::Text, {"outline_wkt"}),
                    required(Sort::Real, {"fill_red", "fill_green", "fill_blue", "border_red", "border_green",
                                          "border_blue"}),
                    required(Sort::Integer, {"border_width_px"}), required(Sort::Real, {"opacity"}),
                    required(Sort::Integer, {"level"})}),
            {"check (opacity between 0 and 1)", "check (level between 0 and 5)", "unique (name)"},
            {}};
}

TableDescription station() {
    return {tableName(KV_STATION),
            joined({{kId},
                    required(Sort::Text, {"name", "srs"}),
                    required(Sort::Real, {"x_min", "y_min", "x_max", "y_max", "start_m", "end_m"})}),
            {"check (x_min < x_max and y_min < y_max)"},
            {}};
}

TableDescription stationResult() {
    return {kStationResultTable,
            joined({required(Sort::Integer, {"station_id"}),
                    required(Sort::Text, {"computed_at", "old_date", "new_date", "dz_raster"}),
                    required(Sort::Real, {"threshold_m", "min_area_m2"}),
                    required(Sort::Text, {"coregistration"}),
                    required(Sort::Real, {"dx_m", "dy_m", "dz_m", "nmad_before_m", "nmad_after_m"}),
                    required(Sort::Integer, {"cells"})}),
            {"primary key (station_id)", kOfStation},
            {}};
}

TableDescription anomaly() {
    return {
        kAnomalyTable,
        joined({{kId},
                required(Sort::Integer, {"station_id"}),
                {kName},
                required(Sort::Text, {"kind"}),
                {kAttribute, {"suggested", Sort::Text, true, "''"}},
                required(Sort::Real, {"x", "y", "lon_deg", "lat_deg", "x_min", "y_min", "x_max", "y_max",
                                      "area_m2", "fill_m3", "cut_m3", "dz_mean_m", "dz_min_m", "dz_max_m"}),
                required(Sort::Text, {"outline_wkt"})}),
        {"unique (name)", "check (kind in ('fill', 'cut'))", kOfStation},
        {{"anomaly_by_station", "station_id"}}};
}

void createFirstVersion(KV_MySQL& database, const EpochPair& /*pair*/) {
    for (const TableDescription& table :
         {pipeNode(), specialPoint(), region(KV_SPECIAL_AREA), region(KV_HIGH_CONSEQUENCE_AREA), station(),
          stationResult(), anomaly()}) {
        createTable(database, table);
    }
}

/// What the user did, see history/.
TableDescription editHistory() {
    return {kEditTable,
            joined({{kId},
                    required(Sort::Text, {"made_at", "subject", "description"}),
                    required(Sort::Integer, {"is_undone"}),
                    required(Sort::Text, {"changes"})}),
            {"check (is_undone in (0, 1))"},
            {}};
}

void addEditHistory(KV_MySQL& database, const EpochPair& /*pair*/) {
    createTable(database, editHistory());
}

/// For several inspectors on one database: which version of a row somebody has seen, and what others did
/// since.
void addRevisions(KV_MySQL& database, const EpochPair& /*pair*/) {
    createTable(database, {kRevisionTable, {kId, {"revision", Sort::Integer, true, {}}}, {}, {}});
    for (const int type : {KV_SPECIAL_POINT, KV_SPECIAL_AREA, KV_HIGH_CONSEQUENCE_AREA}) {
        addColumn(database, tableName(type), {"version", Sort::Integer, true, "0"});
    }
    addColumn(database, kAnomalyTable, {"version", Sort::Integer, true, "0"});
    addColumn(database, kEditTable, {"revision", Sort::Integer, true, "0"});
    addColumn(database, kEditTable, {"inspector", Sort::Text, true, "''"});
    addColumn(database, kEditTable, {"is_dropped", Sort::Integer, true, "0"});
    // Edits of before were made one after the other, and taken back from the newest on.
    database.execute("update edit_history set revision=id where is_undone=0");
    database.execute("update edit_history set revision=2*(select newest from (select max(id) as newest from "
                     "edit_history) as edits)-id where is_undone=1");
}

TableDescription comparison() {
    return {kComparisonTable,
            {kId, {"old_epoch", Sort::PairName, true, {}}, {"new_epoch", Sort::PairName, true, {}}},
            {"unique (old_epoch, new_epoch)"},
            {}};
}

TableDescription comparisonResult() {
    return {kComparisonResultTable,
            joined({{kId},
                    required(Sort::Integer, {"station_id", kComparisonColumn}),
                    required(Sort::Text, {"computed_at", "dz_raster"}),
                    required(Sort::Real, {"threshold_m", "min_area_m2"}),
                    required(Sort::Text, {"coregistration"}),
                    required(Sort::Real, {"dx_m", "dy_m", "dz_m", "nmad_before_m", "nmad_after_m"}),
                    required(Sort::Integer, {"cells"})}),
            {"unique (station_id, comparison_id)", kOfStation,
             "foreign key (comparison_id) references comparison(id) on delete cascade"},
            {}};
}

/// For more than two epochs: results of every pair. A column with a foreign key could not be required where
/// there are rows, so that anomalies have none to their comparison.
void addComparisons(KV_MySQL& database, const EpochPair& pair) {
    createTable(database, comparison());
    createTable(database, comparisonResult());
    for (const char* table : {kAnomalyTable, kEditTable}) {
        addColumn(database, table, {kComparisonColumn, Sort::Integer, true, "0"});
    }
    giveRowsToComparisons(database, pair);
}

/// How sure detection is of each anomaly, and what it did besides. What was found before has no value there.
void addUncertainty(KV_MySQL& database, const EpochPair& /*pair*/) {
    for (const char* name : {"vol_sd_m3", "sigma_m", "lod_m", "signif", "sugg_conf"}) {
        addColumn(database, kAnomalyTable, {name, Sort::Real, false, {}});
    }
    for (const char* name : {"summary", "stable_dz", "correction_raster"}) {
        addColumn(database, kComparisonResultTable, {name, Sort::Text, false, {}});
    }
}

/// Anomalies that an inspector has deleted stay, so that a computation knows them again.
void addDeletedAnomalies(KV_MySQL& database, const EpochPair& /*pair*/) {
    addColumn(database, kAnomalyTable, {kDeletedColumn, Sort::Integer, true, "0"});
}

// Step n brings version n to version n + 1. Steps are only ever added; what one of them does stays as it is.
// A server may have kept a part of a step that was not completed, so each must be repeatable, as createTable
// and addColumn are. Tables that a step adds go into storedTables() too.
using MigrationStep = void (*)(KV_MySQL&, const EpochPair& pair);
constexpr MigrationStep kSteps[] = {createFirstVersion, addEditHistory, addRevisions,
                                    addComparisons,     addUncertainty, addDeletedAnomalies};
static_assert(std::size(kSteps) == kSchemaVersion);

void takeSteps(KV_MySQL& database, int from, const EpochPair& pair) {
    for (int version = from; version < kSchemaVersion; ++version) {
        kSteps[version](database, pair);
    }
}

} // namespace

std::string tableName(int type) {
    switch (type) {
    case KV_PIPE_NODE:
        return "pipe_node";
    case KV_HIGH_CONSEQUENCE_AREA:
        return "high_consequence_area";
    case KV_STATION:
        return "station";
    case KV_SPECIAL_POINT:
        return "special_point";
    case KV_SPECIAL_AREA:
        return "special_area";
    default:
        return {};
    }
}

std::vector<StoredTable> storedTables() {
    return {{tableName(KV_PIPE_NODE), "id"},
            {tableName(KV_SPECIAL_POINT), "id"},
            {tableName(KV_SPECIAL_AREA), "id"},
            {tableName(KV_HIGH_CONSEQUENCE_AREA), "id"},
            {tableName(KV_STATION), "id"},
            {kComparisonTable, "id"},
            {kComparisonResultTable, "id"},
            {kAnomalyTable, "id"},
            {kEditTable, "id"},
            {kRevisionTable, "id"}};
}

int storedSchemaVersion(KV_MySQL& database) {
    return database.driver().schemaVersion();
}

void createTables(KV_MySQL& database) {
    database.driver().setSchemaVersion(0);
    takeSteps(database, 0, {});
}

void storeSchemaVersion(KV_MySQL& database) {
    database.driver().setSchemaVersion(kSchemaVersion);
}

void migrateSchema(KV_MySQL& database, const EpochPair& pair) {
    if (storedSchemaVersion(database) == kSchemaVersion) {
        return;
    }
    // On a server the first new table ends this transaction; the rest, the version at last, is stored at
    // once.
    KV_MySQL::Transaction transaction(database);
    const int stored = storedSchemaVersion(database);
    if (stored > kSchemaVersion) {
        throw KV_MySQL_Exception("database has schema version " + std::to_string(stored) +
                                 ", this program knows versions up to " + std::to_string(kSchemaVersion));
    }
    takeSteps(database, stored, pair);
    storeSchemaVersion(database);
    transaction.commit();
}

} // namespace inspection
