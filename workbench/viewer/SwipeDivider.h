#pragma once

#include "host/Export.h"

#include <QPointF>
#include <QSize>

class QColor;
class QKeyEvent;
class QPainter;

/// The line between two pictures of the same ground, with the handle that it is dragged by: how it looks, where it is taken
/// hold of, and how keys move it. Pixels from the upper left corner of what it divides. GUI thread.
class VIEWER_API SwipeDivider {
public:
    static constexpr double kHandleRadius = 14.0;
    static constexpr double kReach = 5.0; ///< so far beside the line it is still taken hold of

    /// Where it is, 0 (left) to 1 (right); others are brought into that range.
    double share() const { return m_share; }
    void setShare(double share);
    int x(int width) const;
    /// The middle of the handle.
    QPointF handle(const QSize& size) const;
    bool isAt(const QPointF& pixel, const QSize& size) const;

    /// Left and right move it, with Shift in larger steps, Home and End take it to the sides. False for other keys.
    bool takeKey(const QKeyEvent& event);
    /// `focus` is the colour of a handle that the keys move; an invalid one stands for none.
    void paint(QPainter& painter, const QSize& size, const QColor& focus) const;

private:
    double m_share = 0.5;
};
