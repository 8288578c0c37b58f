/// Whether the ground hides a place.
#pragma once

#include <osg/Vec3d>
#include <osgEarth/Terrain>

namespace osgEarth {
namespace Annotation {

/// Remembers what the terrain said until the eye, the place or the loaded terrain has changed. One thread at
/// a time.
class LineOfSight {
public:
    /// World coordinates.
    bool isBlocked(const Terrain& terrain, const osg::Vec3d& eyeWorld, const osg::Vec3d& placeWorld);

private:
    osg::Vec3d m_eye;
    osg::Vec3d m_place;
    unsigned m_surface = 0;
    bool m_isBlocked = false;
};

} // namespace Annotation
} // namespace osgEarth
