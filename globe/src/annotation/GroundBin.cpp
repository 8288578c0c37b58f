#include "GroundBin.h"

#include <osg/Depth>
#include <osg/GL>

#include <algorithm>
#include <mutex>

namespace osgEarth {
namespace Annotation {
namespace {

constexpr const char* kName = "oe_GroundBin";
constexpr int kBelowOverlays = -1;
constexpr unsigned kMostDrawables = 255; // that one clearing of an eight-bit stencil tells apart

} // namespace

void GroundBin::install(osg::StateSet* stateSet) {
    static std::once_flag registered;
    std::call_once(registered, [] { addRenderBinPrototype(kName, new GroundBin); });
    stateSet->setRenderBinDetails(kBelowOverlays, kName);
    stateSet->setAttributeAndModes(new osg::Depth(osg::Depth::LESS, 0.0, 1.0, false));
}

GroundBin::GroundBin() = default;

GroundBin::GroundBin(const GroundBin& rhs, const osg::CopyOp& op) : osgUtil::RenderBin(rhs, op) {}

void GroundBin::sortImplementation() {
    copyLeavesFromStateGraphListToRenderLeafList();
    std::sort(_renderLeafList.begin(), _renderLeafList.end(),
              [](const osgUtil::RenderLeaf* a, const osgUtil::RenderLeaf* b) {
                  return a->_traversalOrderNumber < b->_traversalOrderNumber;
              });
}

void GroundBin::drawImplementation(osg::RenderInfo& info, osgUtil::RenderLeaf*& previous) {
    glEnable(GL_STENCIL_TEST);
    glStencilMask(~0U);
    glStencilOp(GL_KEEP, GL_KEEP, GL_REPLACE);
    unsigned number = 0;
    for (osgUtil::RenderLeaf* leaf : _renderLeafList) {
        if (number % kMostDrawables == 0) {
            glClear(GL_STENCIL_BUFFER_BIT);
        }
        glStencilFunc(GL_NOTEQUAL, static_cast<GLint>(number % kMostDrawables + 1), ~0U);
        ++number;
        leaf->render(info, previous);
        previous = leaf;
    }
    glDisable(GL_STENCIL_TEST);
}

} // namespace Annotation
} // namespace osgEarth
