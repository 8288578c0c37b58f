#include "workbench/inspectiondata/pipeline/Pipeline.h"

#include "detect/GdalErrors.h"
#include "workbench/inspectiondata/project/Georeference.h"

#include <ogrsf_frmts.h>

#include <algorithm>
#include <cmath>

namespace inspection {

namespace {

using Part = std::vector<QPointF>;

void appendParts(const OGRGeometry& geometry, std::vector<Part>& parts) {
    const OGRwkbGeometryType type = wkbFlatten(geometry.getGeometryType());
    if (type == wkbLineString) {
        Part part;
        for (const OGRPoint& point : *geometry.toLineString()) {
            part.emplace_back(point.getX(), point.getY());
        }
        parts.push_back(part);
    } else if (type == wkbMultiLineString) {
        for (const OGRLineString* line : *geometry.toMultiLineString()) {
            appendParts(*line, parts);
        }
    }
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
    OGRSpatialReference stored = layer->GetSpatialRef() ? *layer->GetSpatialRef() : *target;
    stored.SetAxisMappingStrategy(OAMS_TRADITIONAL_GIS_ORDER);
    const Transformation transformation = transformationBetween(stored, *target);
    for (const auto& feature : *layer) {
        OGRGeometry* geometry = feature->GetGeometryRef();
        if (geometry && transformation && geometry->transform(transformation.get()) == OGRERR_NONE) {
            appendParts(*geometry, pipeline.m_parts);
        }
    }
    return pipeline;
}

std::optional<PipePosition> Pipeline::positionOf(const QPointF& point) const {
    std::optional<PipePosition> nearest;
    double passed = 0.0;
    for (const Part& part : m_parts) {
        for (std::size_t i = 0; i + 1 < part.size(); ++i) {
            const double share = nearestShare(part[i], part[i + 1], point);
            const QPointF foot = part[i] + share * (part[i + 1] - part[i]);
            const double segment = length(part[i + 1] - part[i]);
            const double offset = length(point - foot);
            if (!nearest || offset < nearest->offsetMetres) {
                nearest = PipePosition{passed + share * segment, offset};
            }
            passed += segment;
        }
    }
    return nearest;
}

QString chainageText(double metres) {
    const auto whole = static_cast<qint64>(std::llround(metres));
    return QStringLiteral("K%1+%2").arg(whole / 1000).arg(whole % 1000, 3, 10, QLatin1Char('0'));
}

} // namespace inspection
