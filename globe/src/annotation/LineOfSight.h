/// Whether the ground hides a place.
#pragma once

#include <osg/Vec3d>
#include <osgEarth/Terrain>

namespace osgEarth {
namespace Annotation {

/// The line from an eye to a place on or above the ground; what lies below the ground counts as on it.
/// Remembers its answer until the eye, the place or the loaded terrain has changed. One thread at a time.
class LineOfSight {
public:
    /// World coordinates. A place is hidden when loaded terrain rises above the line by more than its own
    /// roughness.
    bool isBlocked(const Terrain& terrain, const osg::Vec3d& eyeWorld, const osg::Vec3d& placeWorld);

private:
    osg::Vec3d _eye;
    osg::Vec3d _place;
    unsigned _surface = 0;
    bool _isBlocked = false;
};

} // namespace Annotation
} // namespace osgEarth
