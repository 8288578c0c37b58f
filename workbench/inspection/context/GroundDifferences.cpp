#include "workbench/inspection/context/GroundDifferences.h"

#include "workbench/inspection/session/Session.h"
#include "workbench/inspectiondata/database/ElevationDifference.h"
#include "workbench/inspectiondata/database/StationTable.h"

namespace inspection {

void GroundDifferences::forget() {
    m_isRead = false;
    m_stations.clear();
}

std::optional<double> GroundDifferences::at(double lonDegrees, double latDegrees) {
    if (!m_isRead) {
        read();
    }
    const osgEarth::SpatialReference* geographic = osgEarth::SpatialReference::get("wgs84");
    for (const Station& station : m_stations) {
        osg::Vec3d place;
        double metres = 0.0;
        if (geographic->transform(osg::Vec3d(lonDegrees, latDegrees, 0.0), station.srs, place) &&
            place.x() >= station.xMin && place.x() <= station.xMax && place.y() >= station.yMin &&
            place.y() <= station.yMax && station.differences->at(place.x(), place.y(), metres)) {
            return metres;
        }
    }
    return std::nullopt;
}

void GroundDifferences::read() {
    if (!m_session.project()) {
        return;
    }
    m_isRead = true;
    const ProjectDescription& project = m_session.project()->description();
    try {
        mysqlhelper::KV_MySQL& database = *m_session.connection();
        for (const KV_Station& station : readStations(database)) {
            const auto result = readStationResult(database, station.m_id, project.pair());
            const osg::ref_ptr<const osgEarth::SpatialReference> srs =
                osgEarth::SpatialReference::get(station.m_srs);
            if (!result || result->dzRaster.isEmpty() || !srs) {
                continue;
            }
            const QString file = project.resultFile(result->dzRaster);
            if (auto differences = KV_ElevationDifference::open(file.toStdString())) {
                m_stations.push_back({srs, station.m_xMin, station.m_yMin, station.m_xMax, station.m_yMax,
                                      std::move(differences)});
            }
        }
    } catch (const mysqlhelper::KV_MySQL_Exception&) {
        m_stations.clear(); // a read-out stays silent, until something has changed
    }
}

} // namespace inspection
