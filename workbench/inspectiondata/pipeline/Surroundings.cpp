#include "workbench/inspectiondata/pipeline/Surroundings.h"

#include "detect/GdalErrors.h"
#include "host/Gbk.h"
#include "workbench/inspectiondata/database/Outline.h"

#include <ogr_api.h>

#include <QLocale>
#include <QStringList>

#include <algorithm>
#include <cmath>
#include <limits>

namespace inspection {

namespace {

constexpr std::size_t kVerticesOfStretch = 8;

/// The system in which lengths around the station are measured; empty when its place is unknown.
std::optional<OGRSpatialReference> planeOf(const KV_Station& station, const OGRSpatialReference& own) {
    if (own.IsProjected() != 0) {
        return own;
    }
    const Transformation toGeographic = transformationBetween(own, wgs84());
    double x = (station.m_xMin + station.m_xMax) / 2.0;
    double y = (station.m_yMin + station.m_yMax) / 2.0;
    if (!toGeographic || toGeographic->Transform(1, &x, &y) == 0) {
        return std::nullopt;
    }
    return projectedReferenceAt(x, y);
}

std::unique_ptr<OGRPolygon> polygonOf(const std::vector<osg::Vec3d>& vertices) {
    OGRLinearRing ring;
    for (const osg::Vec3d& vertex : vertices) {
        ring.addPoint(vertex.x(), vertex.y());
    }
    ring.closeRings();
    auto polygon = std::make_unique<OGRPolygon>();
    polygon->addRing(&ring);
    return polygon;
}

double squareBetween(const OGRRawPoint& one, const OGRRawPoint& other) {
    return (one.x - other.x) * (one.x - other.x) + (one.y - other.y) * (one.y - other.y);
}

/// Square of the distance of a point from the way between two others.
double squareFrom(const OGRRawPoint& point, const OGRRawPoint& a, const OGRRawPoint& b) {
    const double x = b.x - a.x;
    const double y = b.y - a.y;
    const double square = x * x + y * y;
    const double along = (point.x - a.x) * x + (point.y - a.y) * y;
    if (along <= 0.0 || square <= 0.0) {
        return squareBetween(point, a);
    }
    if (along >= square) {
        return squareBetween(point, b);
    }
    const double across = (point.x - a.x) * y - (point.y - a.y) * x;
    return across * across / square;
}

double leastSquare(const std::vector<OGRRawPoint>& points, const std::vector<OGRRawPoint>& line) {
    double least = std::numeric_limits<double>::infinity();
    for (const OGRRawPoint& point : points) {
        for (std::size_t i = 0; i + 1 < line.size(); ++i) {
            least = std::min(least, squareFrom(point, line[i], line[i + 1]));
        }
    }
    return least;
}

/// Lines that do not meet are nearest to each other at a vertex of one of them.
double distanceApart(const std::vector<OGRRawPoint>& one, const std::vector<OGRRawPoint>& other) {
    return std::sqrt(std::min(leastSquare(one, other), leastSquare(other, one)));
}

std::vector<OGRRawPoint> placesOf(const OGRSimpleCurve& line) {
    std::vector<OGRRawPoint> places(static_cast<std::size_t>(line.getNumPoints()));
    line.getPoints(places.data());
    return places;
}

/// The outer edge of an area; nothing of another geometry.
std::vector<OGRRawPoint> edgeOf(const OGRGeometry& outline) {
    const bool isArea = wkbFlatten(outline.getGeometryType()) == wkbPolygon;
    return isArea ? placesOf(*outline.toPolygon()->getExteriorRing()) : std::vector<OGRRawPoint>();
}

} // namespace

StationSurroundings::StationSurroundings(const OGRSpatialReference& own, const OGRSpatialReference& plane,
                                         const Pipeline& pipeline,
                                         const std::vector<Special_Polygon>& highConsequenceAreas)
    : m_toPlane(sameReference(own, plane) ? nullptr : transformationBetween(own, plane)),
      m_metresPerUnit(plane.GetLinearUnits()) {
    const detect::GdalErrors errors;
    addPipeline(pipeline, plane);
    addAreas(highConsequenceAreas, plane);
}

void StationSurroundings::addPipeline(const Pipeline& pipeline, const OGRSpatialReference& plane) {
    const auto own = referenceOf(pipeline.crs());
    const Transformation toPlane = own ? transformationBetween(*own, plane) : nullptr;
    for (const auto& part : pipeline.parts()) {
        if (toPlane) {
            addStretches(part, *toPlane);
        }
    }
    std::vector<OGREnvelope> boxes(m_stretches.size());
    for (std::size_t i = 0; i < boxes.size(); ++i) {
        m_stretches[i].line.getEnvelope(&boxes[i]);
    }
    m_boxes = BoxTree(std::move(boxes));
}

void StationSurroundings::addStretches(const std::vector<QPointF>& part,
                                       OGRCoordinateTransformation& toPlane) {
    for (std::size_t first = 0; first + 1 < part.size(); first += kVerticesOfStretch - 1) {
        const std::size_t end = std::min(part.size(), first + kVerticesOfStretch);
        Stretch stretch;
        for (std::size_t i = first; i < end; ++i) {
            stretch.line.addPoint(part[i].x(), part[i].y());
        }
        if (stretch.line.transform(&toPlane) == OGRERR_NONE) {
            stretch.places = placesOf(stretch.line);
            m_stretches.push_back(std::move(stretch));
        }
    }
}

void StationSurroundings::addAreas(const std::vector<Special_Polygon>& areas,
                                   const OGRSpatialReference& plane) {
    const Transformation toPlane = areas.empty() ? nullptr : transformationBetween(wgs84(), plane);
    for (const Special_Polygon& area : areas) {
        if (toPlane) {
            addArea(area, *toPlane);
        }
    }
}

void StationSurroundings::addArea(const Special_Polygon& area, OGRCoordinateTransformation& toPlane) {
    const auto polygon = polygonOf(area.m_vertices);
    if (area.m_vertices.size() < 3 || polygon->transform(&toPlane) != OGRERR_NONE) {
        return;
    }
    Area added;
    added.name = area.GetName();
    polygon->getEnvelope(&added.bounds);
    added.outline.reset(OGRCreatePreparedGeometry(OGRGeometry::ToHandle(polygon.get())));
    m_areas.push_back(std::move(added));
}

Surroundings StationSurroundings::of(const SdiffData& anomaly) const {
    const bool isEmpty = m_stretches.empty() && m_areas.empty();
    return isEmpty ? Surroundings() : of(outlineGeometry(anomaly.outlineWkt));
}

Surroundings StationSurroundings::of(std::unique_ptr<OGRGeometry> outline) const {
    const detect::GdalErrors errors;
    const auto inPlane = toPlane(std::move(outline));
    return inPlane ? Surroundings{pipeMetresFrom(*inPlane), areasTouchedBy(*inPlane)} : Surroundings();
}

std::optional<double> StationSurroundings::pipeMetres(const SdiffData& anomaly) const {
    const detect::GdalErrors errors;
    const auto outline = m_stretches.empty() ? nullptr : toPlane(outlineGeometry(anomaly.outlineWkt));
    return outline ? pipeMetresFrom(*outline) : std::nullopt;
}

std::vector<std::string> StationSurroundings::highConsequenceAreas(const SdiffData& anomaly) const {
    const detect::GdalErrors errors;
    const auto outline = m_areas.empty() ? nullptr : toPlane(outlineGeometry(anomaly.outlineWkt));
    return outline ? areasTouchedBy(*outline) : std::vector<std::string>();
}

std::unique_ptr<OGRGeometry> StationSurroundings::toPlane(std::unique_ptr<OGRGeometry> outline) const {
    if (!outline || outline->IsEmpty() != 0) {
        return nullptr;
    }
    if (m_toPlane) {
        const std::lock_guard<std::mutex> alone(m_libraries);
        return outline->transform(m_toPlane.get()) == OGRERR_NONE ? std::move(outline) : nullptr;
    }
    return outline;
}

std::vector<std::string> StationSurroundings::areasTouchedBy(const OGRGeometry& outline) const {
    OGREnvelope bounds;
    outline.getEnvelope(&bounds);
    std::vector<std::string> names;
    for (const Area& area : m_areas) {
        if (area.bounds.Intersects(bounds) == 0) {
            continue;
        }
        const std::lock_guard<std::mutex> alone(m_libraries);
        if (OGRPreparedGeometryIntersects(area.outline.get(),
                                          OGRGeometry::ToHandle(const_cast<OGRGeometry*>(&outline))) != 0) {
            names.push_back(area.name);
        }
    }
    return names;
}

std::optional<double> StationSurroundings::pipeMetresFrom(const OGRGeometry& outline) const {
    const std::vector<OGRRawPoint> edge = edgeOf(outline);
    OGREnvelope bounds;
    outline.getEnvelope(&bounds);
    double nearest = std::numeric_limits<double>::infinity();
    m_boxes.nearestFirst(bounds, [&](std::size_t i, double least) {
        // The library knows whether they meet. Where their boxes are apart they do not, and it would take ten times as long.
        const bool isApart = least > 0.0 && !edge.empty();
        const double distance =
            isApart ? distanceApart(edge, m_stretches[i].places) : outline.Distance(&m_stretches[i].line);
        nearest = distance >= 0.0 ? std::min(nearest, distance) : nearest; // negative where it is refused
        return nearest;
    });
    return std::isfinite(nearest) ? std::optional(nearest * m_metresPerUnit) : std::nullopt;
}

CorridorSurroundings::CorridorSurroundings(Pipeline pipeline,
                                           std::vector<Special_Polygon> highConsequenceAreas)
    : m_pipeline(std::move(pipeline)), m_areas(std::move(highConsequenceAreas)) {}

std::shared_ptr<const StationSurroundings> CorridorSurroundings::around(const KV_Station& station) {
    const auto own = referenceOf(QString::fromStdString(station.m_srs));
    const auto plane = own ? planeOf(station, *own) : std::nullopt;
    if (!plane) {
        return std::make_shared<StationSurroundings>();
    }
    auto& known = m_stations[{station.m_srs, definitionOf(*plane)}];
    if (!known) {
        known = std::make_shared<StationSurroundings>(*own, *plane, m_pipeline, m_areas);
    }
    return known;
}

QString pipeDistanceText(double metres) {
    return QLocale(QLocale::Chinese).toString(metres, 'f', 1);
}

QString areaNamesText(const std::vector<std::string>& gbkNames) {
    QStringList names;
    for (const std::string& name : gbkNames) {
        names << fromGbk(name);
    }
    return names.join(QStringLiteral("、"));
}

} // namespace inspection
