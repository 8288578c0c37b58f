#pragma once

#include "host/inspection/Station.h"

#include <osg/Image>
#include <osg/ref_ptr>

#include <QColor>
#include <QImage>
#include <QRectF>
#include <QSize>
#include <QString>

namespace inspection {

/// What the pictures of a station's anomalies have in common.
struct OverlayStyle {
    QString dzRaster; ///< elevation differences of the station
    QString srs;      ///< the station's reference system
    QColor fill;
    QColor cut;
    int mostPixels = 256; ///< of the longer side of a picture that is not painted for a near view
};

/// How far the inspector has come with an anomaly.
enum class Judgement { Open, Judged, FalseAlarm };
/// Of the anomaly's verdict.
Judgement judgementOf(const SdiffData& anomaly);

/// How finely an anomaly is painted.
struct OverlayDetail {
    int pixels = 256;        ///< of the picture's longer side
    double edgePixels = 3.0; ///< width of the line along the outline
};

/// The ground that an anomaly's picture covers: its bounds and room for the edge line, in the station's
/// reference system, metres. y runs north, so that the rectangle's top() is the southern edge.
QRectF overlayGround(const SdiffData& anomaly);

/// The size of a picture of overlayGround() whose longer side has that many pixels.
QSize overlayPixels(const SdiffData& anomaly, int longerSide);

/// The anomaly's elevation differences in colour, transparent outside its outline, with an edge line: whole while it
/// waits for a verdict, dashed and paler afterwards, grey for a false alarm. North is up. Without a readable raster the
/// outline is filled in the colour of its kind. Any thread.
QImage overlayPicture(const SdiffData& anomaly, const OverlayStyle& style, const OverlayDetail& detail);
/// The same in the detail that is enough from afar.
QImage overlayPicture(const SdiffData& anomaly, const OverlayStyle& style);

/// The picture as an overlay takes it. Any thread.
osg::ref_ptr<osg::Image> osgPicture(const QImage& picture);

/// A round end for a colour scale that reaches up to `largestMetres`: 1, 2, 3 or 5 times a power of ten, at
/// least 0.5 m.
double scaleEndMetres(double largestMetres);

} // namespace inspection
