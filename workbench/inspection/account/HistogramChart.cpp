#include "workbench/inspection/account/HistogramChart.h"

#include <QPainter>

#include <algorithm>
#include <utility>

namespace inspection {

namespace {

const QColor kBarColour(70, 110, 190);
const QColor kThresholdColour(200, 60, 30);

} // namespace

HistogramChart::HistogramChart(Histogram histogram, double thresholdMetres, QWidget* parent)
    : QWidget(parent), m_histogram(std::move(histogram)), m_thresholdMetres(thresholdMetres) {
    setObjectName("stableHistogram");
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Expanding);
    setToolTip(tr("异常轮廓以外的地面；两端的柱包括更远的值"));
}

double HistogramChart::widthMetres() const {
    return m_histogram.stepMetres * static_cast<double>(m_histogram.counts.size());
}

double HistogramChart::x(const QRectF& plot, double metres) const {
    return plot.left() + plot.width() * (metres - m_histogram.fromMetres) / widthMetres();
}

void HistogramChart::paintEvent(QPaintEvent* /*event*/) {
    QPainter painter(this);
    painter.fillRect(rect(), palette().base());
    const int line = fontMetrics().height();
    const QRectF plot = QRectF(rect()).adjusted(12, line + 10, -12, -line - 6);
    if (plot.width() < 40 || plot.height() < 20) {
        return;
    }
    paintBars(painter, plot);
    paintThreshold(painter, plot);
    paintAxis(painter, plot);
}

void HistogramChart::paintBars(QPainter& painter, const QRectF& plot) const {
    const std::int64_t most = *std::max_element(m_histogram.counts.begin(), m_histogram.counts.end());
    for (std::size_t bin = 0; bin < m_histogram.counts.size() && most > 0; ++bin) {
        const double height =
            plot.height() * static_cast<double>(m_histogram.counts[bin]) / static_cast<double>(most);
        const double left =
            x(plot, m_histogram.fromMetres + static_cast<double>(bin) * m_histogram.stepMetres);
        const double width = plot.width() / static_cast<double>(m_histogram.counts.size());
        painter.fillRect(QRectF(left, plot.bottom() - height, std::max(1.0, width - 1.0), height),
                         kBarColour);
    }
}

void HistogramChart::paintThreshold(QPainter& painter, const QRectF& plot) const {
    painter.setPen(QPen(kThresholdColour, 1.5, Qt::DashLine));
    for (const double metres : {-m_thresholdMetres, m_thresholdMetres}) {
        const double at = x(plot, metres);
        if (at >= plot.left() && at <= plot.right()) {
            painter.drawLine(QPointF(at, plot.top()), QPointF(at, plot.bottom()));
        }
    }
}

void HistogramChart::paintAxis(QPainter& painter, const QRectF& plot) const {
    const int line = fontMetrics().height();
    painter.setPen(palette().color(QPalette::Text));
    painter.drawLine(plot.bottomLeft(), plot.bottomRight());
    painter.drawText(QRectF(plot.left(), 2, plot.width(), line), Qt::AlignLeft,
                     tr("稳定地面的 dZ（m），虚线为变化阈值"));
    const double end = m_histogram.fromMetres + widthMetres();
    for (const double metres : {m_histogram.fromMetres, 0.0, end}) {
        const QString text =
            QString::number(metres, 'f', end < 0.1 ? 3 : 2).replace('-', QStringLiteral("−"));
        const int width = fontMetrics().horizontalAdvance(text);
        const double left = std::clamp(x(plot, metres) - width / 2.0, 0.0, double(this->width() - width));
        painter.drawText(QRectF(left, plot.bottom() + 3, width + 1, line), Qt::AlignLeft, text);
    }
}

} // namespace inspection
