/// The depth offset of meshes that were built on the ground.
#pragma once

#include <osg/StateSet>

namespace osgEarth {
namespace Annotation {

/// Puts on a state set what things on the ground share: the depth offset's function, no lighting, both sides
/// drawn.
void installGroundState(osg::StateSet* stateSet);

/// Sets how far the mesh is pulled towards the eye: enough for the ground's deviation from it, and for the
/// coarser tiles that stand for the ground at a distance.
void setGroundBias(osg::StateSet* stateSet, double deviationMetres);

} // namespace Annotation
} // namespace osgEarth
