#include "GroundSampler.h"

namespace osgEarth {
namespace {
// Below any place on Earth: the query's way to say that it has no data.
constexpr double kLeastHeightMetres = -20000.0;
} // namespace

GroundSampler::GroundSampler(MapNode& mapNode) : m_mapNode(&mapNode), m_query(mapNode.getMap()) {}

double GroundSampler::heightAt(double x, double y) {
    const SpatialReference* srs = m_mapNode->getMapSRS();
    const double sampled = static_cast<double>(m_query.getElevation(GeoPoint(srs, x, y, 0.0)));
    if (sampled > kLeastHeightMetres) {
        return sampled;
    }
    double aboveSeaLevel = 0.0;
    double aboveEllipsoid = 0.0;
    return m_mapNode->getTerrain()->getHeight(srs, x, y, &aboveSeaLevel, &aboveEllipsoid) ? aboveEllipsoid
                                                                                          : 0.0;
}

} // namespace osgEarth
