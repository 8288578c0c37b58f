#include "ViewpointFlight.h"

#include <osg/Quat>

#include <cmath>

namespace osgEarth {
namespace Util {

ViewpointFlight::ViewpointFlight(const CameraPose& from, const CameraPose& to, double seconds, bool arc)
    : m_from(from), m_to(to), m_seconds(seconds) {
    const double way = (to.focalWorld() - from.focalWorld()).length();
    const double widest = std::max(from.range(), to.range());
    if (arc && way > widest) {
        m_rise = std::log(way / widest);
    }
}

// Along the great circle for a globe, straight in the plane for a projected map.
osg::Vec3d ViewpointFlight::focalPointAt(double part) const {
    const double height = m_from.focalPoint().z() + (m_to.focalPoint().z() - m_from.focalPoint().z()) * part;
    if (!m_from.srs()->isGeographic()) {
        return m_from.focalPoint() + (m_to.focalPoint() - m_from.focalPoint()) * part;
    }
    const osg::Vec3d start = m_from.focalWorld();
    osg::Quat whole;
    whole.makeRotate(start, m_to.focalWorld());
    osg::Quat partial;
    partial.slerp(part, osg::Quat(), whole);
    osg::Vec3d point;
    m_from.srs()->transformFromWorld(partial * start, point);
    point.z() = height;
    return point;
}

CameraPose ViewpointFlight::poseAt(double seconds) {
    if (!m_hasStarted) {
        m_hasStarted = true;
        m_start = seconds;
    }
    const double time = (seconds - m_start) / m_seconds;
    if (time >= 1.0) {
        m_isOver = true;
        return m_to;
    }
    const double part = time * time * (3.0 - 2.0 * time);
    const double turn = std::remainder(m_to.heading() - m_from.heading(), 2.0 * osg::PI);
    const double logRange = std::log(m_from.range()) * (1.0 - part) + std::log(m_to.range()) * part +
                            m_rise * 4.0 * part * (1.0 - part);
    return {m_from.srs(), focalPointAt(part), m_from.heading() + turn * part,
            m_from.pitch() + (m_to.pitch() - m_from.pitch()) * part, std::exp(logRange)};
}

} // namespace Util
} // namespace osgEarth
