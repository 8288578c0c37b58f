#include "detect/shape/PolygonGeometry.h"

namespace detect {

namespace {

std::unique_ptr<OGRLinearRing> lineOf(const Ring& ring) {
    auto line = std::make_unique<OGRLinearRing>();
    for (const Point& p : ring) {
        line->addPoint(p.x, p.y);
    }
    line->closeRings();
    return line;
}

Ring ringOf(const OGRLinearRing& line) {
    Ring ring;
    for (int i = 0; i + 1 < line.getNumPoints(); ++i) {
        ring.push_back({line.getX(i), line.getY(i)});
    }
    return ring;
}

} // namespace

std::unique_ptr<OGRPolygon> geometryOf(const Ring& outer, const std::vector<Ring>& holes) {
    auto geometry = std::make_unique<OGRPolygon>();
    geometry->addRingDirectly(lineOf(outer).release());
    for (const Ring& hole : holes) {
        geometry->addRingDirectly(lineOf(hole).release());
    }
    return geometry;
}

Polygon polygonOf(const OGRPolygon& geometry) {
    Polygon polygon;
    polygon.outer = ringOf(*geometry.getExteriorRing());
    for (int i = 0; i < geometry.getNumInteriorRings(); ++i) {
        polygon.holes.push_back(ringOf(*geometry.getInteriorRing(i)));
    }
    return polygon;
}

} // namespace detect
