#include "workbench/inspectiondata/pipeline/Pipeline.h"

#include "detect/GdalErrors.h"
#include "workbench/inspectiondata/database/LayerReference.h"
#include "workbench/inspectiondata/project/Georeference.h"

#include <ogrsf_frmts.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <utility>

namespace inspection {

namespace {

using Part = std::vector<QPointF>;

constexpr std::size_t kSegmentsOfRun = 8;

/// The lines of a geometry, also of one that gathers several.
std::vector<const OGRLineString*> linesOf(const OGRGeometry& geometry) {
    const OGRwkbGeometryType type = wkbFlatten(geometry.getGeometryType());
    if (type == wkbLineString) {
        return {geometry.toLineString()};
    }
    std::vector<const OGRLineString*> lines;
    if (type == wkbMultiLineString) {
        for (const OGRLineString* line : *geometry.toMultiLineString()) {
            lines.push_back(line);
        }
    }
    return lines;
}

Part placesOf(const OGRLineString& line) {
    Part part;
    for (const OGRPoint& point : line) {
        part.emplace_back(point.getX(), point.getY());
    }
    return part;
}

/// The rings of an area or of several.
std::vector<Part> ringsOf(const OGRGeometry& geometry) {
    std::vector<Part> rings;
    const auto append = [&](const OGRPolygon& polygon) {
        for (const OGRLinearRing* ring : polygon) {
            rings.push_back(placesOf(*ring));
        }
    };
    if (wkbFlatten(geometry.getGeometryType()) == wkbPolygon) {
        append(*geometry.toPolygon());
    } else if (wkbFlatten(geometry.getGeometryType()) == wkbMultiPolygon) {
        for (const OGRPolygon* polygon : *geometry.toMultiPolygon()) {
            append(*polygon);
        }
    }
    return rings;
}

double length(const QPointF& vector) {
    return std::hypot(vector.x(), vector.y());
}

/// Share 0..1 of the way from `a` to `b` that is nearest to `point`.
double nearestShare(const QPointF& a, const QPointF& b, const QPointF& point) {
    const QPointF way = b - a;
    const double square = QPointF::dotProduct(way, way);
    return square > 0.0 ? std::clamp(QPointF::dotProduct(point - a, way) / square, 0.0, 1.0) : 0.0;
}

/// Chainages of the line's vertices: its measures, otherwise lengths from `start` on.
std::vector<double> chainagesOf(const OGRLineString& line, const Part& part, double start) {
    std::vector<double> chainages;
    for (int i = 0; i < line.getNumPoints(); ++i) {
        const auto vertex = static_cast<std::size_t>(i);
        const double along = i == 0 ? start : chainages.back() + length(part[vertex] - part[vertex - 1]);
        chainages.push_back(line.IsMeasured() != 0 ? line.getM(i) : along);
    }
    return chainages;
}

} // namespace

Pipeline Pipeline::read(const ProjectDescription& project) {
    Pipeline pipeline;
    pipeline.m_crs = project.crs;
    GDALAllRegister();
    const detect::GdalErrors errors;
    const GDALDatasetUniquePtr source(
        GDALDataset::Open(project.centerline.toUtf8().constData(), GDAL_OF_VECTOR | GDAL_OF_READONLY));
    OGRLayer* layer = source ? source->GetLayerByName("centerline") : nullptr;
    const auto target = referenceOf(project.crs);
    if (!layer || !target) {
        return pipeline;
    }
    const Transformation transformation = transformationBetween(referenceOfLayer(*layer, *target), *target);
    for (const auto& feature : *layer) {
        OGRGeometry* geometry = feature->GetGeometryRef();
        if (geometry && transformation && geometry->transform(transformation.get()) == OGRERR_NONE) {
            pipeline.append(*geometry);
        }
    }
    pipeline.index();
    return pipeline;
}

void Pipeline::append(const OGRGeometry& geometry) {
    for (const OGRLineString* line : linesOf(geometry)) {
        if (line->getNumPoints() == 0) {
            continue;
        }
        const double start = m_chainages.empty() ? 0.0 : m_chainages.back().back();
        m_parts.push_back(placesOf(*line));
        m_chainages.push_back(chainagesOf(*line, m_parts.back(), start));
    }
}

double Pipeline::lengthMetres() const {
    double least = std::numeric_limits<double>::max();
    double most = std::numeric_limits<double>::lowest();
    for (const std::vector<double>& part : m_chainages) {
        const auto [low, high] = std::minmax_element(part.begin(), part.end());
        least = std::min(least, *low);
        most = std::max(most, *high);
    }
    return std::max(most - least, 0.0);
}

void Pipeline::index() {
    std::vector<OGREnvelope> boxes;
    for (std::size_t part = 0; part < m_parts.size(); ++part) {
        const Part& places = m_parts[part];
        for (std::size_t first = 0; first + 1 < places.size(); first += kSegmentsOfRun) {
            const Run run{part, first, std::min(first + kSegmentsOfRun, places.size() - 1)};
            OGREnvelope box;
            for (std::size_t i = run.first; i <= run.last; ++i) {
                box.Merge(places[i].x(), places[i].y());
            }
            m_runs.push_back(run);
            boxes.push_back(box);
        }
    }
    m_boxes = BoxTree(std::move(boxes));
}

std::optional<PipePosition> Pipeline::positionOf(const QPointF& point) const {
    OGREnvelope place;
    place.Merge(point.x(), point.y());
    std::optional<PipePosition> nearest;
    std::size_t runOfNearest = 0;
    m_boxes.nearestFirst(place, [&](std::size_t run, double /*least*/) {
        const PipePosition found = nearestOf(m_runs[run], point);
        const bool isNearer = !nearest || found.offsetMetres < nearest->offsetMetres ||
                              (found.offsetMetres == nearest->offsetMetres && run < runOfNearest);
        if (isNearer) {
            nearest = found;
            runOfNearest = run;
        }
        return nearest->offsetMetres;
    });
    return nearest;
}

PipePosition Pipeline::nearestOf(const Run& run, const QPointF& point) const {
    const Part& places = m_parts[run.part];
    const std::vector<double>& chainages = m_chainages[run.part];
    PipePosition nearest;
    for (std::size_t i = run.first; i < run.last; ++i) {
        const double share = nearestShare(places[i], places[i + 1], point);
        const QPointF foot = places[i] + share * (places[i + 1] - places[i]);
        const double offset = length(point - foot);
        if (i == run.first || offset < nearest.offsetMetres) {
            nearest = {chainages[i] + share * (chainages[i + 1] - chainages[i]), offset};
        }
    }
    return nearest;
}

std::vector<ChainageMark> Pipeline::marks(double intervalMetres) const {
    std::vector<ChainageMark> marks;
    for (std::size_t part = 0; part < m_parts.size(); ++part) {
        const Part& places = m_parts[part];
        const std::vector<double>& chainages = m_chainages[part];
        for (std::size_t i = 0; i + 1 < places.size(); ++i) {
            const double from = chainages[i];
            const double to = chainages[i + 1];
            // A mark on a vertex belongs to the segment that begins there; the line may run down its chainages.
            const auto first = static_cast<std::int64_t>(std::ceil(std::min(from, to) / intervalMetres));
            const bool isLast = i + 2 == places.size();
            for (std::int64_t k = first; double(k) * intervalMetres <= std::max(from, to); ++k) {
                const double chainage = double(k) * intervalMetres;
                if (from == to || (chainage == to && !isLast)) {
                    continue;
                }
                const double share = (chainage - from) / (to - from);
                marks.push_back({chainage, places[i] + share * (places[i + 1] - places[i])});
            }
        }
    }
    return marks;
}

std::vector<std::vector<QPointF>> Pipeline::bufferOutlines(double metres) const {
    const auto own = referenceOf(m_crs);
    if (!own || m_parts.empty()) {
        return {};
    }
    const QPointF first = m_parts.front().front();
    const OGRSpatialReference plane =
        own->IsGeographic() != 0 ? projectedReferenceAt(first.x(), first.y()) : *own;
    const Transformation toPlane = transformationBetween(*own, plane);
    const Transformation toOwn = transformationBetween(plane, *own);
    OGRMultiLineString lines;
    for (const Part& part : m_parts) {
        OGRLineString line;
        for (const QPointF& place : part) {
            line.addPoint(place.x(), place.y());
        }
        lines.addGeometry(&line);
    }
    constexpr int kSegmentsOfQuadrant = 8;
    if (!toPlane || !toOwn || lines.transform(toPlane.get()) != OGRERR_NONE) {
        return {};
    }
    const OGRGeometryUniquePtr area(lines.Buffer(metres / plane.GetLinearUnits(), kSegmentsOfQuadrant));
    if (!area || area->transform(toOwn.get()) != OGRERR_NONE) {
        return {};
    }
    return ringsOf(*area);
}

QString chainageText(double metres) {
    const auto whole = static_cast<qint64>(std::llround(metres));
    return QStringLiteral("K%1+%2").arg(whole / 1000).arg(whole % 1000, 3, 10, QLatin1Char('0'));
}

} // namespace inspection
