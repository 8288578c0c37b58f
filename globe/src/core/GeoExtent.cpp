#include <osgEarth/GeoData>

#include <vector>

namespace osgEarth {

GeoExtent::GeoExtent(const SpatialReference* srs, double west, double south, double east, double north)
    : m_srs(srs), m_bounds(west, south, east, north) {}

GeoExtent::GeoExtent(const SpatialReference* srs, const Bounds& bounds) : m_srs(srs), m_bounds(bounds) {}

bool GeoExtent::contains(double x, double y, const SpatialReference* srs) const {
    if (!isValid()) {
        return false;
    }
    if (srs && srs != m_srs.get() && !srs->transform2D(x, y, m_srs.get(), x, y)) {
        return false;
    }
    return m_bounds.contains(x, y);
}

bool GeoExtent::contains(const GeoPoint& point) const {
    return point.isValid() && contains(point.x(), point.y(), point.getSRS());
}

bool GeoExtent::intersects(const GeoExtent& rhs) const {
    const GeoExtent other = rhs.transform(m_srs.get());
    return isValid() && other.isValid() && m_bounds.intersectionWith(other.m_bounds).isValid();
}

GeoExtent GeoExtent::transform(const SpatialReference* outSRS) const {
    if (!isValid() || !outSRS) {
        return {};
    }
    if (m_srs->isHorizEquivalentTo(outSRS)) {
        return {outSRS, m_bounds};
    }
    // Edges may bend: points along the outline and inside, taken one by one because some may not convert.
    constexpr int kSteps = 16;
    Bounds box;
    for (int row = 0; row <= kSteps; ++row) {
        for (int column = 0; column <= kSteps; ++column) {
            osg::Vec3d converted;
            const osg::Vec3d point(west() + width() * column / kSteps, south() + height() * row / kSteps,
                                   0.0);
            if (m_srs->transform(point, outSRS, converted)) {
                box.expandBy(converted.x(), converted.y());
            }
        }
    }
    return {outSRS, box};
}

void GeoExtent::expandToInclude(double x, double y) {
    m_bounds.expandBy(x, y);
}

bool GeoExtent::expandToInclude(const GeoExtent& rhs) {
    const GeoExtent other = rhs.transform(m_srs.get());
    if (!other.isValid()) {
        return false;
    }
    m_bounds.expandBy(other.m_bounds);
    return true;
}

} // namespace osgEarth
