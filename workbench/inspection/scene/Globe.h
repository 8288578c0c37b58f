#pragma once

namespace osgEarth {
class MapNode;
}

namespace inspection {

/// The host's globe, while there is one.
osgEarth::MapNode* globeMapNode();

/// Asks for a new frame after a change that the viewer cannot see by itself. Any thread.
void redrawGlobe();

} // namespace inspection
