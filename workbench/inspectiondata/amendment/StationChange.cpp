#include "workbench/inspectiondata/amendment/StationChange.h"

#include "host/Gbk.h"
#include "host/inspection/Records.h"
#include "workbench/inspectiondata/database/EditTable.h"
#include "workbench/inspectiondata/database/Fields.h"
#include "workbench/inspectiondata/database/RowBatch.h"
#include "workbench/inspectiondata/database/Schema.h"
#include "workbench/inspectiondata/database/StationTable.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

namespace inspection {

using mysqlhelper::KV_MySQL;
using mysqlhelper::KV_MySQL_Exception;
using mysqlhelper::KV_Record;
using mysqlhelper::KV_Rows;

namespace {

constexpr auto kStationColumn = "station_id";

/// Where an anomaly is, and whose it is.
struct Place {
    std::int64_t id = 0;
    double x = 0.0;
    double y = 0.0;
    std::uint32_t station = 0;
    std::string name;
};

Place placeOf(const KV_Record& row) {
    Place place;
    takeField(row, "id", place.id);
    takeField(row, "x", place.x);
    takeField(row, "y", place.y);
    takeField(row, kStationColumn, place.station);
    takeField(row, "name", place.name);
    return place;
}

std::vector<Place> storedPlaces(KV_MySQL& database) {
    std::vector<Place> places;
    for (const KV_Record& row : database.queryRecord("select id, x, y, station_id, name from anomaly")) {
        places.push_back(placeOf(row));
    }
    return places;
}

/// Of anomalies as edits found and left them: an undo or redo can bring each of them back.
std::vector<Place> editedPlaces(KV_MySQL& database) {
    std::vector<Place> places;
    changeRowsOfEdits(database, [&places](RowChange& change) {
        for (const auto* row : {&change.before, &change.after}) {
            if (change.table == kAnomalyTable && *row) {
                places.push_back(placeOf(**row));
            }
        }
        return false;
    });
    return places;
}

/// The number in "S3-0007"; 0 for another name.
std::uint32_t stationInName(const std::string& name) {
    unsigned id = 0;
    return std::sscanf(name.c_str(), "S%u-", &id) == 1 ? id : 0;
}

bool holds(const KV_Station& station, double x, double y) {
    return x >= station.m_xMin && x < station.m_xMax && y >= station.m_yMin && y < station.m_yMax;
}

bool hasBox(const KV_Station& station, const detect::Box& box) {
    constexpr double kTenthOfMillimetre = 1e-4;
    const auto isSame = [](double a, double b) { return std::abs(a - b) < kTenthOfMillimetre; };
    return isSame(station.m_xMin, box.xMin) && isSame(station.m_yMin, box.yMin) &&
           isSame(station.m_xMax, box.xMax) && isSame(station.m_yMax, box.yMax);
}

KV_Station stationOf(const Stretch& stretch, std::uint32_t id, const QString& srs) {
    KV_Station station;
    station.m_tableKind = KV_STATION;
    station.m_id = id;
    station.m_name = toGbk(stretch.name);
    station.m_srs = srs.toStdString();
    station.m_xMin = stretch.box.xMin;
    station.m_yMin = stretch.box.yMin;
    station.m_xMax = stretch.box.xMax;
    station.m_yMax = stretch.box.yMax;
    station.m_startMetres = stretch.startMetres;
    station.m_endMetres = stretch.endMetres;
    return station;
}

KV_Station stationOutside(KV_Station station, std::uint32_t id) {
    static const std::string kOutside = toGbk(QStringLiteral("站段外"));
    station.m_id = id;
    if (station.m_name.compare(0, kOutside.size(), kOutside) != 0) {
        station.m_name = kOutside + ' ' + station.m_name;
    }
    station.m_startMetres = 0.0; // chainages of a line that may be another one now
    station.m_endMetres = 0.0;
    return station;
}

KV_Record recordOf(const KV_Station& station) {
    KV_Record fields = stationRecord(station);
    fields["id"] = std::int64_t{station.m_id};
    return fields;
}

void storeStationRows(KV_MySQL& database, const StationChange& change) {
    std::map<std::uint32_t, KV_Record> earlier;
    for (const KV_Station& station : change.before) {
        earlier[station.m_id] = stationRecord(station);
    }
    KV_Rows added;
    for (const KV_Station& station : change.after) {
        if (change.kept.count(station.m_id) == 0) {
            added.push_back(recordOf(station));
        } else if (!isSame(stationRecord(station), earlier.at(station.m_id))) {
            database.updateRecord(tableName(KV_STATION), stationRecord(station), "where id=?",
                                  {std::int64_t{station.m_id}});
        }
    }
    insertRows(database, tableName(KV_STATION), added);
}

void moveAnomalies(KV_MySQL& database, const StationChange& change) {
    RowUpdates moves;
    for (const Place& place : storedPlaces(database)) {
        const std::uint32_t station = change.stationOf(place.x, place.y, place.station);
        if (station != place.station) {
            moves.add(place.id, {{kStationColumn, std::int64_t{station}}});
        }
    }
    moves.store(database, kAnomalyTable);
}

void moveEditedRows(KV_MySQL& database, const StationChange& change) {
    changeRowsOfEdits(database, [&change](RowChange& edited) {
        bool isOther = false;
        for (auto* row : {&edited.before, &edited.after}) {
            if (edited.table == kAnomalyTable && *row) {
                const Place place = placeOf(**row);
                const std::uint32_t station = change.stationOf(place.x, place.y, place.station);
                if (station != 0 && station != place.station) {
                    (**row)[kStationColumn] = std::int64_t{station};
                    isOther = true;
                }
            }
        }
        return isOther;
    });
}

/// The ids of stations that are no more.
RowIds goneStations(const StationChange& change) {
    RowIds gone;
    for (const KV_Station& station : change.before) {
        if (change.kept.count(station.m_id) == 0) {
            gone.push_back(station.m_id);
        }
    }
    return gone;
}

/// The database would delete with a station what still belongs to it.
void deleteStations(KV_MySQL& database, const RowIds& ids) {
    for (const std::int64_t id : ids) {
        if (!database.queryRecord("select id from anomaly where station_id=? limit 1", {id}).empty()) {
            throw KV_MySQL_Exception("anomalies of station " + std::to_string(id) + " have no other one");
        }
        database.deleteRecord(kComparisonResultTable, "where station_id=?", {id});
    }
    deleteRows(database, tableName(KV_STATION), ids);
}

} // namespace

std::uint32_t StationChange::stationOf(double x, double y, std::uint32_t earlier) const {
    for (std::size_t i = 0; i < laidOut; ++i) {
        if (holds(after[i], x, y)) {
            return after[i].m_id;
        }
    }
    const auto rest = outside.find(earlier);
    return rest != outside.end() ? rest->second : kept.count(earlier) != 0 ? earlier : 0;
}

StationChange planStations(KV_MySQL& database, const std::vector<Stretch>& stretches, const QString& srs) {
    StationChange change;
    change.before = readStations(database);
    std::vector<Place> places = storedPlaces(database);
    for (Place& place : editedPlaces(database)) {
        places.push_back(std::move(place));
    }
    std::uint32_t lastId = 0;
    for (const KV_Station& station : change.before) {
        lastId = std::max(lastId, station.m_id);
    }
    for (const Place& place : places) {
        lastId = std::max({lastId, place.station, stationInName(place.name)});
    }
    bool isSameSoFar = true;
    for (std::size_t i = 0; i < stretches.size(); ++i) {
        isSameSoFar = isSameSoFar && i < change.before.size() && hasBox(change.before[i], stretches[i].box);
        const std::uint32_t id = isSameSoFar ? change.before[i].m_id : ++lastId;
        change.after.push_back(inspection::stationOf(stretches[i], id, srs));
        if (isSameSoFar) {
            change.kept.insert(id);
        }
    }
    change.laidOut = change.after.size();
    for (const Place& place : places) {
        if (change.stationOf(place.x, place.y, place.station) == 0) {
            change.outside[place.station] = 0;
        }
    }
    for (const KV_Station& station : change.before) {
        if (const auto rest = change.outside.find(station.m_id); rest != change.outside.end()) {
            rest->second = ++lastId;
            change.after.push_back(stationOutside(station, lastId));
        }
    }
    return change;
}

MovedAnomalies countMoves(KV_MySQL& database, const StationChange& change) {
    MovedAnomalies count;
    const std::uint32_t firstOutside =
        change.laidOut < change.after.size() ? change.after[change.laidOut].m_id : 0;
    for (const Place& place : storedPlaces(database)) {
        const std::uint32_t station = change.stationOf(place.x, place.y, place.station);
        const bool isOutside = firstOutside != 0 && station >= firstOutside;
        ++count.all;
        count.outside += isOutside ? 1 : 0;
        count.moved += station != place.station && !isOutside ? 1 : 0;
    }
    return count;
}

void storeStations(KV_MySQL& database, const StationChange& change, const KV_Rows& results) {
    storeStationRows(database, change);
    moveAnomalies(database, change);
    moveEditedRows(database, change);
    deleteStations(database, goneStations(change));
    insertRows(database, kComparisonResultTable, results);
}

} // namespace inspection
