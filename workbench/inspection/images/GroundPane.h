#pragma once

#include "workbench/inspection/images/PanePainting.h"
#include "workbench/inspection/images/ProfileLineEditor.h"

#include <QLineF>
#include <QPainterPath>
#include <QPoint>
#include <QWidget>

namespace inspection {

class GroundView;

/// A north-up view of the ground with the pipeline, an outline and the line of a profile over it. Panes that share a ground
/// view pan and zoom together: drag to move, wheel to zoom at the pointer, double click to show everything
/// again. The profile's line is dragged by its ends or as a whole; Escape puts it back. GUI thread.
class GroundPane : public QWidget {
    Q_OBJECT

public:
    /// `view` must outlive the pane.
    explicit GroundPane(GroundView& view, QWidget* parent = nullptr);

    void setPipeline(const QPainterPath& ground);
    void setOutline(const QPainterPath& ground);
    /// A line without length is not drawn. Another line than the one being dragged ends the drag.
    void setProfileLine(const QLineF& ground);

    QSize sizeHint() const override { return {320, 240}; }
    QSize minimumSizeHint() const override { return {120, 90}; }

signals:
    void fitRequested();
    /// The user drags the line, or has put it back.
    void profileLineDragged(const QLineF& ground);

protected:
    void paintEvent(QPaintEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void mouseDoubleClickEvent(QMouseEvent* event) override;
    void wheelEvent(QWheelEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void leaveEvent(QEvent* event) override;

    /// Draws what lies below outline and line, in pixels of the pane.
    virtual void paintBelow(QPainter& painter) = 0;
    /// Draws titles and the like over everything else.
    virtual void paintAbove(QPainter& painter) = 0;
    /// The cursor over a place where nothing is being dragged.
    virtual Qt::CursorShape cursorAt(const QPointF& pixel) const;

    QTransform toPane() const;

private:
    enum class Drag { None, Ground, Line };

    void hover(const QPointF& pixel);
    bool isCrosshairShown() const;

    GroundView& m_view;
    QPainterPath m_pipeline;
    QPainterPath m_outline;
    ProfileLineEditor m_line;
    ProfileLineEditor::Grip m_hovered = ProfileLineEditor::Grip::None;
    Drag m_drag = Drag::None;
    QPoint m_dragFrom;
};

} // namespace inspection
