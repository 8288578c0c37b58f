// A smooth way from one camera pose to another.
#pragma once
#include "CameraPose.h"

namespace osgEarth {
namespace Util {

/// Accelerates and brakes; rises in between when the way is long compared with the ranges.
class ViewpointFlight {
public:
    ViewpointFlight(const CameraPose& from, const CameraPose& to, double seconds, bool arc);

    /// The pose at a time; the first call sets the start. At the end it is the target itself.
    CameraPose poseAt(double seconds);
    bool isOver() const { return m_isOver; }

private:
    osg::Vec3d focalPointAt(double part) const;

    CameraPose m_from;
    CameraPose m_to;
    double m_seconds;
    double m_start = 0.0;
    double m_rise = 0.0; // of the logarithm of the range, half way
    bool m_hasStarted = false;
    bool m_isOver = false;
};

} // namespace Util
} // namespace osgEarth
