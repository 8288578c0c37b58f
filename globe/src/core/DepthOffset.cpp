#include <osg/Depth>
#include <osg/Uniform>
#include <osgEarth/DepthOffset>
#include <osgEarth/VirtualProgram>

namespace osgEarth {
namespace {

const char* const kUniformName = "oe_DepthOffset_params"; // minBias, maxBias, minRange, maxRange, metres

// Scaling about the eye changes the depth of a vertex and nothing else on the screen.
const char* const kVertexSource =
    "uniform vec4 oe_DepthOffset_params;\n"
    "void oe_DepthOffset_vertex(inout vec4 vertex) {\n"
    "    float range = length(vertex.xyz);\n"
    "    float span = max(oe_DepthOffset_params.w - oe_DepthOffset_params.z, 1.0);\n"
    "    float t = clamp((range - oe_DepthOffset_params.z) / span, 0.0, 1.0);\n"
    "    float bias = mix(oe_DepthOffset_params.x, oe_DepthOffset_params.y, t);\n"
    "    bias = min(bias, range * 0.5);\n"
    "    vertex.xyz *= (range - bias) / max(range, 1e-6);\n"
    "}\n";

float metres(const Distance& distance) {
    return static_cast<float>(distance.as(Units::METERS));
}

} // namespace

DepthOffsetOptions::DepthOffsetOptions()
    : m_enabled(true), m_minBias(Distance(100.0, Units::METERS)), m_maxBias(Distance(10000.0, Units::METERS)),
      m_minRange(Distance(1000.0, Units::METERS)), m_maxRange(Distance(10000000.0, Units::METERS)),
      m_automatic(true) {}

void DepthOffset::install(osg::StateSet* stateSet) {
    VirtualProgram::getOrCreate(stateSet)->setFunction("oe_DepthOffset_vertex", kVertexSource,
                                                       ShaderComp::LOCATION_VERTEX_VIEW);
    stateSet->setAttributeAndModes(new osg::Depth(osg::Depth::LEQUAL, 0.0, 1.0, false));
}

// A long segment deviates further from the ground between its ends, so its least bias holds out to a longer
// range.
void DepthOffset::apply(osg::StateSet* stateSet, const DepthOffsetOptions& options,
                        double longestSegmentMetres) {
    osg::Vec4f params(0.0f, 0.0f, 0.0f, 1.0f);
    if (options.enabled().get()) {
        const float minRange =
            options.automatic().get() && !options.minRange().isSet() && longestSegmentMetres > 0.0
                ? static_cast<float>(longestSegmentMetres)
                : metres(options.minRange().get());
        params.set(metres(options.minBias().get()), metres(options.maxBias().get()), minRange,
                   metres(options.maxRange().get()));
    }
    stateSet->getOrCreateUniform(kUniformName, osg::Uniform::FLOAT_VEC4)->set(params);
}

} // namespace osgEarth
