#pragma once

#include <osg/Vec3d>
#include <osgEarthAnnotation/PlaceNode>

/// A label that says the elevation difference in metres, standing on the terrain below or above the world
/// point (geocentric, metres). Null without a globe.
osg::ref_ptr<osgEarth::Annotation::PlaceNode> makeDifferenceLabel(const osg::Vec3d& world,
                                                                  double differenceMetres);
