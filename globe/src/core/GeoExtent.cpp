#include <osgEarth/GeoData>

#include <vector>

namespace osgEarth {

GeoExtent::GeoExtent(const SpatialReference* srs, double west, double south, double east, double north)
    : _srs(srs), _bounds(west, south, east, north) {}

GeoExtent::GeoExtent(const SpatialReference* srs, const Bounds& bounds) : _srs(srs), _bounds(bounds) {}

bool GeoExtent::contains(double x, double y, const SpatialReference* srs) const {
    if (!isValid()) {
        return false;
    }
    if (srs != nullptr && srs != _srs.get() && !srs->transform2D(x, y, _srs.get(), x, y)) {
        return false;
    }
    return _bounds.contains(x, y);
}

bool GeoExtent::contains(const GeoPoint& point) const {
    return point.isValid() && contains(point.x(), point.y(), point.getSRS());
}

bool GeoExtent::intersects(const GeoExtent& rhs) const {
    const GeoExtent other = rhs.transform(_srs.get());
    return isValid() && other.isValid() && _bounds.intersectionWith(other._bounds).isValid();
}

GeoExtent GeoExtent::transform(const SpatialReference* outSRS) const {
    if (!isValid() || outSRS == nullptr) {
        return {};
    }
    if (_srs->isHorizEquivalentTo(outSRS)) {
        return {outSRS, _bounds};
    }
    // Edges may bend: points along the outline and inside, taken one by one because some may not convert.
    constexpr int steps = 16;
    Bounds box;
    for (int row = 0; row <= steps; ++row) {
        for (int column = 0; column <= steps; ++column) {
            osg::Vec3d converted;
            const osg::Vec3d point(west() + width() * column / steps, south() + height() * row / steps, 0.0);
            if (_srs->transform(point, outSRS, converted)) {
                box.expandBy(converted.x(), converted.y());
            }
        }
    }
    return {outSRS, box};
}

void GeoExtent::expandToInclude(double x, double y) {
    _bounds.expandBy(x, y);
}

bool GeoExtent::expandToInclude(const GeoExtent& rhs) {
    const GeoExtent other = rhs.transform(_srs.get());
    if (!other.isValid()) {
        return false;
    }
    _bounds.expandBy(other._bounds);
    return true;
}

} // namespace osgEarth
