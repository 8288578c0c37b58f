#include "workbench/inspection/scene/ForTheViewOnly.h"

#include "workbench/inspection/scene/Globe.h"

#include <osgUtil/CullVisitor>

namespace inspection {

void ForTheViewOnly::operator()(osg::Node* node, osg::NodeVisitor* visitor) {
    osgUtil::CullVisitor* cull = visitor->asCullVisitor();
    if (!cull || isGlobeView(*cull->getCurrentCamera())) {
        traverse(node, visitor);
    }
}

} // namespace inspection
