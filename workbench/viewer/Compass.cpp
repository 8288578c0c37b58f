#include "workbench/viewer/Compass.h"

#include <QPainter>

#include <cmath>

namespace {

constexpr int kSide = 56;
constexpr double kRadius = 26.0;
constexpr double kNeedle = 17.0;
constexpr double kNeedleHalfWidth = 5.5;

void drawHalfNeedle(QPainter& painter, double tip, const QColor& light, const QColor& dark) {
    painter.setBrush(light);
    painter.drawPolygon(QPolygonF({{0.0, tip}, {-kNeedleHalfWidth, 0.0}, {0.0, 0.0}}));
    painter.setBrush(dark);
    painter.drawPolygon(QPolygonF({{0.0, tip}, {kNeedleHalfWidth, 0.0}, {0.0, 0.0}}));
}

} // namespace

Compass::Compass(QWidget* parent) : QAbstractButton(parent) {
    setObjectName("compass");
    setToolTip(tr("指北针：单击使视图朝北"));
    setAccessibleName(tr("指北针"));
    setCursor(Qt::PointingHandCursor);
    setFocusPolicy(Qt::TabFocus);
    setAttribute(Qt::WA_Hover);
    resize(sizeHint());
}

void Compass::setHeading(double degrees) {
    if (std::abs(degrees - m_headingDegrees) < 0.05) {
        return;
    }
    m_headingDegrees = degrees;
    update();
}

QSize Compass::sizeHint() const {
    return {kSide, kSide};
}

bool Compass::hitButton(const QPoint& position) const {
    const QPointF fromCentre = QPointF(position) - QRectF(rect()).center();
    return std::hypot(fromCentre.x(), fromCentre.y()) <= kRadius;
}

void Compass::paintEvent(QPaintEvent* /*event*/) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.translate(QRectF(rect()).center());
    painter.setPen(
        QPen(hasFocus() ? QColor(24, 110, 200) : QColor(90, 100, 115, 160), hasFocus() ? 2.0 : 1.0));
    painter.setBrush(QColor(255, 255, 255, underMouse() ? 235 : 190));
    painter.drawEllipse(QPointF(0.0, 0.0), kRadius, kRadius);

    painter.rotate(-m_headingDegrees);
    painter.setPen(Qt::NoPen);
    drawHalfNeedle(painter, -kNeedle + 5.0, QColor(226, 74, 60), QColor(188, 50, 40));
    drawHalfNeedle(painter, kNeedle, QColor(150, 158, 170), QColor(118, 126, 140));
    QFont letter = font();
    letter.setPixelSize(11);
    letter.setBold(true);
    painter.setFont(letter);
    painter.setPen(QColor(40, 48, 60));
    painter.drawText(QRectF(-10.0, -kRadius + 1.0, 20.0, 13.0), Qt::AlignCenter, QStringLiteral("N"));
}
