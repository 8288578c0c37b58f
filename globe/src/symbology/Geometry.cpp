#include <osgEarthSymbology/Geometry>

#include <algorithm>

namespace osgEarth {
namespace Symbology {

Geometry::Geometry(int capacity) {
    reserve(static_cast<std::size_t>(std::max(capacity, 0)));
}

Geometry::Geometry(const Vec3dVector* toCopy) {
    if (toCopy) {
        asVector() = *toCopy;
    }
}

Geometry::~Geometry() = default;
PointSet::~PointSet() = default;
LineString::~LineString() = default;
Ring::~Ring() = default;
Polygon::~Polygon() = default;

Bounds Geometry::getBounds() const {
    Bounds bounds;
    for (const osg::Vec3d& point : *this) {
        bounds.expandBy(point.x(), point.y(), point.z());
    }
    return bounds;
}

int Geometry::getTotalPointCount() const {
    return static_cast<int>(size());
}

Geometry* Geometry::cloneAs(const Type& type) const {
    switch (type) {
    case TYPE_POINTSET:
        return new PointSet(&asVector());
    case TYPE_LINESTRING:
        return new LineString(&asVector());
    case TYPE_RING:
        return new Ring(&asVector());
    case TYPE_POLYGON:
        return new Polygon(&asVector());
    case TYPE_UNKNOWN:
        return getType() == TYPE_UNKNOWN ? new Geometry(&asVector()) : nullptr;
    case TYPE_MULTI:
        break;
    }
    return nullptr;
}

void Geometry::rewind(Orientation) {}

void Geometry::close() {
    if (!empty() && front() != back()) {
        push_back(osg::Vec3d(front()));
    }
}

void Geometry::removeDuplicates() {
    erase(std::unique(begin(), end()), end());
}

double Ring::getSignedArea2D() const {
    double twiceArea = 0.0;
    for (std::size_t i = 0; i < size(); ++i) {
        const osg::Vec3d& a = (*this)[i];
        const osg::Vec3d& b = (*this)[(i + 1) % size()];
        // Relative to the first point: areas of small rings far from the origin keep their digits.
        twiceArea +=
            (a.x() - front().x()) * (b.y() - front().y()) - (b.x() - front().x()) * (a.y() - front().y());
    }
    return twiceArea / 2.0;
}

void Ring::rewind(Orientation orientation) {
    const double area = getSignedArea2D();
    if ((orientation == ORIENTATION_CCW && area < 0.0) || (orientation == ORIENTATION_CW && area > 0.0)) {
        std::reverse(begin(), end());
    }
}

// Counts the edges that a ray towards +x crosses (even-odd rule).
bool Ring::contains2D(double x, double y) const {
    bool inside = false;
    for (std::size_t i = 0, j = size() - 1; i < size(); j = i++) {
        const osg::Vec3d& a = (*this)[i];
        const osg::Vec3d& b = (*this)[j];
        if ((a.y() > y) != (b.y() > y) && x < (b.x() - a.x()) * (y - a.y()) / (b.y() - a.y()) + a.x()) {
            inside = !inside;
        }
    }
    return inside;
}

void Ring::open() {
    while (size() > 2 && front() == back()) {
        pop_back();
    }
}

bool Ring::isOpen() const {
    return size() < 2 || front() != back();
}

int Polygon::getTotalPointCount() const {
    int count = Ring::getTotalPointCount();
    for (const osg::ref_ptr<Ring>& hole : m_holes) {
        count += hole->getTotalPointCount();
    }
    return count;
}

Geometry* Polygon::cloneAs(const Type& type) const {
    if (type != TYPE_POLYGON) {
        return Ring::cloneAs(type);
    }
    osg::ref_ptr<Polygon> copy = new Polygon(&asVector());
    for (const osg::ref_ptr<Ring>& hole : m_holes) {
        copy->m_holes.push_back(new Ring(&hole->asVector()));
    }
    return copy.release();
}

bool Polygon::contains2D(double x, double y) const {
    const auto holds = [x, y](const osg::ref_ptr<Ring>& hole) { return hole->contains2D(x, y); };
    return Ring::contains2D(x, y) && std::none_of(m_holes.begin(), m_holes.end(), holds);
}

void Polygon::rewind(Orientation orientation) {
    Ring::rewind(orientation);
    const Orientation opposite = orientation == ORIENTATION_CCW  ? ORIENTATION_CW
                                 : orientation == ORIENTATION_CW ? ORIENTATION_CCW
                                                                 : orientation;
    for (const osg::ref_ptr<Ring>& hole : m_holes) {
        hole->rewind(opposite);
    }
}

void Polygon::open() {
    Ring::open();
    for (const osg::ref_ptr<Ring>& hole : m_holes) {
        hole->open();
    }
}

void Polygon::close() {
    Ring::close();
    for (const osg::ref_ptr<Ring>& hole : m_holes) {
        hole->close();
    }
}

void Polygon::removeDuplicates() {
    Ring::removeDuplicates();
    for (const osg::ref_ptr<Ring>& hole : m_holes) {
        hole->removeDuplicates();
    }
}

} // namespace Symbology
} // namespace osgEarth
