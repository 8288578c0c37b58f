#pragma once

#include <osg/ref_ptr>
#include <osgEarth/SpatialReference>

#include <list>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

class KV_ElevationDifference;

namespace inspection {

class Session;

/// The elevation differences of the compared pair by place, whichever stations are shown. What the database and the
/// files say is kept until forget(); of the files only a few are open at a time. GUI thread.
class GroundDifferences {
public:
    /// `session` must outlive it.
    explicit GroundDifferences(Session& session) : m_session(session) {}

    /// New - old in metres; nothing where nothing was compared. Longitude and latitude in degrees, WGS 84.
    std::optional<double> at(double lonDegrees, double latDegrees);
    /// The project, the compared pair or its results are other ones now.
    void forget();

private:
    struct Station {
        osg::ref_ptr<const osgEarth::SpatialReference> srs;
        double xMin = 0.0;
        double yMin = 0.0;
        double xMax = 0.0;
        double yMax = 0.0;
        std::string file;
    };
    using Raster = std::shared_ptr<const KV_ElevationDifference>; ///< null where the file cannot be read

    void read();
    const Raster& rasterOf(const std::string& file);

    Session& m_session;
    bool m_isRead = false;
    std::vector<Station> m_stations;                     ///< that have differences
    std::list<std::pair<std::string, Raster>> m_rasters; ///< by file, those used last at first
};

} // namespace inspection
