// What hills hide.
#pragma once
#include "TileIndex.h"

#include <osg/Vec3d>

namespace osgEarth {

/// Whether a place, in world coordinates, lies behind ground that rises above the line from the eye to it by
/// more than the ground's own roughness. A place below the ground counts as lying on it. Looks at some dozens
/// of points of the loaded tiles: a ridge that is thinner than a fiftieth of the way may be missed.
bool isHiddenByGround(const TileIndex& tiles, const Profile& profile, const osg::Vec3d& eyeWorld,
                      const osg::Vec3d& placeWorld);

} // namespace osgEarth
