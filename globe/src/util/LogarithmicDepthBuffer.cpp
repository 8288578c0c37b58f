#include <osgEarth/VirtualProgram>
#include <osgEarthUtil/LogarithmicDepthBuffer>

#include <cmath>

namespace osgEarth {
namespace Util {
namespace {

// Depth = log2(1 + w) / log2(1 + far), with w the distance along the view axis (after Thatcher Ulrich and
// Brano Kemen, 2009). 24 bits over 1e9 m resolve 1.3 millionths of the distance everywhere. Written per
// fragment, because the logarithm of an interpolated distance is not the interpolated logarithm. Parallel
// projections keep their linear depth.
constexpr double kFarMetres = 1.0e9;

const char* const kVertexShader = R"(
uniform float oe_logdepth_coefficient;
out float oe_logdepth_distance;
void oe_logdepth_vertex(inout vec4 clip) {
    if (gl_ProjectionMatrix[3][3] == 0.0) {
        oe_logdepth_distance = 1.0 + clip.w;
        clip.z = (log2(max(1e-6, 1.0 + clip.w)) * oe_logdepth_coefficient - 1.0) * clip.w;
    } else {
        oe_logdepth_distance = -1.0;
    }
}
)";

const char* const kFragmentShader = R"(
uniform float oe_logdepth_coefficient;
in float oe_logdepth_distance;
void oe_logdepth_fragment(inout vec4 color) {
    gl_FragDepth = oe_logdepth_distance > 0.0 ? log2(oe_logdepth_distance) * oe_logdepth_coefficient * 0.5
                                              : gl_FragCoord.z;
}
)";

const char* const kVertexName = "oe_logdepth_vertex";
const char* const kFragmentName = "oe_logdepth_fragment";
const char* const kCoefficientName = "oe_logdepth_coefficient";

} // namespace

void LogarithmicDepthBuffer::install(osg::Camera* camera) {
    if (!camera) {
        return;
    }
    osg::StateSet* stateSet = camera->getOrCreateStateSet();
    VirtualProgram* program = VirtualProgram::getOrCreate(stateSet);
    constexpr float kLast = 1.0e6F;
    program->setFunction(kVertexName, kVertexShader, ShaderComp::LOCATION_VERTEX_CLIP, kLast);
    program->setFunction(kFragmentName, kFragmentShader, ShaderComp::LOCATION_FRAGMENT_LIGHTING, kLast);
    const double coefficient = 2.0 / std::log2(kFarMetres + 1.0);
    stateSet->addUniform(new osg::Uniform(kCoefficientName, static_cast<float>(coefficient)));
    // The planes of the projection no longer matter, so nothing needs to be measured for them.
    camera->setComputeNearFarMode(osg::CullSettings::DO_NOT_COMPUTE_NEAR_FAR);
}

void LogarithmicDepthBuffer::uninstall(osg::Camera* camera) {
    osg::StateSet* stateSet = camera ? camera->getStateSet() : nullptr;
    if (!stateSet) {
        return;
    }
    if (VirtualProgram* program = VirtualProgram::get(stateSet)) {
        program->removeShader(kVertexName);
        program->removeShader(kFragmentName);
    }
    stateSet->removeUniform(kCoefficientName);
    camera->setComputeNearFarMode(osg::CullSettings::COMPUTE_NEAR_FAR_USING_BOUNDING_VOLUMES);
}

} // namespace Util
} // namespace osgEarth
