#include "workbench/inspection/creation/PlanPreview.h"

#include "workbench/inspectiondata/pipeline/Pipeline.h"
#include "workbench/inspectiondata/text/ScaleLength.h"
#include "workbench/style/Theme.h"

#include <QMouseEvent>
#include <QPainter>
#include <QToolButton>
#include <QWheelEvent>
#include <QtMath>

#include <array>
#include <cmath>

namespace inspection {

namespace {

const QColor kPipe(0xc6, 0x28, 0x28);
const QColor kStation(0x5b, 0x67, 0x75);
constexpr int kMargin = 10;
constexpr double kBoxPixels = 3.0; ///< between the outlines of equal boxes

/// Text on a pale band, so that lines below do not disturb it.
void paintText(QPainter& painter, const QPointF& at, const QString& text) {
    const QRectF box = QRectF(painter.fontMetrics().boundingRect(text)).translated(at);
    painter.fillRect(box.adjusted(-2, 0, 2, 0), QColor(255, 255, 255, 205));
    painter.drawText(at, text);
}

/// A head of an arrow at the origin, to the east.
QPolygonF arrowHead() {
    return QPolygonF({{-7.0, -5.0}, {6.0, 0.0}, {-7.0, 5.0}, {-4.0, 0.0}});
}

} // namespace

QColor epochColour(std::size_t epoch) {
    // Told apart by all kinds of colour vision (Okabe and Ito, 2008).
    static const std::array<QColor, 6> colours{QColor(0x00, 0x72, 0xb2), QColor(0xe6, 0x9f, 0x00),
                                               QColor(0x00, 0x9e, 0x73), QColor(0xcc, 0x79, 0xa7),
                                               QColor(0x56, 0xb4, 0xe9), QColor(0x8c, 0x6d, 0x31)};
    return colours[epoch % colours.size()];
}

PlanPreview::PlanPreview(QWidget* parent) : QWidget(parent), m_fit(new QToolButton(this)) {
    setObjectName("planPreview");
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Expanding);
    setCursor(Qt::OpenHandCursor);
    setToolTip(tr("拖动移动，滚轮缩放，双击显示全部"));
    m_fit->setObjectName("fitPreview");
    m_fit->setText(tr("显示全部"));
    m_fit->setCursor(Qt::ArrowCursor);
    m_fit->setFocusPolicy(Qt::NoFocus);
    m_fit->hide();
    connect(m_fit, &QToolButton::clicked, this, &PlanPreview::fit);
    connect(&m_view, &GroundView::changed, this, QOverload<>::of(&PlanPreview::update));
}

void PlanPreview::setSketch(const PlanSketch& sketch) {
    m_sketch = sketch;
    m_fit->setVisible(!extentOf(sketch).isEmpty());
    const QRectF extent = extentOf(sketch);
    if (extent != m_extent) {
        m_extent = extent;
        fit();
    }
    update();
}

void PlanPreview::fit() {
    constexpr double kRoom = 0.08; // of the extent, on each side
    m_isFitted = true;
    const double dx = m_extent.width() * kRoom;
    const double dy = m_extent.height() * kRoom;
    m_view.show(m_extent.adjusted(-dx, -dy, dx, dy), size());
}

void PlanPreview::resizeEvent(QResizeEvent* /*event*/) {
    m_fit->adjustSize();
    m_fit->move(width() - m_fit->width() - kMargin, height() - m_fit->height() - kMargin);
    if (m_isFitted) {
        fit();
    }
}

void PlanPreview::paintEvent(QPaintEvent* /*event*/) {
    QPainter painter(this);
    painter.fillRect(rect(), theme::kSurface);
    painter.setRenderHint(QPainter::Antialiasing);
    if (m_extent.isEmpty()) {
        painter.setPen(kStation);
        painter.drawText(rect().adjusted(2 * kMargin, 0, -2 * kMargin, 0), Qt::AlignCenter | Qt::TextWordWrap,
                         tr("添加各期数据后，此处显示范围、管道和站段"));
    } else {
        paintCoverages(painter);
        paintStations(painter);
        paintLine(painter);
        paintLegend(painter);
        paintScaleBar(painter);
    }
    painter.setPen(theme::kBorder);
    painter.setBrush(Qt::NoBrush);
    painter.drawRect(QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5));
}

void PlanPreview::paintCoverages(QPainter& painter) const {
    const QTransform transform = toPixels();
    for (std::size_t i = 0; i < m_sketch.epochs.size(); ++i) {
        const QColor colour = epochColour(i);
        QColor fill = colour;
        fill.setAlpha(38);
        painter.setPen(QPen(colour, 2.0, i % 2 == 0 ? Qt::SolidLine : Qt::DashLine));
        painter.setBrush(fill);
        // Equal boxes lie inside each other, so that every epoch is seen.
        const double inset = kBoxPixels * double(i);
        painter.drawRect(transform.mapRect(m_sketch.epochs[i].box).adjusted(inset, inset, -inset, -inset));
    }
    if (!m_sketch.overlap.isEmpty()) {
        painter.setPen(Qt::NoPen);
        painter.setBrush(QBrush(QColor(0x2e, 0x9e, 0x5b, 70), Qt::BDiagPattern));
        painter.drawRect(transform.mapRect(m_sketch.overlap));
    }
}

void PlanPreview::paintStations(QPainter& painter) const {
    const QTransform transform = toPixels();
    painter.setPen(QPen(kStation, 1.0));
    painter.setBrush(QColor(255, 255, 255, 90));
    for (const QRectF& station : m_sketch.stations) {
        painter.drawRect(transform.mapRect(station));
    }
}

void PlanPreview::paintLine(QPainter& painter) const {
    if (m_sketch.line.size() < 2) {
        return;
    }
    const QTransform transform = toPixels();
    painter.setBrush(Qt::NoBrush);
    painter.setPen(QPen(kPipe, 2.5, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    painter.drawPolyline(transform.map(m_sketch.line));
    for (const LineMark& mark : marksAlong(m_sketch, markStep(m_view.metresPerPixel()))) {
        const QPointF at = transform.map(mark.place);
        if (!rect().contains(at.toPoint())) {
            continue;
        }
        painter.save();
        painter.translate(at);
        painter.rotate(qRadiansToDegrees(std::atan2(-mark.direction.y(), mark.direction.x())));
        painter.setPen(QPen(Qt::white, 1.0));
        painter.setBrush(kPipe);
        painter.drawPolygon(arrowHead());
        painter.restore();
        const QString text = chainageText(mark.chainageMetres);
        const double widest = painter.fontMetrics().horizontalAdvance(text) + kMargin;
        painter.setPen(theme::kText);
        paintText(painter, QPointF(qMin(at.x() + 8, width() - widest), at.y() - 8), text);
    }
}

void PlanPreview::paintLegend(QPainter& painter) const {
    const int line = painter.fontMetrics().height() + 4;
    QStringList entries;
    for (const PlanSketch::Coverage& epoch : m_sketch.epochs) {
        entries << epoch.title;
    }
    if (!m_sketch.overlap.isEmpty()) {
        entries << tr("共同范围");
    }
    int widest = 0;
    for (const QString& entry : entries) {
        widest = qMax(widest, painter.fontMetrics().horizontalAdvance(entry));
    }
    const QRect plate(kMargin, kMargin, widest + 38, int(entries.size()) * line + 8);
    painter.setPen(theme::kBorder);
    painter.setBrush(QColor(255, 255, 255, 225));
    painter.drawRect(plate);
    for (int i = 0; i < entries.size(); ++i) {
        const QRect swatch(plate.left() + 8, plate.top() + 4 + i * line + (line - 10) / 2, 16, 10);
        const bool isEpoch = std::size_t(i) < m_sketch.epochs.size();
        const QColor colour = isEpoch ? epochColour(std::size_t(i)) : theme::kSuccess;
        QColor fill = colour;
        fill.setAlpha(70);
        painter.setPen(QPen(colour, 1.5));
        painter.setBrush(isEpoch ? QBrush(fill) : QBrush(colour, Qt::BDiagPattern));
        painter.drawRect(swatch);
        painter.setPen(theme::kText);
        painter.drawText(QRect(swatch.right() + 7, plate.top() + 4 + i * line, widest + 4, line),
                         Qt::AlignVCenter | Qt::AlignLeft, entries[i]);
    }
}

void PlanPreview::paintScaleBar(QPainter& painter) const {
    constexpr double kMostPixels = 120.0;
    const ScaleLength length = scaleLengthBelow(m_view.metresPerPixel() * kMostPixels);
    const double pixels = length.metres / m_view.metresPerPixel();
    const QPointF start(kMargin, height() - kMargin - 2);
    painter.setPen(QPen(theme::kText, 1.5));
    painter.setBrush(Qt::NoBrush);
    painter.drawPolyline(
        QPolygonF({start - QPointF(0, 6), start, start + QPointF(pixels, 0), start + QPointF(pixels, -6)}));
    paintText(painter, start + QPointF(6, -5), length.text);
}

void PlanPreview::mousePressEvent(QMouseEvent* event) {
    m_dragFrom = event->position().toPoint();
    setCursor(Qt::ClosedHandCursor);
}

void PlanPreview::mouseMoveEvent(QMouseEvent* event) {
    if (event->buttons() & Qt::LeftButton) {
        const QPoint pixels = event->position().toPoint() - m_dragFrom;
        m_dragFrom = event->position().toPoint();
        m_isFitted = false;
        m_view.moveBy(QPointF(-pixels.x(), pixels.y()) * m_view.metresPerPixel());
    }
}

void PlanPreview::mouseReleaseEvent(QMouseEvent* /*event*/) {
    setCursor(Qt::OpenHandCursor);
}

void PlanPreview::mouseDoubleClickEvent(QMouseEvent* /*event*/) {
    fit();
}

void PlanPreview::wheelEvent(QWheelEvent* event) {
    constexpr double kDegreesPerDoubling = 45.0;
    const double degrees = event->angleDelta().y() / 8.0;
    m_isFitted = false;
    m_view.zoomAt(toPixels().inverted().map(event->position()), std::pow(2.0, degrees / kDegreesPerDoubling));
    event->accept();
}

} // namespace inspection
