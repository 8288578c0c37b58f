#include "workbench/inspection/images/SwipePane.h"

#include <QMouseEvent>
#include <QPainter>

#include <algorithm>

namespace inspection {

SwipePane::SwipePane(GroundView& view, QWidget* parent) : GroundPane(view, parent) {
    setFocusPolicy(Qt::StrongFocus);
}

void SwipePane::setPictures(const GroundPicture& oldEpoch, const GroundPicture& newEpoch) {
    m_old = oldEpoch;
    m_new = newEpoch;
    update();
}

QRect SwipePane::oldSide() const {
    return {0, 0, m_divider.x(width()), height()};
}

QRect SwipePane::newSide() const {
    return {m_divider.x(width()), 0, width() - m_divider.x(width()), height()};
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

    m_divider.paint(painter, size(), hasFocus() ? palette().color(QPalette::Highlight) : QColor());
}

Qt::CursorShape SwipePane::cursorAt(const QPointF& pixel) const {
    const Qt::CursorShape shape = GroundPane::cursorAt(pixel);
    return m_divider.isAt(pixel, size()) && shape != Qt::PointingHandCursor ? Qt::SplitHCursor : shape;
}

void SwipePane::mousePressEvent(QMouseEvent* event) {
    if (event->button() != Qt::LeftButton || cursorAt(event->position()) != Qt::SplitHCursor) {
        GroundPane::mousePressEvent(event);
        return;
    }
    m_dragging = true;
    m_hold = m_divider.x(width()) - event->position().x();
}

void SwipePane::mouseMoveEvent(QMouseEvent* event) {
    if (m_dragging) {
        m_divider.setShare((event->position().x() + m_hold) / std::max(width(), 1));
        update();
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
    if (m_divider.takeKey(*event)) {
        update();
    } else {
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
