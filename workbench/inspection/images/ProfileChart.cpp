#include "workbench/inspection/images/ProfileChart.h"

#include "workbench/inspection/images/PanePainting.h"
#include "workbench/inspectiondata/text/AnomalyTexts.h"

#include <QMouseEvent>
#include <QPainter>
#include <QPainterPath>

#include <algorithm>
#include <cmath>
#include <limits>

namespace inspection {

namespace {

const QColor kOldColour(70, 110, 190);
const QColor kNewColour(200, 80, 30);
const QColor kBandColour(70, 110, 190, 45);

/// A step of 1, 2 or 5 times a power of ten that divides `span` into about `wanted` parts.
double gridStep(double span, int wanted) {
    const double raw = span / std::max(wanted, 1);
    const double decade = std::pow(10.0, std::floor(std::log10(raw)));
    for (const double multiple : {1.0, 2.0, 5.0}) {
        if (raw <= multiple * decade) {
            return multiple * decade;
        }
    }
    return 10.0 * decade;
}

int decimalsOf(double step) {
    return std::clamp(static_cast<int>(std::ceil(-std::log10(step) - 1e-9)), 0, 3);
}

} // namespace

struct ProfileChart::Axes {
    QRectF plot;
    double lengthMetres = 0.0;
    double lowMetres = 0.0;
    double highMetres = 0.0;
    std::size_t count = 0;

    double x(std::size_t step) const {
        return plot.left() + plot.width() * static_cast<double>(step) / static_cast<double>(count - 1);
    }
    double y(double metres) const {
        return plot.bottom() - plot.height() * (metres - lowMetres) / (highMetres - lowMetres);
    }
};

ProfileChart::ProfileChart(QWidget* parent) : QWidget(parent), m_fill(214, 47, 39), m_cut(33, 102, 172) {
    setMouseTracking(true);
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Expanding);
}

void ProfileChart::setProfile(const ElevationProfile& profile, const QString& reason) {
    m_profile = profile;
    m_reason = reason;
    update();
}

void ProfileChart::setColours(const QColor& fill, const QColor& cut) {
    m_fill = fill;
    m_cut = cut;
    update();
}

void ProfileChart::setLevelOfDetection(std::optional<double> metres) {
    m_levelOfDetection = metres;
    update();
}

std::optional<ProfileChart::Axes> ProfileChart::axes() const {
    double low = std::numeric_limits<double>::infinity();
    double high = -low;
    for (const auto* epoch : {&m_profile.oldMetres, &m_profile.newMetres}) {
        for (const double metres : *epoch) {
            if (std::isfinite(metres)) {
                low = std::min(low, metres);
                high = std::max(high, metres);
            }
        }
    }
    const std::size_t count = std::min(m_profile.oldMetres.size(), m_profile.newMetres.size());
    if (count < 2 || !(low <= high)) {
        return std::nullopt;
    }
    const double padding = std::max((high - low) * 0.08, 0.1);
    Axes axes;
    axes.lowMetres = low - padding;
    axes.highMetres = high + padding;
    axes.lengthMetres = m_profile.lengthMetres;
    axes.count = count;
    const int textHeight = fontMetrics().height();
    const int textWidth = fontMetrics().horizontalAdvance("0000.0");
    const int halfWidth = textWidth / 2;
    axes.plot = QRectF(rect()).adjusted(textWidth + 10, textHeight + 8, -halfWidth - 8, -textHeight - 8);
    return axes.plot.width() > 20 && axes.plot.height() > 20 ? std::optional(axes) : std::nullopt;
}

void ProfileChart::paintEvent(QPaintEvent* /*event*/) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.fillRect(rect(), palette().base());
    const auto axes = this->axes();
    if (!axes) {
        painter.setPen(palette().color(QPalette::PlaceholderText));
        painter.drawText(rect().adjusted(12, 12, -12, -12), Qt::AlignCenter | Qt::TextWordWrap, m_reason);
        return;
    }
    paintGrid(painter, *axes);
    paintBand(painter, *axes);
    paintBetween(painter, *axes);
    paintEpoch(painter, *axes, m_profile.oldMetres, kOldColour, Qt::DashLine);
    paintEpoch(painter, *axes, m_profile.newMetres, kNewColour, Qt::SolidLine);
    paintKey(painter, *axes);
    paintEnds(painter, *axes);
    paintReading(painter, *axes);
}

void ProfileChart::paintGrid(QPainter& painter, const Axes& axes) const {
    const QColor text = palette().color(QPalette::Text);
    const QPen grid(QColor(128, 128, 128, 70), 1.0);
    const int textHeight = fontMetrics().height();

    const double yStep =
        gridStep(axes.highMetres - axes.lowMetres, static_cast<int>(axes.plot.height() / (textHeight * 2)));
    const double lowest = std::ceil(axes.lowMetres / yStep) * yStep;
    for (int line = 0; lowest + line * yStep <= axes.highMetres; ++line) {
        const double metres = lowest + line * yStep;
        const double y = axes.y(metres);
        painter.setPen(grid);
        painter.drawLine(QPointF(axes.plot.left(), y), QPointF(axes.plot.right(), y));
        painter.setPen(text);
        painter.drawText(QRectF(0, y - textHeight / 2.0, axes.plot.left() - 5, textHeight),
                         Qt::AlignRight | Qt::AlignVCenter, QString::number(metres, 'f', decimalsOf(yStep)));
    }
    const double labelWidth = fontMetrics().horizontalAdvance("0000.0 m");
    const double xStep =
        gridStep(axes.lengthMetres, static_cast<int>(axes.plot.width() / (labelWidth * 1.5)));
    for (int line = 0; line * xStep <= axes.lengthMetres + xStep * 1e-6; ++line) {
        const double metres = line * xStep;
        const double x = axes.plot.left() + axes.plot.width() * metres / axes.lengthMetres;
        painter.setPen(grid);
        painter.drawLine(QPointF(x, axes.plot.top()), QPointF(x, axes.plot.bottom()));
        painter.setPen(text);
        painter.drawText(QRectF(x - labelWidth / 2, axes.plot.bottom() + 3, labelWidth, textHeight),
                         Qt::AlignHCenter | Qt::AlignTop,
                         QString::number(metres, 'f', decimalsOf(xStep)) + " m");
    }
}

void ProfileChart::paintBetween(QPainter& painter, const Axes& axes) const {
    // Without smoothing, which would leave seams between the strips.
    painter.setRenderHint(QPainter::Antialiasing, false);
    painter.setPen(Qt::NoPen);
    for (std::size_t i = 0; i + 1 < axes.count; ++i) {
        const double before[2] = {m_profile.oldMetres[i], m_profile.oldMetres[i + 1]};
        const double after[2] = {m_profile.newMetres[i], m_profile.newMetres[i + 1]};
        if (!std::isfinite(before[0] + before[1] + after[0] + after[1])) {
            continue;
        }
        QColor colour = after[0] + after[1] >= before[0] + before[1] ? m_fill : m_cut;
        colour.setAlpha(90);
        painter.setBrush(colour);
        painter.drawPolygon(QPolygonF({{axes.x(i), axes.y(before[0])},
                                       {axes.x(i + 1), axes.y(before[1])},
                                       {axes.x(i + 1), axes.y(after[1])},
                                       {axes.x(i), axes.y(after[0])}}));
    }
    painter.setBrush(Qt::NoBrush);
    painter.setRenderHint(QPainter::Antialiasing);
}

void ProfileChart::paintBand(QPainter& painter, const Axes& axes) const {
    if (!m_levelOfDetection) {
        return;
    }
    painter.save();
    painter.setClipRect(axes.plot);
    painter.setRenderHint(QPainter::Antialiasing, false); // would leave seams between the strips
    painter.setPen(Qt::NoPen);
    painter.setBrush(kBandColour);
    for (std::size_t i = 0; i + 1 < axes.count; ++i) {
        const double left = m_profile.oldMetres[i];
        const double right = m_profile.oldMetres[i + 1];
        if (std::isfinite(left + right)) {
            painter.drawPolygon(QPolygonF({{axes.x(i), axes.y(left - *m_levelOfDetection)},
                                           {axes.x(i + 1), axes.y(right - *m_levelOfDetection)},
                                           {axes.x(i + 1), axes.y(right + *m_levelOfDetection)},
                                           {axes.x(i), axes.y(left + *m_levelOfDetection)}}));
        }
    }
    painter.restore();
}

void ProfileChart::paintEpoch(QPainter& painter, const Axes& axes, const std::vector<double>& metres,
                              const QColor& colour, Qt::PenStyle style) const {
    QPainterPath line;
    bool down = false;
    for (std::size_t i = 0; i < axes.count; ++i) {
        if (!std::isfinite(metres[i])) {
            down = false;
            continue;
        }
        const QPointF at(axes.x(i), axes.y(metres[i]));
        down ? line.lineTo(at) : line.moveTo(at);
        down = true;
    }
    painter.setPen(QPen(colour, 1.8, style, Qt::RoundCap, Qt::RoundJoin));
    painter.drawPath(line);
}

void ProfileChart::paintKey(QPainter& painter, const Axes& axes) const {
    const int textHeight = fontMetrics().height();
    const double y = 4 + textHeight / 2.0;
    double x = axes.plot.left() + 20; // beside the end's letter
    const auto entry = [&](const QString& text, const QColor& colour, Qt::PenStyle style) {
        painter.setPen(QPen(colour, 2.0, style));
        painter.drawLine(QPointF(x, y), QPointF(x + 22, y));
        painter.setPen(palette().color(QPalette::Text));
        const double width = fontMetrics().horizontalAdvance(text) + 4;
        painter.drawText(QRectF(x + 27, y - textHeight / 2.0, width, textHeight), Qt::AlignVCenter, text);
        x += 27 + width + 14;
    };
    const auto name = [](const QString& epoch, const std::vector<double>& metres) {
        const bool known =
            std::any_of(metres.begin(), metres.end(), [](double value) { return std::isfinite(value); });
        return known ? epoch : tr("%1（无数据）").arg(epoch);
    };
    entry(name(tr("前期高程"), m_profile.oldMetres), kOldColour, Qt::DashLine);
    entry(name(tr("后期高程"), m_profile.newMetres), kNewColour, Qt::SolidLine);
    if (m_levelOfDetection) {
        painter.fillRect(QRectF(x, y - textHeight * 0.3, 22, textHeight * 0.6), kBandColour);
        const QString limit = tr("±%1 m").arg(*m_levelOfDetection, 0, 'f', 2);
        const QString named = tr("检出限 ") + limit;
        const double end = x + 27 + fontMetrics().horizontalAdvance(named) + 4;
        entry(end < axes.plot.right() - 14 ? named : limit, Qt::transparent,
              Qt::SolidLine); // before the other letter
    }
}

// As the line's grips are named in the pictures.
void ProfileChart::paintEnds(QPainter& painter, const Axes& axes) const {
    const double y = 4 + fontMetrics().height() / 2.0;
    paintGrip(painter, {axes.plot.left(), y}, QStringLiteral("A"), false);
    paintGrip(painter, {axes.plot.right(), y}, QStringLiteral("B"), false);
}

void ProfileChart::paintReading(QPainter& painter, const Axes& axes) const {
    if (!m_pointerX || *m_pointerX < axes.plot.left() || *m_pointerX > axes.plot.right()) {
        return;
    }
    const double share = (*m_pointerX - axes.plot.left()) / axes.plot.width();
    const auto step = static_cast<std::size_t>(std::lround(share * static_cast<double>(axes.count - 1)));
    const double before = m_profile.oldMetres[step];
    const double after = m_profile.newMetres[step];
    painter.setPen(QPen(palette().color(QPalette::Text), 1.0, Qt::DotLine));
    painter.drawLine(QPointF(axes.x(step), axes.plot.top()), QPointF(axes.x(step), axes.plot.bottom()));
    const auto known = [](double metres) {
        return std::isfinite(metres) ? QString::number(metres, 'f', 2) : QStringLiteral("—");
    };
    const double difference = after - before;
    const QString text =
        tr("%1 → %2 m，dZ %3 m")
            .arg(known(before), known(after),
                 std::isfinite(difference) ? differenceText(difference) : QStringLiteral("—"));
    const double width = fontMetrics().horizontalAdvance(text) + 12;
    const double left = std::clamp(
        axes.x(step) + 8, axes.plot.left(),
        std::max(axes.plot.left(), width < axes.plot.width() ? axes.plot.right() - width : axes.plot.left()));
    const QRectF plate(left, axes.plot.top() + 4, width, fontMetrics().height() + 4);
    painter.setPen(Qt::NoPen);
    painter.setBrush(palette().toolTipBase());
    painter.drawRoundedRect(plate, 3, 3);
    painter.setPen(palette().color(QPalette::ToolTipText));
    painter.drawText(plate, Qt::AlignCenter, text);
}

void ProfileChart::mouseMoveEvent(QMouseEvent* event) {
    m_pointerX = event->position().toPoint().x();
    update();
    point();
}

void ProfileChart::point() {
    const auto axes = this->axes();
    if (axes && m_pointerX && *m_pointerX >= axes->plot.left() && *m_pointerX <= axes->plot.right()) {
        emit pointerAlong((*m_pointerX - axes->plot.left()) / axes->plot.width());
    } else {
        emit pointerLeft();
    }
}

void ProfileChart::leaveEvent(QEvent* /*event*/) {
    m_pointerX.reset();
    update();
    emit pointerLeft();
}

} // namespace inspection
