#pragma once

#include <osg/ref_ptr>
#include <osgEarth/SpatialReference>

#include <cstddef>
#include <memory>
#include <optional>
#include <vector>

class KV_ElevationDifference;

namespace inspection {

class Session;

/// The elevation differences of the compared pair by place, whichever stations are shown. What the database and the
/// files say is kept until forget(). GUI thread.
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
        std::shared_ptr<const KV_ElevationDifference> differences;
    };

    void read();

    Session& m_session;
    bool m_isRead = false;
    std::vector<Station> m_stations; ///< that have differences
};

} // namespace inspection
