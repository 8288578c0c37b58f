#include "anomaly/Highlight.h"

#include <osg/Node>
#include <osg/Uniform>
#include <osgEarth/VirtualProgram>

namespace {

constexpr char kFunctionName[] = "oe_anno_highlight_frag";
constexpr char kColorName[] = "oe_anno_highlight_color";
constexpr float kOrder = 0.6F;

// The node's own fragment functions have run by then; the frame buffer saturates the colour.
const osg::Vec4 kHighlighted(255, 255, 0, 1);
const osg::Vec4 kCleared(1, 1, 1, 0);

constexpr char kSource[] =
    "uniform vec4 oe_anno_highlight_color; \n"
    "void oe_anno_highlight_frag(inout vec4 color) {\n"
    "    color.rgb = mix(color.rgb, oe_anno_highlight_color.rgb, oe_anno_highlight_color.a); \n"
    "}\n";

void tint(osg::Node& node, const osg::Vec4& color) {
    const osg::ref_ptr<osg::Uniform> uniform = new osg::Uniform(osg::Uniform::FLOAT_VEC4, kColorName, 1);
    uniform->set(color);
    osg::StateSet* stateSet = node.getOrCreateStateSet();
    osgEarth::VirtualProgram::getOrCreate(stateSet)->setFunction(
        kFunctionName, kSource, osgEarth::ShaderComp::LOCATION_FRAGMENT_LIGHTING, kOrder);
    stateSet->addUniform(uniform, osg::StateAttribute::ON);
    uniform->set(color);
}

} // namespace

void HighlightOverlay(osg::Node& node) {
    tint(node, kHighlighted);
}

void ClearHighlight(osg::Node& node) {
    tint(node, kCleared);
}
