#include "workbench/inspection/images/SwipePane.h"

#include <QMouseEvent>
#include <QPainter>

#include <algorithm>
#include <cmath>

namespace inspection {

namespace {

constexpr double kHandleRadius = 14.0;
constexpr double kDividerReach = 5.0; ///< pixels beside the divider that still take hold of it
constexpr double kStep = 0.02;
constexpr double kLargeStep = 0.1;

} // namespace

SwipePane::SwipePane(GroundView& view, QWidget* parent) : GroundPane(view, parent) {
    setFocusPolicy(Qt::StrongFocus);
}

void SwipePane::setPictures(const GroundPicture& oldEpoch, const GroundPicture& newEpoch) {
    m_old = oldEpoch;
    m_new = newEpoch;
    update();
}

void SwipePane::setShare(double share) {
    m_share = std::clamp(share, 0.0, 1.0);
    update();
}

int SwipePane::dividerX() const {
    return static_cast<int>(std::lround(m_share * width()));
}

// Below the middle, where the profile's line usually runs.
QPointF SwipePane::handle() const {
    return {static_cast<double>(dividerX()), height() * 0.78};
}

QRect SwipePane::oldSide() const {
    return {0, 0, dividerX(), height()};
}

QRect SwipePane::newSide() const {
    return {dividerX(), 0, width() - dividerX(), height()};
}

bool SwipePane::isDivider(const QPointF& pixel) const {
    const QPointF offset = pixel - handle();
    return std::hypot(offset.x(), offset.y()) <= kHandleRadius || std::abs(offset.x()) <= kDividerReach;
}

void SwipePane::paintBelow(QPainter& painter) {
    const QTransform toPane = this->toPane();
    paintGround(painter, m_old, toPane, oldSide());
    paintGround(painter, m_new, toPane, newSide());
}

void SwipePane::paintAbove(QPainter& painter) {
    paintReason(painter, m_old, oldSide());
    paintReason(painter, m_new, newSide());
    paintTitlePlate(painter, m_old.title, oldSide(), Qt::AlignLeft);
    paintTitlePlate(painter, m_new.title, newSide(), Qt::AlignRight);
    if (!m_old.image.isNull() || !m_new.image.isNull()) {
        paintScaleBar(painter, toPane(), rect());
    }

    const double x = dividerX();
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(QPen(QColor(0, 0, 0, 150), 4.0));
    painter.drawLine(QPointF(x, 0.0), QPointF(x, height()));
    painter.setPen(QPen(Qt::white, 2.0));
    painter.drawLine(QPointF(x, 0.0), QPointF(x, height()));

    const QPointF centre = handle();
    painter.setPen(hasFocus() ? QPen(palette().color(QPalette::Highlight), 3.0)
                              : QPen(QColor(0, 0, 0, 150), 1.5));
    painter.setBrush(Qt::white);
    painter.drawEllipse(centre, kHandleRadius, kHandleRadius);
    painter.setPen(Qt::NoPen);
    painter.setBrush(QColor(50, 56, 64));
    for (const double side : {-1.0, 1.0}) {
        painter.drawPolygon(QPolygonF({centre + QPointF(side * 9.5, 0.0), centre + QPointF(side * 3.5, -5.5),
                                       centre + QPointF(side * 3.5, 5.5)}));
    }
}

Qt::CursorShape SwipePane::cursorAt(const QPointF& pixel) const {
    const Qt::CursorShape shape = GroundPane::cursorAt(pixel);
    return isDivider(pixel) && shape != Qt::PointingHandCursor ? Qt::SplitHCursor : shape;
}

void SwipePane::mousePressEvent(QMouseEvent* event) {
    if (event->button() != Qt::LeftButton || cursorAt(event->position()) != Qt::SplitHCursor) {
        GroundPane::mousePressEvent(event);
        return;
    }
    m_dragging = true;
    m_hold = dividerX() - event->position().x();
}

void SwipePane::mouseMoveEvent(QMouseEvent* event) {
    if (m_dragging) {
        setShare((event->position().x() + m_hold) / std::max(width(), 1));
    }
    GroundPane::mouseMoveEvent(event);
}

void SwipePane::mouseReleaseEvent(QMouseEvent* event) {
    if (event->button() == Qt::LeftButton) {
        m_dragging = false;
    }
    GroundPane::mouseReleaseEvent(event);
}

void SwipePane::keyPressEvent(QKeyEvent* event) {
    const double step = event->modifiers().testFlag(Qt::ShiftModifier) ? kLargeStep : kStep;
    switch (event->key()) {
    case Qt::Key_Left:
        setShare(m_share - step);
        return;
    case Qt::Key_Right:
        setShare(m_share + step);
        return;
    case Qt::Key_Home:
        setShare(0.0);
        return;
    case Qt::Key_End:
        setShare(1.0);
        return;
    default:
        GroundPane::keyPressEvent(event);
    }
}

// The handle shows whether the arrow keys move it.
void SwipePane::focusInEvent(QFocusEvent* event) {
    GroundPane::focusInEvent(event);
    update();
}

void SwipePane::focusOutEvent(QFocusEvent* event) {
    GroundPane::focusOutEvent(event);
    update();
}

} // namespace inspection
