#pragma once

namespace osg {
class Node;
}

namespace inspection {

/// Tints what the node draws in the colour of the selection, or no longer. Between frames.
void setTinted(osg::Node& node, bool isTinted);

} // namespace inspection
