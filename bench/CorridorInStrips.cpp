#include "bench/CorridorInStrips.h"

#include "host/Gbk.h"
#include "tests/support/SamplePair.h"
#include "workbench/inspectiondata/compute/ComputeAnomalies.h"
#include "workbench/inspectiondata/database/AnomalyTable.h"
#include "workbench/inspectiondata/database/PipelineDatabase.h"
#include "workbench/inspectiondata/database/StationTable.h"
#include "workbench/inspectiondata/project/Project.h"

#include <osgEarth/SpatialReference>

#include <cmath>
#include <cstdio>
#include <functional>

using namespace inspection;
using mysqlhelper::KV_MySQL;

namespace {

/// In one transaction. False when the project cannot be opened.
bool change(const QString& folder, const std::function<void(KV_MySQL&)>& edit) {
    const auto project = Project::open(folder);
    const auto database = project ? PipelineDatabase::open(project->description(), Project::Access::Exclusive)
                                  : Unexpected(project.error());
    if (!database) {
        std::fprintf(stderr, "%s\n", database.error().message.toUtf8().constData());
        return false;
    }
    KV_MySQL& sql = *(*database)->GetMySQL();
    KV_MySQL::Transaction transaction(sql);
    edit(sql);
    transaction.commit();
    return true;
}

/// The strip `index` of `count` along the station.
KV_Station strip(const KV_Station& station, int index, int count) {
    const auto at = [&](double first, double last, int cut) { return first + (last - first) * cut / count; };
    KV_Station part = station;
    part.m_name += '-' + std::to_string(1000 + index);
    part.m_xMin = at(station.m_xMin, station.m_xMax, index);
    part.m_xMax = at(station.m_xMin, station.m_xMax, index + 1);
    part.m_startMetres = at(station.m_startMetres, station.m_endMetres, index);
    part.m_endMetres = at(station.m_startMetres, station.m_endMetres, index + 1);
    return part;
}

SdiffData squareAt(const KV_Station& station, double x, double y, double half) {
    const auto* srs = osgEarth::SpatialReference::get(station.m_srs);
    SdiffData square;
    square.x = x;
    square.y = y;
    square.xMin = x - half;
    square.xMax = x + half;
    square.yMin = y - half;
    square.yMax = y + half;
    osg::Vec3d lonLat;
    srs->transform(osg::Vec3d(x, y, 0.0), srs->getGeographicSRS(), lonLat);
    square.lonDegrees = lonLat.x();
    square.latDegrees = lonLat.y();
    square.areaSquareMetres = 4.0 * half * half;
    square.dzMeanMetres = square.dzMaxMetres = 1.0;
    square.outlineWkt = QString("POLYGON ((%1 %2, %3 %2, %3 %4, %1 %4, %1 %2))")
                            .arg(square.xMin, 0, 'f', 3)
                            .arg(square.yMin, 0, 'f', 3)
                            .arg(square.xMax, 0, 'f', 3)
                            .arg(square.yMax, 0, 'f', 3)
                            .toStdString();
    return square;
}

/// In a grid whose squares are about as wide as high.
std::vector<SdiffData> squaresOf(const KV_Station& station, int count, double half) {
    const double width = station.m_xMax - station.m_xMin;
    const double height = station.m_yMax - station.m_yMin;
    const int columns = std::max(1, static_cast<int>(std::ceil(std::sqrt(count * width / height))));
    const int rows = (count + columns - 1) / columns;
    std::vector<SdiffData> squares;
    for (int index = 0; index < count; ++index) {
        const double x = station.m_xMin + width * (0.5 + index % columns) / columns;
        const double y = station.m_yMin + height * (0.5 + index / columns) / rows;
        SdiffData square = squareAt(station, x, y, half);
        square.name = "M-" + std::to_string(station.m_id) + "-" + std::to_string(1000 + index);
        square.attribute = index % 3 == 0 ? toGbk(QString::fromUtf8("深挖")) : std::string();
        square.isFill = index % 2 == 0;
        squares.push_back(std::move(square));
    }
    return squares;
}

} // namespace

bool computeStations(const QString& folder) {
    const auto project = Project::open(folder);
    if (!project) {
        return false;
    }
    const auto database = PipelineDatabase::open(project->description(), Project::Access::Exclusive);
    ComputationRequest request;
    request.project = project->description();
    const auto summary = computeAnomalies(request);
    if (!summary) {
        std::fprintf(stderr, "%s\n", summary.error().message.toUtf8().constData());
    }
    return summary.has_value();
}

bool splitStations(const QString& folder, int count) {
    return change(folder, [count](KV_MySQL& database) {
        const std::vector<KV_Station> stations = readStations(database);
        std::vector<StationResult> results;
        for (const KV_Station& station : stations) {
            results.push_back(readStationResult(database, station.m_id, kSamplePair).value());
        }
        database.deleteRecord("station", "where id>0");
        const int each = count / static_cast<int>(stations.size());
        std::uint32_t id = 0;
        for (std::size_t whole = 0; whole < stations.size(); ++whole) {
            for (int index = 0; index < each; ++index) {
                mysqlhelper::KV_Record fields = stationRecord(strip(stations[whole], index, each));
                fields["id"] = std::int64_t{++id};
                database.insertRecord("station", fields);
                results[whole].stationId = id;
                storeStationResult(database, results[whole]);
            }
        }
    });
}

bool addAnomalies(const QString& folder, int count, double sideMetres) {
    return change(folder, [&](KV_MySQL& database) {
        const std::vector<KV_Station> stations = readStations(database);
        const int each = count / static_cast<int>(stations.size());
        for (const KV_Station& station : stations) {
            std::vector<SdiffData> squares = squaresOf(station, each, sideMetres / 2.0);
            insertAnomalies(database, station.m_id, kSamplePair, squares);
        }
    });
}
