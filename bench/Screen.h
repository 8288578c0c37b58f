#pragma once

#include <QColor>
#include <QImage>
#include <QPixmap>
#include <QScreen>
#include <QWidget>

/// What the display itself shows at a place of a widget.
inline QColor screenColour(const QWidget& widget, const QPoint& place) {
    const QPoint at = widget.mapTo(widget.window(), place);
    return widget.screen()
        ->grabWindow(widget.window()->winId(), at.x(), at.y(), 1, 1)
        .toImage()
        .pixelColor(0, 0);
}

/// The colour of a selection, under any light.
inline bool isYellow(const QColor& colour) {
    return colour.red() > 180 && colour.green() > 180 && colour.blue() < 90;
}
