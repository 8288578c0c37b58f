#include "detect/shape/OutlineSimplifier.h"

#include "detect/GdalErrors.h"
#include "detect/shape/PolygonGeometry.h"

#include <cmath>

namespace detect {

namespace {

constexpr double kToleranceCells = 0.5;
/// A corner between edges of at least this length is one of the object, not of a cell.
constexpr double kWallCells = 3.0;

double length(const Point& a, const Point& b) {
    return std::abs(a.x - b.x) + std::abs(a.y - b.y); // cell edges run along the axes
}

double turn(const Point& a, const Point& b, const Point& c) {
    return (b.x - a.x) * (c.y - b.y) - (b.y - a.y) * (c.x - b.x);
}

/// The corners of a ring, counted on beyond its end.
class Corners {
public:
    explicit Corners(const Ring& ring) : m_ring(ring) {}
    const Point& at(std::size_t i, int offset) const {
        const std::size_t count = m_ring.size();
        return m_ring[(i + count + static_cast<std::size_t>(offset + static_cast<int>(count))) % count];
    }
    /// Length of the edge that begins at a corner.
    double edge(std::size_t i, int offset = 0) const { return length(at(i, offset), at(i, offset + 1)); }
    bool isOfAWall(std::size_t i) const { return edge(i, -1) >= kWallCells && edge(i) >= kWallCells; }
    /// The edge is a tread of even stairs: one cell up before it, one cell up after it.
    bool isTread(std::size_t i) const {
        const double before = turn(at(i, -1), at(i, 0), at(i, 1));
        const double after = turn(at(i, 0), at(i, 1), at(i, 2));
        return edge(i, -1) == 1.0 && edge(i, 1) == 1.0 && before * after < 0.0;
    }

private:
    const Ring& m_ring;
};

Ring throughMiddles(const Ring& ring) {
    const Corners corners(ring);
    Ring middles;
    for (std::size_t i = 0; i < ring.size(); ++i) {
        const Point& from = corners.at(i, 0);
        const Point& to = corners.at(i, 1);
        if (corners.isOfAWall(i)) {
            middles.push_back(from);
        }
        const double edge = corners.edge(i);
        const auto place = [&](double cells) {
            middles.push_back(
                {from.x + (to.x - from.x) * cells / edge, from.y + (to.y - from.y) * cells / edge});
        };
        if (corners.isTread(i) || edge == 1.0) {
            place(edge / 2.0); // a digitised line runs through the middle of its treads
        } else {
            place(0.5);
            place(edge - 0.5);
        }
    }
    return middles;
}

bool isUprightRectangle(const Polygon& outline) {
    const Corners corners(outline.outer);
    return outline.holes.empty() && outline.outer.size() == 4 && corners.isOfAWall(0) && corners.isOfAWall(2);
}

/// With at least so many holes.
bool isPolygon(const OGRGeometry* geometry, int holes) {
    return geometry && wkbFlatten(geometry->getGeometryType()) == wkbPolygon && !geometry->IsEmpty() &&
           geometry->toPolygon()->getNumInteriorRings() >= holes;
}

} // namespace

Polygon simplified(const Polygon& cellOutline) {
    if (isUprightRectangle(cellOutline)) {
        return cellOutline;
    }
    Polygon smooth;
    smooth.outer = throughMiddles(cellOutline.outer);
    for (const Ring& hole : cellOutline.holes) {
        smooth.holes.push_back(throughMiddles(hole));
    }
    const GdalErrors quietAboutCrossings;
    const auto geometry = geometryOf(smooth.outer, smooth.holes);
    const int holes = static_cast<int>(smooth.holes.size());
    // Ring by ring costs a fraction of watching all of them, and hardly ever makes them cross.
    std::unique_ptr<OGRGeometry> simple(geometry->Simplify(kToleranceCells));
    if (!isPolygon(simple.get(), holes) || !simple->IsValid()) {
        simple.reset(geometry->SimplifyPreserveTopology(kToleranceCells));
    }
    return isPolygon(simple.get(), 0) ? polygonOf(*simple->toPolygon()) : smooth;
}

} // namespace detect
