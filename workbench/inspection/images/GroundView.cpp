#include "workbench/inspection/images/GroundView.h"

#include <algorithm>

namespace inspection {

namespace {
constexpr double kFinestMetresPerPixel = 0.002;
constexpr double kCoarsestMetresPerPixel = 1000.0;
} // namespace

GroundView::GroundView(QObject* parent) : QObject(parent) {}

void GroundView::show(const QRectF& ground, const QSize& pane) {
    m_centre = ground.center();
    const double perColumn = ground.width() / std::max(pane.width(), 1);
    const double perRow = ground.height() / std::max(pane.height(), 1);
    m_metresPerPixel =
        std::clamp(std::max(perColumn, perRow), kFinestMetresPerPixel, kCoarsestMetresPerPixel);
    emit changed();
}

void GroundView::moveBy(const QPointF& groundMetres) {
    m_centre += groundMetres;
    emit changed();
}

void GroundView::zoomAt(const QPointF& ground, double factor) {
    const double wanted =
        std::clamp(m_metresPerPixel / factor, kFinestMetresPerPixel, kCoarsestMetresPerPixel);
    m_centre = ground + (m_centre - ground) * (wanted / m_metresPerPixel);
    m_metresPerPixel = wanted;
    emit changed();
}

void GroundView::setPointer(const std::optional<QPointF>& ground) {
    if (ground != m_pointer) {
        m_pointer = ground;
        emit pointerMoved();
    }
}

QTransform GroundView::toPane(const QSize& pane) const {
    QTransform transform;
    transform.translate(pane.width() / 2.0, pane.height() / 2.0);
    transform.scale(1.0 / m_metresPerPixel, -1.0 / m_metresPerPixel);
    transform.translate(-m_centre.x(), -m_centre.y());
    return transform;
}

} // namespace inspection
