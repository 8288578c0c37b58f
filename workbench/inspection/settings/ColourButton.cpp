#include "workbench/inspection/settings/ColourButton.h"

#include <QColorDialog>
#include <QPainter>

namespace inspection {

ColourButton::ColourButton(QWidget* parent) : QPushButton(parent) {
    const int height = fontMetrics().height();
    setIconSize(QSize(height * 3, height));
    connect(this, SIGNAL(clicked()), this, SLOT(choose()));
}

void ColourButton::setColour(const QColor& colour) {
    m_colour = colour;
    QPixmap swatch(iconSize());
    swatch.fill(colour);
    QPainter painter(&swatch);
    painter.setPen(colour.darker(150));
    painter.drawRect(swatch.rect().adjusted(0, 0, -1, -1));
    painter.end();
    setIcon(swatch);
    setText(colour.name());
}

void ColourButton::choose() {
    const QColor chosen = QColorDialog::getColor(m_colour, this, tr("选择颜色"));
    if (chosen.isValid()) {
        setColour(chosen);
    }
}

} // namespace inspection
