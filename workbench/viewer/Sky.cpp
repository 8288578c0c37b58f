#include "workbench/viewer/Sky.h"

#include <osg/CoordinateSystemNode>
#include <osg/Depth>
#include <osg/Geometry>
#include <osg/Program>
#include <osgEarth/VirtualProgram>
#include <osgUtil/CullVisitor>

#include <algorithm>
#include <cmath>

namespace {

constexpr double kAirMetres = 60000.0; ///< thickness of the air that still glows

const osg::Vec3f kHorizonInAir(0.80F, 0.87F, 0.93F);
const osg::Vec3f kHorizonInSpace(0.34F, 0.58F, 0.92F);

const char* const kSkyVertex = R"(
uniform vec3 sky_right;
uniform vec3 sky_upwards;
uniform vec3 sky_forward;
varying vec3 sky_ray;
void main() {
    gl_Position = vec4(gl_Vertex.xy, 0.0, 1.0);
    sky_ray = sky_forward + gl_Vertex.x * sky_right + gl_Vertex.y * sky_upwards;
}
)";

const char* const kSkyFragment = R"(
uniform vec3 sky_zenith;
uniform float sky_dip;
uniform float sky_glow;
uniform float sky_space;
uniform vec3 sky_horizon;
varying vec3 sky_ray;
void main() {
    float above = max(0.0, asin(clamp(dot(normalize(sky_ray), sky_zenith), -1.0, 1.0)) + sky_dip);
    vec3 air = mix(sky_horizon, vec3(0.28, 0.51, 0.80), 1.0 - exp(-5.0 * above));
    vec3 space = mix(vec3(0.03, 0.05, 0.11), sky_horizon, exp(-above / sky_glow));
    gl_FragColor = vec4(mix(air, space, sky_space), 1.0);
}
)";

const char* const kHazeVertex = R"(
out float sky_distance;
void sky_hazeVertex(inout vec4 vertex) {
    sky_distance = length(vertex.xyz);
}
)";

const char* const kHazeFragment = R"(
uniform float sky_hazeMetres;
uniform vec3 sky_horizon;
in float sky_distance;
void sky_hazeFragment(inout vec4 color) {
    float distance = sky_distance / sky_hazeMetres;
    color.rgb = mix(sky_horizon, color.rgb, exp(-distance * distance));
}
)";

osg::ref_ptr<osg::Geometry> wholePicture() {
    osg::ref_ptr<osg::Geometry> geometry = new osg::Geometry;
    geometry->setUseDisplayList(false);
    geometry->setUseVertexBufferObjects(true);
    const osg::Vec3 corners[] = {
        {-1.0F, -1.0F, 0.0F}, {1.0F, -1.0F, 0.0F}, {-1.0F, 1.0F, 0.0F}, {1.0F, 1.0F, 0.0F}};
    geometry->setVertexArray(new osg::Vec3Array(4, corners));
    geometry->addPrimitiveSet(new osg::DrawArrays(GL_TRIANGLE_STRIP, 0, 4));
    geometry->setCullingActive(false);
    return geometry;
}

double smoothStep(double from, double to, double value) {
    const double share = std::clamp((value - from) / (to - from), 0.0, 1.0);
    return share * share * (3.0 - 2.0 * share);
}

} // namespace

Sky::Sky()
    : m_rayRight(new osg::Uniform("sky_right", osg::Vec3f())),
      m_rayUp(new osg::Uniform("sky_upwards", osg::Vec3f())),
      m_rayForward(new osg::Uniform("sky_forward", osg::Vec3f())),
      m_zenith(new osg::Uniform("sky_zenith", osg::Vec3f())), m_horizonDip(new osg::Uniform("sky_dip", 0.0F)),
      m_glowWidth(new osg::Uniform("sky_glow", 1.0F)), m_spaceShare(new osg::Uniform("sky_space", 0.0F)),
      m_hazeMetres(new osg::Uniform("sky_hazeMetres", 1.0e9F)),
      m_horizonColour(new osg::Uniform("sky_horizon", kHorizonInAir)) {
    setName("sky");
    setCullingActive(false);
    addChild(wholePicture());

    osg::ref_ptr<osg::Program> program = new osg::Program;
    program->addShader(new osg::Shader(osg::Shader::VERTEX, kSkyVertex));
    program->addShader(new osg::Shader(osg::Shader::FRAGMENT, kSkyFragment));
    osg::StateSet* stateSet = getOrCreateStateSet();
    stateSet->setAttributeAndModes(program);
    for (osg::Uniform* uniform :
         {m_rayRight.get(), m_rayUp.get(), m_rayForward.get(), m_zenith.get(), m_horizonDip.get(),
          m_glowWidth.get(), m_spaceShare.get(), m_horizonColour.get()}) {
        stateSet->addUniform(uniform);
    }
    stateSet->setAttributeAndModes(new osg::Depth(osg::Depth::ALWAYS, 0.0, 1.0, false),
                                   osg::StateAttribute::OFF);
    stateSet->setMode(GL_BLEND, osg::StateAttribute::OFF);
    stateSet->setMode(GL_CULL_FACE, osg::StateAttribute::OFF);
    stateSet->setRenderBinDetails(-100, "RenderBin");
}

void Sky::addHaze(osg::Node& node) {
    osg::StateSet* stateSet = node.getOrCreateStateSet();
    auto* program = osgEarth::VirtualProgram::getOrCreate(stateSet);
    constexpr float kAfterTheColours = 0.9F;
    program->setFunction("sky_hazeVertex", kHazeVertex, osgEarth::ShaderComp::LOCATION_VERTEX_VIEW);
    program->setFunction("sky_hazeFragment", kHazeFragment, osgEarth::ShaderComp::LOCATION_FRAGMENT_LIGHTING,
                         kAfterTheColours);
    stateSet->addUniform(m_hazeMetres);
    stateSet->addUniform(m_horizonColour);
}

void Sky::traverse(osg::NodeVisitor& visitor) {
    if (auto* cull = dynamic_cast<osgUtil::CullVisitor*>(&visitor)) {
        follow(*cull->getModelViewMatrix(), *cull->getProjectionMatrix());
    }
    osg::Group::traverse(visitor);
}

void Sky::follow(const osg::Matrixd& view, const osg::Matrixd& projection) {
    const osg::Matrixd toWorld = osg::Matrixd::inverse(view);
    const auto ray = [&](double x, double y) {
        return osg::Matrixd::transform3x3(osg::Vec3d((x + projection(2, 0)) / projection(0, 0),
                                                     (y + projection(2, 1)) / projection(1, 1), -1.0),
                                          toWorld);
    };
    const osg::Vec3d forward = ray(0.0, 0.0);
    m_rayForward->set(osg::Vec3f(forward));
    m_rayRight->set(osg::Vec3f(ray(1.0, 0.0) - forward));
    m_rayUp->set(osg::Vec3f(ray(0.0, 1.0) - forward));

    const osg::Vec3d eye = toWorld.getTrans();
    if (eye.length() < kAirMetres) {
        return; // nobody has placed the camera yet
    }
    double latitude = 0.0;
    double longitude = 0.0;
    double height = 0.0;
    const osg::EllipsoidModel ellipsoid;
    ellipsoid.convertXYZToLatLongHeight(eye.x(), eye.y(), eye.z(), latitude, longitude, height);
    const double altitude = std::max(height, 1.0);
    const double radius = eye.length() - height;
    const double horizonMetres = std::sqrt(altitude * (2.0 * radius + altitude));
    const double space = smoothStep(20000.0, 300000.0, altitude);
    // Upright near the ground, about the middle of the disc from space.
    const osg::Vec3d upright = ellipsoid.computeLocalUpVector(eye.x(), eye.y(), eye.z());
    osg::Vec3d zenith = upright * (1.0 - space) + eye / eye.length() * space;
    zenith.normalize();
    m_zenith->set(osg::Vec3f(zenith));
    m_horizonDip->set(static_cast<float>(std::atan2(horizonMetres, radius)));
    m_glowWidth->set(static_cast<float>(kAirMetres / horizonMetres));
    m_spaceShare->set(static_cast<float>(space));
    m_hazeMetres->set(static_cast<float>(40000.0 + 6.0 * altitude));
    m_horizonColour->set(kHorizonInAir + (kHorizonInSpace - kHorizonInAir) * static_cast<float>(space));
}
