#include <osgEarth/Bounds>

#include <algorithm>
#include <cfloat>

namespace osgEarth {

Bounds::Bounds(double xmin, double ymin, double xmax, double ymax) {
    set(xmin, ymin, -DBL_MAX, xmax, ymax, DBL_MAX);
}

bool Bounds::isValid() const {
    return xMin() <= xMax() && yMin() <= yMax();
}

bool Bounds::contains(double x, double y) const {
    return isValid() && x >= xMin() && x <= xMax() && y >= yMin() && y <= yMax();
}

bool Bounds::contains(const Bounds& rhs) const {
    return rhs.isValid() && contains(rhs.xMin(), rhs.yMin()) && contains(rhs.xMax(), rhs.yMax());
}

void Bounds::expandBy(double x, double y) {
    expandBy(x, y, 0.0);
}

void Bounds::expandBy(double x, double y, double z) {
    BoundingBoxImpl<osg::Vec3d>::expandBy(x, y, z);
}

void Bounds::expandBy(const Bounds& rhs) {
    if (rhs.isValid()) {
        BoundingBoxImpl<osg::Vec3d>::expandBy(rhs);
    }
}

Bounds Bounds::intersectionWith(const Bounds& rhs) const {
    const Bounds common(std::max(xMin(), rhs.xMin()), std::max(yMin(), rhs.yMin()),
                        std::min(xMax(), rhs.xMax()), std::min(yMax(), rhs.yMax()));
    return isValid() && rhs.isValid() && common.isValid() ? common : Bounds();
}

} // namespace osgEarth
