#include "workbench/viewer/ScaleBar.h"

#include <QPainter>

#include <algorithm>
#include <cmath>

namespace {

constexpr int kLongestPixels = 140;
constexpr int kMargin = 8;
constexpr double kTick = 6.0;

} // namespace

using inspection::ScaleLength;

ScaleBar::ScaleBar(QWidget* parent) : QWidget(parent) {
    setObjectName("scaleBar");
    setAttribute(Qt::WA_TransparentForMouseEvents);
    resize(sizeHint());
}

void ScaleBar::setMetresPerPixel(double metresPerPixel) {
    const ScaleLength length = inspection::scaleLengthBelow(metresPerPixel * kLongestPixels);
    const double pixels = length.metres / metresPerPixel;
    if (length.text == m_length.text && std::abs(pixels - m_pixels) < 0.5) {
        return;
    }
    m_length = length;
    m_pixels = pixels;
    update();
}

QSize ScaleBar::sizeHint() const {
    return {kLongestPixels + 2 * kMargin, fontMetrics().height() + 16};
}

void ScaleBar::paintEvent(QPaintEvent* /*event*/) {
    if (m_pixels <= 0.0) {
        return;
    }
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(QColor(255, 255, 255, 190));
    painter.drawRoundedRect(QRectF(0.0, 0.0, m_pixels + 2.0 * kMargin, height()), 4.0, 4.0);

    const QColor ink(40, 48, 60);
    painter.setPen(ink);
    painter.drawText(QRectF(kMargin, 3.0, m_pixels, fontMetrics().height()), Qt::AlignCenter, m_length.text);
    painter.setPen(QPen(ink, 1.6, Qt::SolidLine, Qt::FlatCap, Qt::MiterJoin));
    const double bottom = height() - 5.0;
    painter.drawPolyline(QPolygonF({{double(kMargin), bottom - kTick},
                                    {double(kMargin), bottom},
                                    {kMargin + m_pixels, bottom},
                                    {kMargin + m_pixels, bottom - kTick}}));
}
