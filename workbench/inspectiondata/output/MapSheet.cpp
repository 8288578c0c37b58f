#include "workbench/inspectiondata/output/MapSheet.h"

#include "workbench/inspectiondata/database/Outline.h"
#include "workbench/inspectiondata/text/ScaleLength.h"

#include <algorithm>
#include <cmath>

namespace inspection {

namespace {

constexpr double kFinestMillimetres = 0.05; ///< below the width of every pen

} // namespace

MapSheet::MapSheet(const QRectF& ground, const QRectF& page, double unitsPerMillimetre)
    : m_ground(ground), m_page(page), m_unitsPerMillimetre(unitsPerMillimetre) {
    const double scale = std::max(ground.width() / page.width(), ground.height() / page.height());
    m_ground.setSize({page.width() * scale, page.height() * scale});
    m_ground.moveCenter(ground.center());
}

QPointF MapSheet::toPage(double x, double y) const {
    return {m_page.left() + (x - m_ground.left()) / m_ground.width() * m_page.width(),
            m_page.bottom() - (y - m_ground.top()) / m_ground.height() * m_page.height()};
}

PictureWindow MapSheet::window(const QString& srs, double pixelsPerMillimetre) const {
    const auto pixels = [&](double units) {
        return std::max(1, static_cast<int>(std::lround(units / m_unitsPerMillimetre * pixelsPerMillimetre)));
    };
    return {srs,
            m_ground.left(),
            m_ground.top(),
            m_ground.right(),
            m_ground.bottom(),
            pixels(m_page.width()),
            pixels(m_page.height())};
}

void MapSheet::drawPicture(QPainter& painter, const QImage& picture) const {
    painter.drawImage(m_page, picture);
}

void MapSheet::drawFrame(QPainter& painter) const {
    painter.setBrush(Qt::NoBrush);
    painter.setPen(QPen(QColor(90, 90, 90), units(0.15)));
    painter.drawRect(m_page);
}

void MapSheet::drawPipeline(QPainter& painter, const Pipeline& pipeline, double widthMillimetres) const {
    painter.save();
    painter.setClipRect(m_page);
    painter.setBrush(Qt::NoBrush);
    for (const auto& part : pipeline.parts()) {
        QPolygonF line;
        for (const QPointF& point : part) {
            line << toPage(point.x(), point.y());
        }
        painter.setPen(
            QPen(Qt::white, units(widthMillimetres * 2.0), Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
        painter.drawPolyline(line);
        painter.setPen(
            QPen(QColor(230, 120, 0), units(widthMillimetres), Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
        painter.drawPolyline(line);
    }
    painter.restore();
}

void MapSheet::drawOutline(QPainter& painter, const std::string& wkt, const QColor& colour,
                           double widthMillimetres) const {
    QPainterPath path;
    for (const auto& ring : outlineRings(wkt)) {
        QPolygonF polygon;
        for (const osg::Vec3d& vertex : ring) {
            const QPointF point = toPage(vertex.x(), vertex.y());
            // What the pen cannot show would only make the page large and slow.
            if (polygon.isEmpty() || (point - polygon.last()).manhattanLength() > units(kFinestMillimetres)) {
                polygon << point;
            }
        }
        if (polygon.size() == 1) { // still a dot on a map of the whole corridor
            polygon << polygon.first() + QPointF(units(kFinestMillimetres), 0.0);
        }
        path.addPolygon(polygon);
        path.closeSubpath();
    }
    painter.save();
    painter.setClipRect(m_page);
    painter.setBrush(Qt::NoBrush);
    // Opaque, so that PDF strokes the line itself: a translucent pen is written as the area it covers.
    painter.setPen(
        QPen(Qt::white, units(widthMillimetres * 2.0), Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    painter.drawPath(path);
    painter.setPen(QPen(colour, units(widthMillimetres), Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    painter.drawPath(path);
    painter.restore();
}

void MapSheet::drawScaleBar(QPainter& painter, const QFont& font) const {
    const double unitsPerMetre = m_page.width() / m_ground.width();
    const ScaleLength scale = scaleLengthBelow(m_ground.width() * 0.3);
    const double length = scale.metres * unitsPerMetre;
    const QRectF plate(m_page.left() + units(1.2), m_page.bottom() - units(5.6), length + units(3.0),
                       units(4.4));
    painter.setPen(Qt::NoPen);
    painter.setBrush(QColor(255, 255, 255, 205));
    painter.drawRect(plate);
    painter.setPen(Qt::black);
    painter.setFont(font);
    painter.drawText(plate.adjusted(0.0, 0.0, 0.0, -units(1.2)), Qt::AlignCenter, scale.text);
    painter.setPen(QPen(Qt::black, units(0.3), Qt::SolidLine, Qt::FlatCap));
    const double y = plate.bottom() - units(0.9);
    const double x = plate.left() + units(1.5);
    painter.drawLine(QPointF(x, y), QPointF(x + length, y));
    painter.drawLine(QPointF(x, y - units(0.5)), QPointF(x, y + units(0.5)));
    painter.drawLine(QPointF(x + length, y - units(0.5)), QPointF(x + length, y + units(0.5)));
}

void MapSheet::drawNorthArrow(QPainter& painter, const QFont& font) const {
    const QRectF plate(m_page.right() - units(7.2), m_page.top() + units(1.2), units(6.0), units(9.0));
    painter.setPen(Qt::NoPen);
    painter.setBrush(QColor(255, 255, 255, 205));
    painter.drawRect(plate);
    const QPointF top(plate.center().x(), plate.top() + units(0.8));
    const double half = units(1.3);
    const double height = units(4.2);
    painter.setBrush(Qt::black);
    painter.drawPolygon(QPolygonF(
        {top, top + QPointF(half, height), top + QPointF(0.0, height * 0.75), top + QPointF(-half, height)}));
    painter.setPen(Qt::black);
    painter.setFont(font);
    painter.drawText(plate.adjusted(0.0, units(4.6), 0.0, 0.0), Qt::AlignCenter, QStringLiteral("北"));
}

QImage epochPicture(const Epoch& epoch, const PictureWindow& window) {
    if (!epoch.dom.isEmpty()) {
        if (auto picture = orthophotoPicture(epoch.dom, window)) {
            return std::move(*picture);
        }
    }
    return reliefPicture(epoch.dsm, window).value_or(QImage());
}

} // namespace inspection
