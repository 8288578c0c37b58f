#include "workbench/inspectiondata/database/Outline.h"

#include "detect/GdalErrors.h"

#include <ogr_geometry.h>

#include <array>
#include <cmath>
#include <cstdio>

namespace inspection {

namespace {

using Ring = std::vector<osg::Vec3d>;

constexpr double kFarthest = 1e9; ///< metres or degrees; no reference system of the Earth reaches that far

/// Looks at every point: envelopes leave out what is no number.
class PlacesOnEarth : public OGRDefaultConstGeometryVisitor {
public:
    using OGRDefaultConstGeometryVisitor::visit;
    void visit(const OGRPoint* point) override {
        m_areAll = m_areAll && isNear(point->getX()) && isNear(point->getY()) && isNear(point->getZ());
    }
    bool areAll() const { return m_areAll; }

private:
    static bool isNear(double coordinate) { return std::abs(coordinate) <= kFarthest; } // false for NaN

    bool m_areAll = true;
};

/// Far or endless coordinates would become pictures without end, and endless heights texts that nobody can read.
bool liesOnEarth(const OGRGeometry& geometry) {
    PlacesOnEarth places;
    geometry.accept(&places);
    return places.areAll();
}

std::string vertexText(const osg::Vec3d& vertex) {
    std::array<char, 96> text{};
    std::snprintf(text.data(), text.size(), "%.17g %.17g %.17g", vertex.x(), vertex.y(), vertex.z());
    return text.data();
}

Ring openRing(const OGRLinearRing& closed) {
    Ring ring;
    for (int i = 0; i + 1 < closed.getNumPoints(); ++i) {
        ring.emplace_back(closed.getX(i), closed.getY(i), closed.getZ(i));
    }
    return ring;
}

void appendRings(const OGRGeometry& geometry, std::vector<Ring>& rings) {
    const OGRwkbGeometryType type = wkbFlatten(geometry.getGeometryType());
    if (type == wkbPolygon) {
        for (const OGRLinearRing* ring : *geometry.toPolygon()) {
            rings.push_back(openRing(*ring));
        }
    } else if (type == wkbMultiPolygon) {
        for (const OGRPolygon* polygon : *geometry.toMultiPolygon()) {
            appendRings(*polygon, rings);
        }
    }
}

} // namespace

std::unique_ptr<OGRGeometry> outlineGeometry(const std::string& wkt) {
    const detect::GdalErrors quiet;
    OGRGeometry* read = nullptr;
    OGRGeometryFactory::createFromWkt(wkt.c_str(), nullptr, &read);
    std::unique_ptr<OGRGeometry> geometry(read);
    return geometry && !geometry->IsEmpty() && liesOnEarth(*geometry) ? std::move(geometry) : nullptr;
}

std::string outlineWkt(const Ring& vertices) {
    if (vertices.empty()) {
        return "POLYGON Z EMPTY";
    }
    std::string text = "POLYGON Z ((";
    for (const osg::Vec3d& vertex : vertices) {
        text += vertexText(vertex) + ',';
    }
    return text + vertexText(vertices.front()) + "))";
}

Ring outlineVertices(const std::string& wkt) {
    const auto rings = outlineRings(wkt);
    return rings.empty() ? Ring() : rings.front();
}

std::vector<Ring> outlineRings(const std::string& wkt) {
    std::vector<Ring> rings;
    if (const auto geometry = outlineGeometry(wkt)) {
        appendRings(*geometry, rings);
    }
    return rings;
}

bool outlineContains(const std::string& wkt, double x, double y) {
    const auto geometry = outlineGeometry(wkt);
    const OGRPoint point(x, y);
    return geometry && geometry->Intersects(&point);
}

} // namespace inspection
