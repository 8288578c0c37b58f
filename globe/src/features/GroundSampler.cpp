#include "GroundSampler.h"

namespace osgEarth {
namespace {
// Below any place on Earth: the query's way to say that it has no data.
constexpr double kLeastHeightMetres = -20000.0;
} // namespace

GroundSampler::GroundSampler(MapNode& mapNode) : m_mapNode(&mapNode), m_query(mapNode.getMap()) {}

std::optional<double> GroundSampler::surveyedHeightAt(double x, double y) {
    const auto sampled =
        static_cast<double>(m_query.getElevation(GeoPoint(m_mapNode->getMapSRS(), x, y, 0.0)));
    return sampled > kLeastHeightMetres ? std::optional<double>(sampled) : std::nullopt;
}

double GroundSampler::heightAt(double x, double y) {
    if (const std::optional<double> surveyed = surveyedHeightAt(x, y)) {
        return *surveyed;
    }
    double aboveSeaLevel = 0.0;
    double aboveEllipsoid = 0.0;
    return m_mapNode->getTerrain()->getHeight(m_mapNode->getMapSRS(), x, y, &aboveSeaLevel, &aboveEllipsoid)
               ? aboveEllipsoid
               : 0.0;
}

} // namespace osgEarth
