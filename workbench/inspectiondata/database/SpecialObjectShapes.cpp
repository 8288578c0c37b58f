#include "workbench/inspectiondata/database/SpecialObjectShapes.h"

#include <ogr_geometry.h>
#include <ogr_spatialref.h>

#include <osg/BoundingBox>

#include <cmath>
#include <memory>
#include <optional>
#include <set>
#include <utility>

namespace inspection {

namespace {

using Places = std::vector<osg::Vec3d>;
using Cause = std::optional<QString>;

Places placesOf(const OGRPoint& point) {
    return {{point.getX(), point.getY(), point.getZ()}};
}

Places placesOf(const OGRLinearRing& ring) {
    Places places;
    places.reserve(static_cast<std::size_t>(ring.getNumPoints()));
    for (int i = 0; i < ring.getNumPoints(); ++i) {
        places.emplace_back(ring.getX(i), ring.getY(i), ring.getZ(i));
    }
    return places;
}

Cause notFinite(const Places& places) {
    for (const osg::Vec3d& place : places) {
        if (!std::isfinite(place.x()) || !std::isfinite(place.y()) || !std::isfinite(place.z())) {
            return QStringLiteral("坐标不是有限的数");
        }
    }
    return std::nullopt;
}

Cause notOnEarth(const Places& places) {
    constexpr double kMostLongitude = 180.0;
    constexpr double kMostLatitude = 90.0;
    for (const osg::Vec3d& place : places) {
        if (std::abs(place.x()) > kMostLongitude || std::abs(place.y()) > kMostLatitude) {
            return QStringLiteral("经纬度 (%1, %2) 超出范围").arg(place.x()).arg(place.y());
        }
    }
    return std::nullopt;
}

/// Transforms a copy of the part. Gives the cause when that cannot be done.
template<typename Part>
Cause toGeographicPlaces(const Part& part, OGRCoordinateTransformation& transformation, Places& places) {
    if (auto cause = notFinite(placesOf(part))) {
        return cause;
    }
    const std::unique_ptr<Part> copy(part.clone());
    if (copy->transform(&transformation) != OGRERR_NONE) {
        return QStringLiteral("坐标无法转换为经纬度");
    }
    places = placesOf(*copy);
    auto cause = notFinite(places);
    return cause ? cause : notOnEarth(places);
}

bool hasArea(const Places& ring) {
    constexpr std::size_t kFewestVertices = 3;
    std::set<std::pair<double, double>> different;
    for (const osg::Vec3d& vertex : ring) {
        different.emplace(vertex.x(), vertex.y());
        if (different.size() == kFewestVertices) {
            return true;
        }
    }
    return false;
}

void dropClosingVertex(Places& ring) {
    if (ring.size() > 1 && ring.front().x() == ring.back().x() && ring.front().y() == ring.back().y()) {
        ring.pop_back();
    }
}

void goTheShortWay(Places& ring) {
    constexpr double kTurn = 360.0;
    for (std::size_t i = 1; i < ring.size(); ++i) {
        ring[i].x() += kTurn * std::round((ring[i - 1].x() - ring[i].x()) / kTurn);
    }
}

/// The centroid, in the middle of the heights. Where that of a ring that crosses itself lies outside of its
/// bounds, the middle of these.
osg::Vec3d centreOf(const Places& ring) {
    osg::BoundingBoxd bounds;
    OGRLinearRing closed;
    for (const osg::Vec3d& vertex : ring) {
        bounds.expandBy(vertex);
        closed.addPoint(vertex.x(), vertex.y());
    }
    closed.closeRings();
    OGRPolygon polygon;
    polygon.addRing(&closed);
    OGRPoint centroid;
    polygon.Centroid(&centroid);
    const osg::Vec3d centre(centroid.getX(), centroid.getY(), bounds.center().z());
    return bounds.contains(centre) ? centre : bounds.center();
}

Cause shapeOf(const OGRPoint& point, OGRCoordinateTransformation& transformation, SpecialObjectShape& shape) {
    Places places;
    if (auto cause = toGeographicPlaces(point, transformation, places)) {
        return cause;
    }
    shape.centre = places.front();
    return std::nullopt;
}

Cause shapeOf(const OGRPolygon& polygon, OGRCoordinateTransformation& transformation,
              SpecialObjectShape& shape) {
    if (auto cause = toGeographicPlaces(*polygon.getExteriorRing(), transformation, shape.vertices)) {
        return cause;
    }
    dropClosingVertex(shape.vertices);
    if (!hasArea(shape.vertices)) {
        return QStringLiteral("边界不足三个不同的顶点");
    }
    goTheShortWay(shape.vertices);
    shape.centre = centreOf(shape.vertices);
    return std::nullopt;
}

Cause wrongKind(const OGRGeometry& geometry, ShapeKind kind) {
    return QStringLiteral("几何类型为 %1，应为%2")
        .arg(QString::fromUtf8(OGRGeometryTypeToName(wkbFlatten(geometry.getGeometryType()))),
             kind == ShapeKind::Point ? QStringLiteral("点") : QStringLiteral("面"));
}

Cause appendParts(const OGRGeometry& geometry, ShapeKind kind, OGRCoordinateTransformation& transformation,
                  SpecialObjectShapes& shapes) {
    if (geometry.IsEmpty() != 0) {
        return QStringLiteral("几何为空");
    }
    const OGRwkbGeometryType type = wkbFlatten(geometry.getGeometryType());
    if (OGR_GT_IsSubClassOf(type, wkbGeometryCollection) != 0) {
        for (const OGRGeometry* part : *geometry.toGeometryCollection()) {
            if (auto cause = appendParts(*part, kind, transformation, shapes)) {
                return cause;
            }
        }
        return std::nullopt;
    }
    SpecialObjectShape shape;
    Cause cause;
    if (type == wkbPoint && kind == ShapeKind::Point) {
        cause = shapeOf(*geometry.toPoint(), transformation, shape);
    } else if (type == wkbPolygon && kind == ShapeKind::Polygon) {
        cause = shapeOf(*geometry.toPolygon(), transformation, shape);
        shapes.holes += geometry.toPolygon()->getNumInteriorRings();
    } else {
        cause = wrongKind(geometry, kind);
    }
    shapes.parts.push_back(std::move(shape));
    return cause;
}

} // namespace

std::variant<SpecialObjectShapes, QString> shapesOf(const OGRGeometry* geometry, ShapeKind kind,
                                                    OGRCoordinateTransformation& toGeographic) {
    if (!geometry) {
        return QStringLiteral("没有几何");
    }
    const std::unique_ptr<OGRGeometry> straight(
        geometry->hasCurveGeometry(FALSE) != 0 ? geometry->getLinearGeometry() : nullptr);
    SpecialObjectShapes shapes;
    if (auto cause = appendParts(straight ? *straight : *geometry, kind, toGeographic, shapes)) {
        return *cause;
    }
    return shapes;
}

} // namespace inspection
