#pragma once

#include "workbench/inspectiondata/output/ReportCanvas.h"
#include "workbench/inspectiondata/output/ReportFacts.h"
#include "workbench/inspectiondata/pictures/RasterPicture.h"

#include <QImage>
#include <QRectF>

namespace inspection {

/// The three pictures of an anomaly and its surroundings, with its outline.
struct AnomalyPictures {
    QImage before;
    QImage after;
    QImage difference; ///< over pale relief; without data where the raster cannot be read
    QRectF ground;     ///< metres, a square
    DifferenceRamp ramp;
};

/// Side of a picture on the page.
constexpr int kAnomalyPicturePixels = 464;

AnomalyPictures anomalyPictures(const InspectionData& data, const AnomalyFacts& facts, int pixels);

/// Height of an anomaly's block on the page, millimetres.
constexpr double kAnomalyBlockHeight = 81.0;

/// Draws title, pictures with captions, scale and colour legend, and figures at the page's height `y`.
void drawAnomaly(ReportCanvas& canvas, double y, const InspectionData& data, const AnomalyFacts& facts,
                 const AnomalyPictures& pictures);

} // namespace inspection
