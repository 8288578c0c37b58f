#pragma once

#include <gtest/gtest.h>

#include <QApplication>
#include <QMouseEvent>
#include <QWidget>

/// Moves the pointer within a widget, by an event of its own. QTest::mouseMove warps the pointer of the
/// display, which answers some time later, and not at all when the pointer is there already.
inline void movePointer(QWidget& widget, const QPoint& place, Qt::MouseButtons held = Qt::NoButton) {
    EXPECT_TRUE(held != Qt::NoButton || widget.hasMouseTracking()) << "the widget would not be told";
    QMouseEvent move(QEvent::MouseMove, place, widget.mapToGlobal(place), Qt::NoButton, held, Qt::NoModifier);
    QApplication::sendEvent(&widget, &move);
}
