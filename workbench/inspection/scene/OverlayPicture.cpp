#include "workbench/inspection/scene/OverlayPicture.h"

#include "host/Gbk.h"
#include "workbench/inspectiondata/pictures/OutlinePath.h"
#include "workbench/inspectiondata/pictures/RasterPicture.h"
#include "workbench/inspectiondata/text/AnomalyTexts.h"

#include <QPainter>

#include <algorithm>
#include <cmath>
#include <cstring>

namespace inspection {

namespace {

constexpr double kEdgeShare = 0.04; ///< room around the bounds, as part of the longer side
constexpr double kFinestMetresPerPixel = 0.04;
constexpr int kLeastPixels = 48;
constexpr double kTint = 0.5; ///< least opacity within the outline
/// Of the differences, at most: what is judged has to be seen through them, also when a selection colours them all
/// in yellow; the line along the outline then stands out by itself.
constexpr double kDifferences = 0.4;
constexpr double kLessWhenJudged = 0.45; ///< of both
const QColor kFalseAlarmColour(0x70, 0x76, 0x80);

/// How an anomaly is drawn, by what the inspector thinks of it.
struct Look {
    QColor line;
    QColor tint;
    double differences = kDifferences;
    Qt::PenStyle dashes = Qt::SolidLine;
};

Look lookOf(const SdiffData& anomaly, const OverlayStyle& style) {
    const QColor kind = anomaly.isFill ? style.fill : style.cut;
    Look look{kind.darker(140), kind};
    double tint = kTint;
    const Judgement judgement = judgementOf(anomaly);
    if (judgement != Judgement::Open) {
        look.dashes = Qt::CustomDashLine;
        look.differences *= kLessWhenJudged;
        tint *= kLessWhenJudged;
    }
    if (judgement == Judgement::FalseAlarm) {
        look.line = look.tint = kFalseAlarmColour;
        look.differences = 0.0;
    }
    look.tint.setAlphaF(static_cast<float>(tint));
    return look;
}

void drawEdge(QPainter& painter, const QPainterPath& outline, const Look& look, double widthPixels) {
    QPen casing(QColor(255, 255, 255, 235), widthPixels * 2.0, Qt::SolidLine, Qt::FlatCap, Qt::RoundJoin);
    QPen line(look.line, widthPixels, look.dashes, Qt::FlatCap, Qt::RoundJoin);
    if (look.dashes == Qt::CustomDashLine) {
        line.setDashPattern({4.0, 3.0});
    }
    painter.strokePath(outline, casing);
    painter.strokePath(outline, line);
}

QTransform groundToPicture(const QRectF& ground, const QSize& pixels) {
    QTransform transform;
    transform.scale(pixels.width() / ground.width(), -pixels.height() / ground.height());
    transform.translate(-ground.left(), -ground.bottom());
    return transform;
}

QImage differences(const SdiffData& anomaly, const OverlayStyle& style, const QRectF& ground,
                   const QSize& pixels) {
    const PictureWindow window{style.srs,       ground.left(),  ground.top(),   ground.right(),
                               ground.bottom(), pixels.width(), pixels.height()};
    const DifferenceRamp ramp{style.fill, style.cut,
                              scaleEndMetres(std::abs(largestDifferenceMetres(anomaly))), 0.0};
    return differencePicture(style.dzRaster, window, ramp).value_or(QImage());
}

} // namespace

Judgement judgementOf(const SdiffData& anomaly) {
    static const std::string falseAlarm = toGbk(QStringLiteral("误报"));
    return anomaly.attribute.empty()         ? Judgement::Open
           : anomaly.attribute == falseAlarm ? Judgement::FalseAlarm
                                             : Judgement::Judged;
}

QRectF overlayGround(const SdiffData& anomaly) {
    const double width = std::max(anomaly.xMax - anomaly.xMin, 0.1);
    const double height = std::max(anomaly.yMax - anomaly.yMin, 0.1);
    const double room = std::max(width, height) * kEdgeShare;
    return QRectF(anomaly.xMin, anomaly.yMin, width, height).adjusted(-room, -room, room, room);
}

QSize overlayPixels(const SdiffData& anomaly, int longerSide) {
    const QRectF ground = overlayGround(anomaly);
    const double perMetre = longerSide / std::max(ground.width(), ground.height());
    return {std::max(1, static_cast<int>(std::lround(ground.width() * perMetre))),
            std::max(1, static_cast<int>(std::lround(ground.height() * perMetre)))};
}

QImage overlayPicture(const SdiffData& anomaly, const OverlayStyle& style) {
    const QRectF ground = overlayGround(anomaly);
    const double cells = std::ceil(std::max(ground.width(), ground.height()) / kFinestMetresPerPixel);
    const double pixels =
        std::clamp(cells, static_cast<double>(kLeastPixels), static_cast<double>(style.mostPixels));
    return overlayPicture(anomaly, style, {static_cast<int>(pixels), std::max(1.5, pixels * 0.012)});
}

QImage overlayPicture(const SdiffData& anomaly, const OverlayStyle& style, const OverlayDetail& detail) {
    const QRectF ground = overlayGround(anomaly);
    const QSize pixels = overlayPixels(anomaly, detail.pixels);
    QImage picture(pixels, QImage::Format_ARGB32_Premultiplied);
    picture.fill(Qt::transparent);
    QPainter painter(&picture);
    painter.setRenderHint(QPainter::Antialiasing);
    const QPainterPath outline = groundToPicture(ground, pixels).map(outlinePath(anomaly.outlineWkt));
    const Look look = lookOf(anomaly, style);

    painter.setClipPath(outline);
    painter.fillPath(outline, look.tint);
    const QImage colours = differences(anomaly, style, ground, pixels);
    if (!colours.isNull()) {
        painter.setOpacity(look.differences);
        painter.drawImage(picture.rect(), colours);
        painter.setOpacity(1.0);
    }
    painter.setClipping(false);
    drawEdge(painter, outline, look, detail.edgePixels);
    painter.end();
    return picture;
}

osg::ref_ptr<osg::Image> osgPicture(const QImage& picture) {
    const QImage rows = picture.convertToFormat(QImage::Format_RGBA8888).mirrored(false, true);
    osg::ref_ptr<osg::Image> image = new osg::Image;
    image->allocateImage(rows.width(), rows.height(), 1, GL_RGBA, GL_UNSIGNED_BYTE);
    for (int row = 0; row < rows.height(); ++row) {
        std::memcpy(image->data(0, row), rows.constScanLine(row), static_cast<std::size_t>(rows.width()) * 4);
    }
    return image;
}

double scaleEndMetres(double largestMetres) {
    constexpr double kLeastMetres = 0.5;
    if (!(largestMetres > kLeastMetres)) {
        return kLeastMetres;
    }
    const double decade = std::pow(10.0, std::floor(std::log10(largestMetres)));
    for (const double multiple : {1.0, 2.0, 3.0, 5.0}) {
        if (largestMetres <= multiple * decade * (1.0 + 1e-9)) {
            return multiple * decade;
        }
    }
    return 10.0 * decade;
}

} // namespace inspection
