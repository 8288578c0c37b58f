#include "DetailSwitch.h"
#include "../core/ScreenSize.h"

namespace osgEarth {
namespace Features {
namespace {

// Below this size the ground between a shape's corners departs from straight lines by less than what lifts
// shapes off the ground.
constexpr double kSmallPixels = 40.0;

} // namespace

DetailSwitch::DetailSwitch(osg::Node* fine, osg::Node* coarse) {
    addChild(fine);
    addChild(coarse);
}

void DetailSwitch::traverse(osg::NodeVisitor& nv) {
    osgUtil::CullVisitor* visitor = nv.asCullVisitor();
    if (visitor) {
        getChild(pixelsInWindow(getBound(), *visitor) < kSmallPixels ? 1 : 0)->accept(nv);
    } else {
        osg::Group::traverse(nv);
    }
}

} // namespace Features
} // namespace osgEarth
