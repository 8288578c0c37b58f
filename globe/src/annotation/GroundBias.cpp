#include "GroundBias.h"

#include <osgEarth/DepthOffset>

#include <algorithm>

namespace osgEarth {
namespace Annotation {
namespace {

constexpr double kLeastBiasMetres = 1.5;
constexpr double kGrazingFactor = 3.0; // a slanting view passes a bump over a longer way
constexpr double kNearRangeMetres = 50.0;
constexpr double kFarRangeMetres = 1e7;
constexpr double kFarBiasPerRange =
    0.02; // a tile's error on the ground stays well below this part of its distance

} // namespace

void installGroundState(osg::StateSet* stateSet) {
    DepthOffset::install(stateSet);
    stateSet->setMode(GL_LIGHTING, osg::StateAttribute::OFF);
    stateSet->setMode(GL_CULL_FACE, osg::StateAttribute::OFF);
}

void setGroundBias(osg::StateSet* stateSet, double deviationMetres) {
    DepthOffsetOptions options;
    options.minBias() = Distance(std::max(kLeastBiasMetres, kGrazingFactor * deviationMetres), Units::METERS);
    options.maxBias() = Distance(kFarBiasPerRange * kFarRangeMetres, Units::METERS);
    options.minRange() = Distance(kNearRangeMetres, Units::METERS);
    options.maxRange() = Distance(kFarRangeMetres, Units::METERS);
    DepthOffset::apply(stateSet, options);
}

} // namespace Annotation
} // namespace osgEarth
