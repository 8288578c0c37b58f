#include "workbench/inspection/windows/PicturePane.h"

#include "workbench/inspection/windows/GroundView.h"

#include <QMouseEvent>
#include <QPainter>
#include <QWheelEvent>

#include <cmath>

namespace inspection {

namespace {

const QColor kBackground(38, 42, 48);
const QColor kPlate(0, 0, 0, 150);

/// Draws lines that stay legible on any picture: a dark band below a bright core.
template<typename Draw>
void paintCased(QPainter& painter, const QColor& core, double width, const Draw& draw) {
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

PicturePane::PicturePane(GroundView& view, const QString& title, QWidget* parent)
    : QWidget(parent), m_view(view), m_title(title) {
    setMouseTracking(true);
    setCursor(Qt::CrossCursor);
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Expanding);
    connect(&view, SIGNAL(changed()), this, SLOT(update()));
    connect(&view, SIGNAL(pointerMoved()), this, SLOT(update()));
}

void PicturePane::setTitle(const QString& title) {
    m_title = title;
    update();
}

void PicturePane::setPicture(const QImage& picture, const QRectF& ground, const QString& reason) {
    m_picture = picture;
    m_pictureGround = ground;
    m_reason = reason;
    update();
}

void PicturePane::setOutline(const QPainterPath& ground) {
    m_outline = ground;
    update();
}

void PicturePane::setProfileLine(const QLineF& ground) {
    m_profileLine = ground;
    update();
}

void PicturePane::paintEvent(QPaintEvent* /*event*/) {
    QPainter painter(this);
    painter.fillRect(rect(), kBackground);
    if (m_picture.isNull()) {
        painter.setPen(QColor(190, 196, 204));
        painter.drawText(rect().adjusted(12, 12, -12, -12), Qt::AlignCenter | Qt::TextWordWrap, m_reason);
    } else {
        paintPicture(painter);
        paintMarks(painter);
        paintOver(painter);
    }
    paintTitle(painter);
}

void PicturePane::paintPicture(QPainter& painter) const {
    const QTransform toPane = m_view.toPane(size());
    const QRectF target = toPane.mapRect(m_pictureGround);
    // Beyond a few pixels per cell the cells themselves are what the inspector wants to see.
    const double pixelsPerCell = target.width() / m_picture.width();
    painter.setRenderHint(QPainter::SmoothPixmapTransform, pixelsPerCell < 6.0);

    // Only the visible part is scaled, so that a close view does not cost a huge target.
    const QRectF visible = target.intersected(QRectF(rect()));
    if (visible.isEmpty()) {
        return;
    }
    const double cellsPerPixelX = m_picture.width() / target.width();
    const double cellsPerPixelY = m_picture.height() / target.height();
    const QRectF source((visible.x() - target.x()) * cellsPerPixelX,
                        (visible.y() - target.y()) * cellsPerPixelY, visible.width() * cellsPerPixelX,
                        visible.height() * cellsPerPixelY);
    painter.drawImage(visible, m_picture, source);
}

void PicturePane::paintMarks(QPainter& painter) const {
    painter.setRenderHint(QPainter::Antialiasing);
    const QTransform toPane = m_view.toPane(size());
    painter.setBrush(Qt::NoBrush);
    if (!m_outline.isEmpty()) {
        const QPainterPath outline = toPane.map(m_outline);
        paintCased(painter, QColor(255, 236, 60), 1.6, [&] { painter.drawPath(outline); });
    }
    if (m_profileLine.length() > 0.0) {
        const QLineF line = toPane.map(m_profileLine);
        paintCased(painter, QColor(120, 230, 255), 1.2, [&] { painter.drawLine(line); });
        painter.setPen(Qt::NoPen);
        painter.setBrush(QColor(120, 230, 255));
        painter.drawEllipse(line.p1(), 3.0, 3.0);
        painter.setBrush(Qt::NoBrush);
    }
    if (const auto pointer = m_view.pointer(); pointer && !underMouse()) {
        const QPointF at = toPane.map(*pointer);
        paintCased(painter, Qt::white, 1.0, [&] {
            painter.drawLine(at - QPointF(8, 0), at + QPointF(8, 0));
            painter.drawLine(at - QPointF(0, 8), at + QPointF(0, 8));
        });
    }
}

void PicturePane::paintOver(QPainter& /*painter*/) {}

void PicturePane::paintTitle(QPainter& painter) const {
    if (m_title.isEmpty()) {
        return;
    }
    painter.setRenderHint(QPainter::Antialiasing);
    const QString text = fontMetrics().elidedText(m_title, Qt::ElideRight, width() - 20);
    const QRect plate(4, 4, fontMetrics().horizontalAdvance(text) + 12, fontMetrics().height() + 4);
    painter.setPen(Qt::NoPen);
    painter.setBrush(kPlate);
    painter.drawRoundedRect(plate, 3, 3);
    painter.setPen(Qt::white);
    painter.drawText(plate, Qt::AlignCenter, text);
}

QPointF PicturePane::groundAt(const QPointF& pixel) const {
    return m_view.toPane(size()).inverted().map(pixel);
}

void PicturePane::mousePressEvent(QMouseEvent* event) {
    if (event->button() == Qt::LeftButton) {
        m_dragging = true;
        m_dragFrom = event->position().toPoint();
        setCursor(Qt::ClosedHandCursor);
    }
}

void PicturePane::mouseMoveEvent(QMouseEvent* event) {
    if (m_dragging) {
        const QPoint at = event->position().toPoint();
        const QPoint pixels = at - m_dragFrom;
        m_dragFrom = at;
        m_view.moveBy(QPointF(-pixels.x(), pixels.y()) * m_view.metresPerPixel());
    }
    m_view.setPointer(groundAt(event->position()));
}

void PicturePane::mouseReleaseEvent(QMouseEvent* event) {
    if (event->button() == Qt::LeftButton) {
        m_dragging = false;
        setCursor(Qt::CrossCursor);
    }
}

void PicturePane::mouseDoubleClickEvent(QMouseEvent* event) {
    if (event->button() == Qt::LeftButton) {
        emit fitRequested();
    }
}

void PicturePane::wheelEvent(QWheelEvent* event) {
    constexpr double kDegreesPerDoubling = 45.0;
    const double degrees = event->angleDelta().y() / 8.0;
    m_view.zoomAt(groundAt(event->position()), std::pow(2.0, degrees / kDegreesPerDoubling));
    event->accept();
}

void PicturePane::leaveEvent(QEvent* /*event*/) {
    m_view.setPointer(std::nullopt);
}

} // namespace inspection
