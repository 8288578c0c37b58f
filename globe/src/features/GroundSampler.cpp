#include "GroundSampler.h"

namespace osgEarth {
namespace {
// Below any place on Earth: the query's way to say that it has no data.
constexpr double LeastHeightMetres = -20000.0;
} // namespace

GroundSampler::GroundSampler(MapNode& mapNode) : _mapNode(&mapNode), _query(mapNode.getMap()) {}

double GroundSampler::heightAt(double x, double y) {
    const SpatialReference* srs = _mapNode->getMapSRS();
    const double sampled = static_cast<double>(_query.getElevation(GeoPoint(srs, x, y, 0.0)));
    if (sampled > LeastHeightMetres)
        return sampled;
    double aboveSeaLevel = 0.0;
    double aboveEllipsoid = 0.0;
    return _mapNode->getTerrain()->getHeight(srs, x, y, &aboveSeaLevel, &aboveEllipsoid) ? aboveEllipsoid
                                                                                         : 0.0;
}

} // namespace osgEarth
