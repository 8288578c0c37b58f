#pragma once

namespace osg {
class Node;
}

/// Tint an overlay yellow, and take the tint away again. Both put the same shader function and colour uniform
/// on the node's state set and differ only in the colour, so that each may be repeated and clearing needs no
/// memory of what was highlighted.
void HighlightOverlay(osg::Node& node);
void ClearHighlight(osg::Node& node);
