#pragma once

#include "workbench/inspection/images/GroundPane.h"
#include "workbench/viewer/SwipeDivider.h"

namespace inspection {

/// Two epochs in one pane: the old one left of a divider that can be dragged, the new one right of it. The
/// arrow keys left and right move the divider, with Shift in larger steps; Home and End take it to the sides.
/// GUI thread.
class SwipePane : public GroundPane {
    Q_OBJECT

public:
    explicit SwipePane(GroundView& view, QWidget* parent = nullptr);

    void setPictures(const GroundPicture& oldEpoch, const GroundPicture& newEpoch);
    /// Where the divider is, 0 (left) to 1 (right).
    double dividerShare() const { return m_divider.share(); }
    /// The middle of the divider's handle, in pixels.
    QPointF handle() const { return m_divider.handle(size()); }

    QSize sizeHint() const override { return {640, 240}; }

protected:
    void paintBelow(QPainter& painter) override;
    void paintAbove(QPainter& painter) override;
    Qt::CursorShape cursorAt(const QPointF& pixel) const override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void focusInEvent(QFocusEvent* event) override;
    void focusOutEvent(QFocusEvent* event) override;

private:
    QRect oldSide() const;
    QRect newSide() const;

    GroundPicture m_old;
    GroundPicture m_new;
    SwipeDivider m_divider;
    double m_hold = 0.0; ///< from the pointer to the divider, pixels
    bool m_dragging = false;
};

} // namespace inspection
