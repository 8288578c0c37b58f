#include "workbench/inspection/database/Schema.h"

#include "host/inspection/Records.h"

#include <string>
#include <vector>

namespace inspection {

using mysqlhelper::KV_MySQL;
using mysqlhelper::KV_MySQL_Exception;

namespace {

// Positions of places are WGS 84 longitude and latitude in degrees, heights in metres above the ellipsoid.
constexpr const char* kPlace = "id integer primary key, name text not null, "
                               "lon_deg real not null, lat_deg real not null, height_m real not null, "
                               "attribute text not null default ''";

constexpr const char* kRegion =
    ", outline_wkt text not null, "
    "fill_red real not null, fill_green real not null, fill_blue real not null, "
    "border_red real not null, border_green real not null, border_blue real not null, "
    "border_width_px integer not null, "
    "opacity real not null check (opacity between 0 and 1), "
    "level integer not null check (level between 0 and 5), "
    "unique (name)";

constexpr const char* kStation =
    "id integer primary key, name text not null, srs text not null, "
    "x_min real not null, y_min real not null, x_max real not null, y_max real not null, "
    "start_m real not null, end_m real not null, "
    "check (x_min < x_max and y_min < y_max)";

constexpr const char* kStationResult =
    "station_id integer primary key references station(id) on delete cascade, "
    "computed_at text not null, old_date text not null, new_date text not null, dz_raster text not null, "
    "threshold_m real not null, min_area_m2 real not null, coregistration text not null, "
    "dx_m real not null, dy_m real not null, dz_m real not null, "
    "nmad_before_m real not null, nmad_after_m real not null, cells integer not null";

constexpr const char* kAnomaly =
    "id integer primary key, station_id integer not null references station(id) on delete cascade, "
    "name text not null unique, kind text not null check (kind in ('fill', 'cut')), "
    "attribute text not null default '', suggested text not null default '', "
    "x real not null, y real not null, lon_deg real not null, lat_deg real not null, "
    "x_min real not null, y_min real not null, x_max real not null, y_max real not null, "
    "area_m2 real not null, fill_m3 real not null, cut_m3 real not null, "
    "dz_mean_m real not null, dz_min_m real not null, dz_max_m real not null, outline_wkt text not null";

void createTable(KV_MySQL& database, const std::string& name, const std::string& columns) {
    database.execute("create table " + name + " (" + columns + ")");
}

void createFirstVersion(KV_MySQL& database) {
    createTable(database, tableName(KV_PIPE_NODE), std::string(kPlace) + ", km real");
    createTable(database, tableName(KV_SPECIAL_POINT), std::string(kPlace) + ", unique (name)");
    createTable(database, tableName(KV_SPECIAL_AREA), std::string(kPlace) + kRegion);
    createTable(database, tableName(KV_HIGH_CONSEQUENCE_AREA), std::string(kPlace) + kRegion);
    createTable(database, tableName(KV_STATION), kStation);
    createTable(database, "station_result", kStationResult);
    createTable(database, kAnomalyTable, kAnomaly);
    database.execute("create index anomaly_by_station on anomaly(station_id)");
}

/// The user's edits, see history/.
void addEditHistory(KV_MySQL& database) {
    createTable(database, "edit_history",
                "id integer primary key, made_at text not null, subject text not null, "
                "description text not null, is_undone integer not null check (is_undone in (0, 1)), "
                "changes text not null");
}

// Step n brings version n to version n + 1. Steps are only ever added.
using MigrationStep = void (*)(KV_MySQL&);
constexpr MigrationStep kSteps[] = {createFirstVersion, addEditHistory};
static_assert(std::size(kSteps) == kSchemaVersion);

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

int storedSchemaVersion(KV_MySQL& database) {
    const auto rows = database.queryRecord("pragma user_version");
    return static_cast<int>(std::get<std::int64_t>(rows.at(0).at("user_version")));
}

void migrateSchema(KV_MySQL& database) {
    if (storedSchemaVersion(database) == kSchemaVersion) {
        return;
    }
    KV_MySQL::Transaction transaction(database);
    const int stored = storedSchemaVersion(database);
    if (stored > kSchemaVersion) {
        throw KV_MySQL_Exception("database has schema version " + std::to_string(stored) +
                                 ", this program knows versions up to " + std::to_string(kSchemaVersion));
    }
    for (int version = stored; version < kSchemaVersion; ++version) {
        kSteps[version](database);
    }
    database.execute("pragma user_version=" + std::to_string(kSchemaVersion));
    transaction.commit();
}

} // namespace inspection
