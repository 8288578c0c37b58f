#pragma once

#include <osg/Vec3d>
#include <osgEarth/SpatialReference>

#include <cmath>

/// The same place on the turn of the globe that is nearest to `reference`, so that a ring across the
/// antimeridian goes the short way. In a reference system without turns, or without any, the place itself.
inline osg::Vec3d onTurnOf(const osg::Vec3d& reference, osg::Vec3d place,
                           const osgEarth::SpatialReference* srs) {
    constexpr double kTurnDegrees = 360.0;
    if (srs && srs->isGeographic()) {
        place.x() += kTurnDegrees * std::round((reference.x() - place.x()) / kTurnDegrees);
    }
    return place;
}
