#pragma once

#include <osg/Vec3d>

#include <unordered_set>

namespace osg {
class Camera;
class Node;
} // namespace osg

namespace osgEarth {
class MapNode;
}

namespace inspection {

/// The host's globe, while there is one.
osgEarth::MapNode* globeMapNode();

/// Where the view is seen from, in world coordinates; the origin without a globe.
osg::Vec3d globeEye();

/// Whether that camera makes the picture that is seen, and not one for picking or the like.
bool isGlobeView(const osg::Camera& camera);

/// Takes these off the globe; what is not there is passed over. Of many it takes far less time than one by one.
void takeOffGlobe(const std::unordered_set<const osg::Node*>& nodes);

/// Asks for a new frame after a change that the viewer cannot see by itself. Any thread.
void redrawGlobe();

} // namespace inspection
