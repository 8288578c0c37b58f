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

/// No point of one box is nearer than that to a point of the other.
double distanceBetween(const OGREnvelope& a, const OGREnvelope& b) {
    const double x = std::max({0.0, a.MinX - b.MaxX, b.MinX - a.MaxX});
    const double y = std::max({0.0, a.MinY - b.MaxY, b.MinY - a.MaxY});
    return std::hypot(x, y);
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
            stretch.line.getEnvelope(&stretch.bounds);
            m_stretches.push_back(std::move(stretch));
        }
    }
}

void StationSurroundings::addAreas(const std::vector<Special_Polygon>& areas,
                                   const OGRSpatialReference& plane) {
    // It takes a tenth of a second to make.
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
    const detect::GdalErrors errors;
    Surroundings surroundings;
    const auto outline =
        m_stretches.empty() && m_areas.empty() ? nullptr : outlineGeometry(anomaly.outlineWkt);
    if (!outline || outline->IsEmpty() != 0 ||
        (m_toPlane && outline->transform(m_toPlane.get()) != OGRERR_NONE)) {
        return surroundings;
    }
    OGREnvelope bounds;
    outline->getEnvelope(&bounds);
    surroundings.pipeMetres = pipeMetresFrom(*outline, bounds);
    for (const Area& area : m_areas) {
        if (area.bounds.Intersects(bounds) != 0 &&
            OGRPreparedGeometryIntersects(area.outline.get(), OGRGeometry::ToHandle(outline.get())) != 0) {
            surroundings.highConsequenceAreas.push_back(area.name);
        }
    }
    return surroundings;
}

std::optional<double> StationSurroundings::pipeMetresFrom(const OGRGeometry& outline,
                                                          const OGREnvelope& bounds) const {
    if (m_stretches.empty()) {
        return std::nullopt;
    }
    std::vector<double> least; // distance to each stretch, at least
    least.reserve(m_stretches.size());
    for (const Stretch& stretch : m_stretches) {
        least.push_back(distanceBetween(bounds, stretch.bounds));
    }
    double nearest = std::numeric_limits<double>::infinity();
    const auto measure = [&](std::size_t i) {
        const double distance = outline.Distance(&m_stretches[i].line);
        nearest = distance >= 0.0 ? std::min(nearest, distance) : nearest; // negative where it is refused
    };
    const auto closest = std::min_element(least.begin(), least.end());
    const auto promising = static_cast<std::size_t>(closest - least.begin());
    measure(promising);
    for (std::size_t i = 0; i < least.size(); ++i) {
        if (i != promising && least[i] < nearest) {
            measure(i);
        }
    }
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
