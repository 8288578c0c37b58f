#include "workbench/inspection/images/GroundPane.h"

#include "workbench/inspection/images/GroundView.h"

#include <QMouseEvent>
#include <QPainter>
#include <QWheelEvent>

#include <cmath>

namespace inspection {

using Grip = ProfileLineEditor::Grip;

GroundPane::GroundPane(GroundView& view, QWidget* parent) : QWidget(parent), m_view(view) {
    setMouseTracking(true);
    setFocusPolicy(Qt::ClickFocus); // Escape goes to the pane that is dragged in
    setCursor(Qt::CrossCursor);
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Expanding);
    connect(&view, SIGNAL(changed()), this, SLOT(update()));
    connect(&view, SIGNAL(pointerMoved()), this, SLOT(update()));
}

void GroundPane::setPipeline(const QPainterPath& ground) {
    m_pipeline = ground;
    update();
}

void GroundPane::setOutline(const QPainterPath& ground) {
    m_outline = ground;
    update();
}

void GroundPane::setProfileLine(const QLineF& ground) {
    if (ground != m_line.line()) {
        m_line.setLine(ground);
        update();
    }
}

QTransform GroundPane::toPane() const {
    return m_view.toPane(size());
}

void GroundPane::paintEvent(QPaintEvent* /*event*/) {
    QPainter painter(this);
    paintBelow(painter);
    const QTransform toPane = this->toPane();
    paintPipeline(painter, m_pipeline, toPane);
    paintOutline(painter, m_outline, toPane);
    paintProfileLine(painter, m_line.line(), toPane, m_line.isDragging() || m_hovered != Grip::None);
    if (const auto pointer = m_view.pointer(); pointer && isCrosshairShown()) {
        paintCrosshair(painter, toPane.map(*pointer));
    }
    paintAbove(painter);
}

// The pane with the pointer has the cursor itself.
bool GroundPane::isCrosshairShown() const {
    return m_view.pointer() && !underMouse();
}

Qt::CursorShape GroundPane::cursorAt(const QPointF& pixel) const {
    switch (m_line.gripAt(pixel, toPane())) {
    case Grip::Start:
    case Grip::End:
        return Qt::PointingHandCursor;
    case Grip::Body:
        return Qt::SizeAllCursor;
    case Grip::None:
        break;
    }
    return Qt::CrossCursor;
}

void GroundPane::hover(const QPointF& pixel) {
    setCursor(cursorAt(pixel));
    const Grip grip = m_line.gripAt(pixel, toPane());
    if (grip != m_hovered) {
        m_hovered = grip;
        update();
    }
}

void GroundPane::mousePressEvent(QMouseEvent* event) {
    if (event->button() != Qt::LeftButton) {
        return;
    }
    if (m_line.begin(event->position(), toPane())) {
        m_drag = Drag::Line;
        setCursor(m_line.dragged() == Grip::Body ? Qt::SizeAllCursor : Qt::ClosedHandCursor);
    } else {
        m_drag = Drag::Ground;
        m_dragFrom = event->position().toPoint();
        setCursor(Qt::ClosedHandCursor);
    }
}

void GroundPane::mouseMoveEvent(QMouseEvent* event) {
    if (m_drag == Drag::Ground) {
        const QPoint at = event->position().toPoint();
        const QPoint pixels = at - m_dragFrom;
        m_dragFrom = at;
        m_view.moveBy(QPointF(-pixels.x(), pixels.y()) * m_view.metresPerPixel());
    } else if (m_drag == Drag::Line) {
        if (m_line.moveTo(event->position(), toPane())) {
            update();
            emit profileLineDragged(m_line.line());
        }
    } else if (event->buttons() == Qt::NoButton) {
        hover(event->position());
    }
    m_view.setPointer(toPane().inverted().map(event->position()));
}

void GroundPane::mouseReleaseEvent(QMouseEvent* event) {
    if (event->button() == Qt::LeftButton) {
        m_drag = Drag::None;
        m_line.finish();
        hover(event->position());
    }
}

void GroundPane::mouseDoubleClickEvent(QMouseEvent* event) {
    if (event->button() == Qt::LeftButton) {
        m_drag = Drag::None;
        m_line.finish();
        emit fitRequested();
    }
}

void GroundPane::wheelEvent(QWheelEvent* event) {
    constexpr double kDegreesPerDoubling = 45.0;
    const double degrees = event->angleDelta().y() / 8.0;
    m_view.zoomAt(toPane().inverted().map(event->position()), std::pow(2.0, degrees / kDegreesPerDoubling));
    event->accept();
}

void GroundPane::keyPressEvent(QKeyEvent* event) {
    if (event->key() != Qt::Key_Escape || !m_line.isDragging()) {
        QWidget::keyPressEvent(event);
        return;
    }
    m_drag = Drag::None; // the button is still down: what follows drags nothing
    m_line.cancel();
    setCursor(Qt::CrossCursor);
    update();
    emit profileLineDragged(m_line.line());
}

void GroundPane::leaveEvent(QEvent* /*event*/) {
    m_hovered = Grip::None;
    m_view.setPointer(std::nullopt);
}

} // namespace inspection
