#include "detect/OutlineSimplifier.h"

#include <ogr_geometry.h>

#include <cmath>
#include <memory>

namespace detect {

namespace {

constexpr double toleranceCells = 0.5;
/// A corner between edges of at least this length is one of the object, not of a cell.
constexpr double wallCells = 3.0;

double length(const Point& a, const Point& b) {
    return std::abs(a.x - b.x) + std::abs(a.y - b.y); // cell edges run along the axes
}

Ring throughMiddles(const Ring& corners) {
    Ring ring;
    const std::size_t count = corners.size();
    for (std::size_t i = 0; i < count; ++i) {
        const Point& before = corners[(i + count - 1) % count];
        const Point& corner = corners[i];
        const Point& after = corners[(i + 1) % count];
        if (length(before, corner) >= wallCells && length(corner, after) >= wallCells)
            ring.push_back(corner);
        const double edges = length(corner, after);
        const Point step{(after.x - corner.x) / edges, (after.y - corner.y) / edges};
        // Along a straight edge the first and last middle tell all.
        ring.push_back({corner.x + step.x / 2.0, corner.y + step.y / 2.0});
        if (edges > 1.5)
            ring.push_back({after.x - step.x / 2.0, after.y - step.y / 2.0});
    }
    return ring;
}

std::unique_ptr<OGRLinearRing> lineOf(const Ring& ring) {
    auto line = std::make_unique<OGRLinearRing>();
    for (const Point& p : ring)
        line->addPoint(p.x, p.y);
    line->closeRings();
    return line;
}

Ring ringOf(const OGRLinearRing& line) {
    Ring ring;
    for (int i = 0; i + 1 < line.getNumPoints(); ++i)
        ring.push_back({line.getX(i), line.getY(i)});
    return ring;
}

} // namespace

Polygon simplified(const Polygon& cellOutline) {
    OGRPolygon smooth;
    smooth.addRingDirectly(lineOf(throughMiddles(cellOutline.outer)).release());
    for (const Ring& hole : cellOutline.holes)
        smooth.addRingDirectly(lineOf(throughMiddles(hole)).release());
    const std::unique_ptr<OGRGeometry> simple(smooth.SimplifyPreserveTopology(toleranceCells));
    const bool usable = simple && wkbFlatten(simple->getGeometryType()) == wkbPolygon && !simple->IsEmpty();
    const OGRPolygon& chosen = usable ? *simple->toPolygon() : smooth;
    Polygon polygon;
    polygon.outer = ringOf(*chosen.getExteriorRing());
    for (int i = 0; i < chosen.getNumInteriorRings(); ++i)
        polygon.holes.push_back(ringOf(*chosen.getInteriorRing(i)));
    return polygon;
}

} // namespace detect
