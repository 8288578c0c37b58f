#pragma once

#include "host/inspection/Station.h"

#include <QColor>
#include <QImage>
#include <QRectF>
#include <QString>

namespace inspection {

/// What the pictures of a station's anomalies have in common.
struct OverlayStyle {
    QString dzRaster; ///< elevation differences of the station
    QString srs;      ///< the station's reference system
    QColor fill;
    QColor cut;
    int mostPixels = 256; ///< of a picture's longer side
};

/// The ground that an anomaly's picture covers: its bounds and room for the edge line, in the station's
/// reference system, metres. y runs north, so that the rectangle's top() is the southern edge.
QRectF overlayGround(const SdiffData& anomaly);

/// The anomaly's elevation differences in colour, transparent outside its outline, with an edge line. North
/// is up. Without a readable raster the outline is filled in the colour of its kind. Any thread.
QImage overlayPicture(const SdiffData& anomaly, const OverlayStyle& style);

/// A round end for a colour scale that reaches up to `largestMetres`: 1, 2, 3 or 5 times a power of ten, at
/// least 0.5 m.
double scaleEndMetres(double largestMetres);

} // namespace inspection
