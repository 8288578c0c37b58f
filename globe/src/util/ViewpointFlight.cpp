#include "ViewpointFlight.h"

#include <osg/Quat>

#include <cmath>

namespace osgEarth {
namespace Util {

ViewpointFlight::ViewpointFlight(const CameraPose& from, const CameraPose& to, double seconds, bool arc)
    : _from(from), _to(to), _seconds(seconds) {
    const double way = (to.focalWorld() - from.focalWorld()).length();
    const double widest = std::max(from.range(), to.range());
    if (arc && way > widest) {
        _rise = std::log(way / widest);
    }
}

// Along the great circle for a globe, straight in the plane for a projected map.
osg::Vec3d ViewpointFlight::focalPointAt(double part) const {
    const double height = _from.focalPoint().z() + (_to.focalPoint().z() - _from.focalPoint().z()) * part;
    if (!_from.srs()->isGeographic()) {
        return _from.focalPoint() + (_to.focalPoint() - _from.focalPoint()) * part;
    }
    const osg::Vec3d start = _from.focalWorld();
    osg::Quat whole;
    whole.makeRotate(start, _to.focalWorld());
    osg::Quat partial;
    partial.slerp(part, osg::Quat(), whole);
    osg::Vec3d point;
    _from.srs()->transformFromWorld(partial * start, point);
    point.z() = height;
    return point;
}

CameraPose ViewpointFlight::poseAt(double seconds) {
    if (!_hasStarted) {
        _hasStarted = true;
        _start = seconds;
    }
    const double time = (seconds - _start) / _seconds;
    if (time >= 1.0) {
        _isOver = true;
        return _to;
    }
    const double part = time * time * (3.0 - 2.0 * time);
    const double turn = std::remainder(_to.heading() - _from.heading(), 2.0 * osg::PI);
    const double logRange = std::log(_from.range()) * (1.0 - part) + std::log(_to.range()) * part +
                            _rise * 4.0 * part * (1.0 - part);
    return {_from.srs(), focalPointAt(part), _from.heading() + turn * part,
            _from.pitch() + (_to.pitch() - _from.pitch()) * part, std::exp(logRange)};
}

} // namespace Util
} // namespace osgEarth
