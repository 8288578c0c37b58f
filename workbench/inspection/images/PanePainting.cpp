#include "workbench/inspection/images/PanePainting.h"

#include "workbench/inspectiondata/text/ScaleLength.h"

#include <QPainter>
#include <QPolygon>

#include <algorithm>
#include <utility>

namespace inspection {

namespace {

const QColor kBackground(38, 42, 48);
const QColor kPlate(0, 0, 0, 165);
const QColor kOutline(255, 236, 60);
const QColor kPipe(240, 120, 0);
const QColor kProfile(120, 230, 255);
const QColor kHighlighted(255, 255, 255);
constexpr double kGripRadius = 8.0;

/// Draws lines that stay legible on any picture: a dark band below a bright core.
template<typename Draw>
void paintCased(QPainter& painter, const QColor& core, double width, const Draw& draw) {
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setBrush(Qt::NoBrush);
    for (const auto& [colour, pixels] :
         {std::pair(QColor(0, 0, 0, 170), width + 2.0), std::pair(core, width)}) {
        QPen pen(colour, pixels);
        pen.setCosmetic(true);
        pen.setJoinStyle(Qt::RoundJoin);
        painter.setPen(pen);
        draw();
    }
}

} // namespace

void paintGround(QPainter& painter, const GroundPicture& picture, const QTransform& toPane,
                 const QRect& area) {
    painter.fillRect(area, kBackground);
    if (picture.image.isNull()) {
        return;
    }
    const QRectF target = toPane.mapRect(picture.ground);
    // Only the visible part is scaled, so that a close view does not cost a huge target.
    const QRectF visible = target.intersected(QRectF(area));
    if (visible.isEmpty()) {
        return;
    }
    // Beyond a few pixels per cell the cells themselves are what the inspector wants to see.
    const double pixelsPerCell = target.width() / picture.image.width();
    painter.setRenderHint(QPainter::SmoothPixmapTransform, pixelsPerCell < 6.0);
    const double cellsPerPixelX = picture.image.width() / target.width();
    const double cellsPerPixelY = picture.image.height() / target.height();
    const QRectF source((visible.x() - target.x()) * cellsPerPixelX,
                        (visible.y() - target.y()) * cellsPerPixelY, visible.width() * cellsPerPixelX,
                        visible.height() * cellsPerPixelY);
    painter.drawImage(visible, picture.image, source);
}

void paintReason(QPainter& painter, const GroundPicture& picture, const QRect& area) {
    if (!picture.image.isNull() || picture.reason.isEmpty()) {
        return;
    }
    constexpr int kRoom = 8;
    constexpr int kFlags = Qt::AlignCenter | Qt::TextWordWrap;
    const QRect within = area.adjusted(2 * kRoom, 2 * kRoom, -2 * kRoom, -2 * kRoom);
    const QRect text = painter.boundingRect(within, kFlags, picture.reason);
    // Outline and line may run through the same place.
    painter.fillRect(text.adjusted(-kRoom, -kRoom, kRoom, kRoom).intersected(area), kBackground);
    painter.setPen(QColor(190, 196, 204));
    painter.drawText(within, kFlags, picture.reason);
}

void paintTitlePlate(QPainter& painter, const QString& title, const QRect& area, Qt::Alignment side) {
    constexpr int kMargin = 4;
    constexpr int kRoom = 6; // between the plate's edge and its text
    const QFontMetrics metrics = painter.fontMetrics();
    const int mostText = area.width() - 2 * (kMargin + kRoom);
    if (title.isEmpty() || mostText < metrics.horizontalAdvance(QStringLiteral("前期…"))) {
        return;
    }
    const QString text = metrics.elidedText(title, Qt::ElideRight, mostText);
    const QSize size(metrics.horizontalAdvance(text) + 2 * kRoom, metrics.height() + kMargin);
    const int x =
        side.testFlag(Qt::AlignRight) ? area.right() + 1 - kMargin - size.width() : area.left() + kMargin;
    const QRect plate(QPoint(x, area.top() + kMargin), size);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(kPlate);
    painter.drawRoundedRect(plate, 3, 3);
    painter.setPen(Qt::white);
    painter.drawText(plate, Qt::AlignCenter, text);
}

void paintOutline(QPainter& painter, const QPainterPath& ground, const QTransform& toPane) {
    if (!ground.isEmpty()) {
        const QPainterPath outline = toPane.map(ground);
        paintCased(painter, kOutline, 1.6, [&] { painter.drawPath(outline); });
    }
}

void paintPipeline(QPainter& painter, const QPainterPath& ground, const QTransform& toPane) {
    if (!ground.isEmpty()) {
        const QPainterPath line = toPane.map(ground);
        paintCased(painter, kPipe, 2.0, [&] { painter.drawPath(line); });
    }
}

void paintProfileLine(QPainter& painter, const QLineF& ground, const QTransform& toPane, bool highlighted) {
    if (!(ground.length() > 0.0)) {
        return;
    }
    const QLineF line = toPane.map(ground);
    paintCased(painter, kProfile, highlighted ? 2.2 : 1.4, [&] { painter.drawLine(line); });
    paintGrip(painter, line.p1(), QStringLiteral("A"), highlighted);
    paintGrip(painter, line.p2(), QStringLiteral("B"), highlighted);
}

void paintGrip(QPainter& painter, const QPointF& at, const QString& letter, bool highlighted) {
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(QPen(QColor(10, 40, 50), 1.6));
    painter.setBrush(highlighted ? kHighlighted : kProfile);
    painter.drawEllipse(at, kGripRadius, kGripRadius);
    QFont font = painter.font();
    font.setPixelSize(11);
    font.setBold(true);
    painter.setFont(font);
    painter.drawText(QRectF(at.x() - kGripRadius, at.y() - kGripRadius, 2 * kGripRadius, 2 * kGripRadius),
                     Qt::AlignCenter, letter);
    painter.restore();
}

void paintScaleBar(QPainter& painter, const QTransform& toPane, const QRect& area) {
    const double metresPerPixel = 1.0 / toPane.m11();
    constexpr int kMargin = 6;
    constexpr int kTick = 5;
    constexpr int kLongest = 110;
    const int textHeight = painter.fontMetrics().height();
    const ScaleLength length = scaleLengthBelow(metresPerPixel * std::min(kLongest, area.width() / 3));
    const int textWidth = painter.fontMetrics().horizontalAdvance(length.text);
    const int pixels = qRound(length.metres / metresPerPixel);
    if (area.height() < 6 * textHeight || pixels < kTick || textWidth + 4 * kMargin > area.width() / 2) {
        return;
    }
    const int width = std::max(pixels, textWidth) + 2 * kMargin;
    const QRect plate(area.left() + kMargin, area.bottom() - kMargin - textHeight - kTick - 3, width,
                      textHeight + kTick + 4);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(kPlate);
    painter.drawRoundedRect(plate, 3, 3);
    painter.setRenderHint(QPainter::Antialiasing, false);
    painter.setPen(Qt::white);
    painter.drawText(QRect(plate.left(), plate.top(), width, textHeight), Qt::AlignCenter, length.text);
    const int left = plate.left() + (width - pixels) / 2;
    const int bottom = plate.bottom() - 2;
    painter.drawPolyline(QPolygon({QPoint(left, bottom - kTick), QPoint(left, bottom),
                                   QPoint(left + pixels, bottom), QPoint(left + pixels, bottom - kTick)}));
}

void paintCrosshair(QPainter& painter, const QPointF& at) {
    paintCased(painter, Qt::white, 1.0, [&] {
        painter.drawLine(at - QPointF(8, 0), at + QPointF(8, 0));
        painter.drawLine(at - QPointF(0, 8), at + QPointF(0, 8));
    });
}

} // namespace inspection
