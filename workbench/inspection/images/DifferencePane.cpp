#include "workbench/inspection/images/DifferencePane.h"

#include "workbench/inspectiondata/text/AnomalyTexts.h"

#include <QPainter>

#include <algorithm>

namespace inspection {

void DifferencePane::setRamp(const DifferenceRamp& ramp) {
    m_ramp = ramp;
    update();
}

void DifferencePane::paintAbove(QPainter& painter) {
    PicturePane::paintAbove(painter);
    if (hasImage()) {
        paintLegend(painter);
    }
}

void DifferencePane::paintLegend(QPainter& painter) const {
    const int textHeight = fontMetrics().height();
    const int barHeight = std::min(height() - 3 * textHeight, 9 * textHeight);
    if (barHeight < 3 * textHeight || !m_ramp.fill.isValid()) {
        return;
    }
    const QString top = differenceText(m_ramp.fullMetres) + " m";
    const int textWidth = fontMetrics().horizontalAdvance(top);
    const int barWidth = textHeight * 3 / 4;
    const QRect plate(width() - textWidth - barWidth - 22, height() - barHeight - textHeight - 10,
                      textWidth + barWidth + 16, barHeight + textHeight + 4);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(QColor(255, 255, 255, 215));
    painter.drawRoundedRect(plate, 3, 3);

    const QRect bar(plate.left() + 5, plate.top() + textHeight / 2 + 2, barWidth, barHeight);
    painter.setRenderHint(QPainter::Antialiasing, false);
    for (int row = 0; row < bar.height(); ++row) {
        const double share = 1.0 - 2.0 * row / std::max(bar.height() - 1, 1);
        painter.fillRect(QRect(bar.left(), bar.top() + row, bar.width(), 1),
                         differenceColour(m_ramp, share * m_ramp.fullMetres));
    }
    painter.setBrush(Qt::NoBrush);
    painter.setPen(QColor(90, 90, 90));
    painter.drawRect(bar);

    painter.setPen(QColor(30, 30, 30));
    const auto label = [&](double share, const QString& text) {
        const int y = bar.top() + static_cast<int>((1.0 - share) / 2.0 * bar.height());
        painter.drawText(QRect(bar.right() + 6, y - textHeight / 2, textWidth + 2, textHeight),
                         Qt::AlignVCenter | Qt::AlignRight, text);
    };
    label(1.0, top);
    label(0.0, "0 m");
    label(-1.0, differenceText(-m_ramp.fullMetres) + " m");
}

} // namespace inspection
