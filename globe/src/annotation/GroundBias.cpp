#include "GroundBias.h"

#include <osgEarth/DepthOffset>

#include <algorithm>

namespace osgEarth {
namespace Annotation {
namespace {

constexpr double LeastBiasMetres = 1.5;
constexpr double GrazingFactor = 3.0; // a slanting view passes a bump over a longer way
constexpr double NearRangeMetres = 50.0;
constexpr double FarRangeMetres = 1e7;
constexpr double FarBiasPerRange =
    0.02; // a tile's error on the ground stays well below this part of its distance

} // namespace

void installGroundState(osg::StateSet* stateSet) {
    DepthOffset::install(stateSet);
    stateSet->setMode(GL_LIGHTING, osg::StateAttribute::OFF);
    stateSet->setMode(GL_CULL_FACE, osg::StateAttribute::OFF);
}

void setGroundBias(osg::StateSet* stateSet, double deviationMetres) {
    DepthOffsetOptions options;
    options.minBias() = Distance(std::max(LeastBiasMetres, GrazingFactor * deviationMetres), Units::METERS);
    options.maxBias() = Distance(FarBiasPerRange * FarRangeMetres, Units::METERS);
    options.minRange() = Distance(NearRangeMetres, Units::METERS);
    options.maxRange() = Distance(FarRangeMetres, Units::METERS);
    DepthOffset::apply(stateSet, options);
}

} // namespace Annotation
} // namespace osgEarth
