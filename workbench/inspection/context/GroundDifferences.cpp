#include "workbench/inspection/context/GroundDifferences.h"

#include "workbench/inspection/session/Session.h"
#include "workbench/inspectiondata/database/ElevationDifference.h"
#include "workbench/inspectiondata/database/StationTable.h"

#include <algorithm>

namespace inspection {

namespace {
constexpr std::size_t kMostOpen = 16; ///< where stations overlap, a place lies in several
} // namespace

void GroundDifferences::forget() {
    m_isRead = false;
    m_stations.clear();
    m_rasters.clear();
}

std::optional<double> GroundDifferences::at(double lonDegrees, double latDegrees) {
    if (!m_isRead) {
        read();
    }
    const osgEarth::SpatialReference* geographic = osgEarth::SpatialReference::get("wgs84");
    const osgEarth::SpatialReference* known = nullptr; // most stations have the one before's
    bool hasPlace = false;
    osg::Vec3d place;
    for (const Station& station : m_stations) {
        if (station.srs != known) {
            known = station.srs;
            hasPlace = geographic->transform(osg::Vec3d(lonDegrees, latDegrees, 0.0), known, place);
        }
        if (!hasPlace || place.x() < station.xMin || place.x() > station.xMax || place.y() < station.yMin ||
            place.y() > station.yMax) {
            continue;
        }
        double metres = 0.0;
        const Raster& raster = rasterOf(station.file);
        if (raster && raster->at(place.x(), place.y(), metres)) {
            return metres;
        }
    }
    return std::nullopt;
}

const GroundDifferences::Raster& GroundDifferences::rasterOf(const std::string& file) {
    const auto known = std::find_if(m_rasters.begin(), m_rasters.end(),
                                    [&](const auto& each) { return each.first == file; });
    if (known != m_rasters.end()) {
        m_rasters.splice(m_rasters.begin(), m_rasters, known);
    } else {
        m_rasters.emplace_front(file, KV_ElevationDifference::open(file));
        m_rasters.resize(std::min(m_rasters.size(), kMostOpen));
    }
    return m_rasters.front().second;
}

void GroundDifferences::read() {
    if (!m_session.project()) {
        return;
    }
    m_isRead = true;
    const ProjectDescription& project = m_session.project()->description();
    try {
        mysqlhelper::KV_MySQL& database = *m_session.connection();
        const auto rasters = readDifferenceRasters(database, project.pair());
        for (const KV_Station& station : readStations(database)) {
            const auto raster = rasters.find(station.m_id);
            const osg::ref_ptr<const osgEarth::SpatialReference> srs =
                osgEarth::SpatialReference::get(station.m_srs);
            if (raster != rasters.end() && !raster->second.isEmpty() && srs) {
                m_stations.push_back({srs, station.m_xMin, station.m_yMin, station.m_xMax, station.m_yMax,
                                      project.resultFile(raster->second).toStdString()});
            }
        }
    } catch (const mysqlhelper::KV_MySQL_Exception&) {
        m_stations.clear(); // a read-out stays silent, until something has changed
    }
}

} // namespace inspection
