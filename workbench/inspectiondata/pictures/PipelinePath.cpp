#include "workbench/inspectiondata/pictures/PipelinePath.h"

#include "workbench/inspectiondata/project/Georeference.h"

#include <ogr_spatialref.h>

#include <algorithm>

namespace inspection {

namespace {

/// Where both ends lie beyond the same edge the segment does not come near.
bool comesNear(const QPointF& a, const QPointF& b, const QRectF& ground) {
    return std::max(a.x(), b.x()) >= ground.left() && std::min(a.x(), b.x()) <= ground.right() &&
           std::max(a.y(), b.y()) >= ground.top() && std::min(a.y(), b.y()) <= ground.bottom();
}

void append(QPainterPath& path, const std::vector<QPointF>& part, const QRectF& ground) {
    bool isDrawing = false;
    for (std::size_t i = 0; i + 1 < part.size(); ++i) {
        const bool isNear = comesNear(part[i], part[i + 1], ground);
        if (isNear && !isDrawing) {
            path.moveTo(part[i]);
        }
        if (isNear) {
            path.lineTo(part[i + 1]);
        }
        isDrawing = isNear;
    }
}

} // namespace

QPainterPath pipelinePath(const Pipeline& pipeline, const QString& srs, const QRectF& ground) {
    const auto own = referenceOf(pipeline.crs());
    const auto target = referenceOf(srs);
    const Transformation transformation = own && target ? transformationBetween(*own, *target) : nullptr;
    QPainterPath path;
    if (!transformation) {
        return path;
    }
    for (std::vector<QPointF> part : pipeline.parts()) {
        for (QPointF& place : part) {
            double x = place.x();
            double y = place.y();
            if (transformation->Transform(1, &x, &y) == 0) {
                return {};
            }
            place = QPointF(x, y);
        }
        append(path, part, ground);
    }
    return path;
}

} // namespace inspection
