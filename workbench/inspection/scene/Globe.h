#pragma once

#include <osg/Vec3d>

namespace osgEarth {
class MapNode;
}

namespace inspection {

/// The host's globe, while there is one.
osgEarth::MapNode* globeMapNode();

/// Where the view is seen from, in world coordinates; the origin without a globe.
osg::Vec3d globeEye();

/// Asks for a new frame after a change that the viewer cannot see by itself. Any thread.
void redrawGlobe();

} // namespace inspection
