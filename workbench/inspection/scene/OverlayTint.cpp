#include "workbench/inspection/scene/OverlayTint.h"

#include <osg/Node>
#include <osg/Uniform>
#include <osgEarth/VirtualProgram>

namespace inspection {

namespace {

constexpr char kFunctionName[] = "corridor_selected_frag";
constexpr char kUniformName[] = "corridor_selected_color";
constexpr float kOrder = 0.5F;

const osg::Vec4 kSelected(1, 1, 0, 1);
const osg::Vec4 kNotSelected(1, 1, 0, 0);

constexpr char kSource[] =
    "uniform vec4 corridor_selected_color;\n"
    "void corridor_selected_frag(inout vec4 color) {\n"
    "    color.rgb = mix(color.rgb, corridor_selected_color.rgb, corridor_selected_color.a);\n"
    "}\n";

} // namespace

void setTinted(osg::Node& node, bool isTinted) {
    osg::StateSet* stateSet = node.getOrCreateStateSet();
    if (osg::Uniform* colour = stateSet->getUniform(kUniformName)) { // the function is there, too
        colour->set(isTinted ? kSelected : kNotSelected);
        return;
    }
    osgEarth::VirtualProgram::getOrCreate(stateSet)->setFunction(
        kFunctionName, kSource, osgEarth::ShaderComp::LOCATION_FRAGMENT_LIGHTING, kOrder);
    stateSet->getOrCreateUniform(kUniformName, osg::Uniform::FLOAT_VEC4)
        ->set(isTinted ? kSelected : kNotSelected);
}

} // namespace inspection
