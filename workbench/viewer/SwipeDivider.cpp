#include "workbench/viewer/SwipeDivider.h"

#include <QKeyEvent>
#include <QPainter>

#include <algorithm>
#include <cmath>

namespace {

constexpr double kStep = 0.02;
constexpr double kLargeStep = 0.1;

} // namespace

void SwipeDivider::setShare(double share) {
    m_share = std::clamp(share, 0.0, 1.0);
}

int SwipeDivider::x(int width) const {
    return static_cast<int>(std::lround(m_share * width));
}

// Below the middle, where the profile's line usually runs.
QPointF SwipeDivider::handle(const QSize& size) const {
    return {static_cast<double>(x(size.width())), size.height() * 0.78};
}

bool SwipeDivider::isAt(const QPointF& pixel, const QSize& size) const {
    const QPointF offset = pixel - handle(size);
    return std::hypot(offset.x(), offset.y()) <= kHandleRadius || std::abs(offset.x()) <= kReach;
}

bool SwipeDivider::takeKey(const QKeyEvent& event) {
    const double step = event.modifiers().testFlag(Qt::ShiftModifier) ? kLargeStep : kStep;
    switch (event.key()) {
    case Qt::Key_Left:
        setShare(m_share - step);
        return true;
    case Qt::Key_Right:
        setShare(m_share + step);
        return true;
    case Qt::Key_Home:
        setShare(0.0);
        return true;
    case Qt::Key_End:
        setShare(1.0);
        return true;
    default:
        return false;
    }
}

void SwipeDivider::paint(QPainter& painter, const QSize& size, const QColor& focus) const {
    const QPointF centre = handle(size);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(QPen(QColor(0, 0, 0, 150), 4.0));
    painter.drawLine(QPointF(centre.x(), 0.0), QPointF(centre.x(), size.height()));
    painter.setPen(QPen(Qt::white, 2.0));
    painter.drawLine(QPointF(centre.x(), 0.0), QPointF(centre.x(), size.height()));

    painter.setPen(focus.isValid() ? QPen(focus, 3.0) : QPen(QColor(0, 0, 0, 150), 1.5));
    painter.setBrush(Qt::white);
    painter.drawEllipse(centre, kHandleRadius, kHandleRadius);
    painter.setPen(Qt::NoPen);
    painter.setBrush(QColor(50, 56, 64));
    for (const double side : {-1.0, 1.0}) {
        painter.drawPolygon(QPolygonF({centre + QPointF(side * 9.5, 0.0), centre + QPointF(side * 3.5, -5.5),
                                       centre + QPointF(side * 3.5, 5.5)}));
    }
}
