#pragma once

#include "workbench/inspection/creation/PlanSketch.h"
#include "workbench/inspection/images/GroundView.h"

#include <QColor>
#include <QPoint>
#include <QWidget>

class QToolButton;

namespace inspection {

/// The colour in which an epoch is drawn, by its place in the row of epochs.
QColor epochColour(std::size_t epoch);

/// A new project from above: what the epochs cover, the centre line, the stations. Drag to move, wheel to zoom at
/// the pointer, double click to show everything again. GUI thread.
class PlanPreview : public QWidget {
    Q_OBJECT

public:
    explicit PlanPreview(QWidget* parent = nullptr);

    /// Shows everything, when what there is has got another extent.
    void setSketch(const PlanSketch& sketch);
    const PlanSketch& sketch() const { return m_sketch; }
    /// From ground to pixels.
    QTransform toPixels() const { return m_view.toPane(size()); }

    QSize sizeHint() const override { return {420, 480}; }
    QSize minimumSizeHint() const override { return {240, 200}; }

public slots:
    void fit();

protected:
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void mouseDoubleClickEvent(QMouseEvent* event) override;
    void wheelEvent(QWheelEvent* event) override;

private:
    void paintCoverages(QPainter& painter) const;
    void paintStations(QPainter& painter) const;
    void paintLine(QPainter& painter) const;
    void paintLegend(QPainter& painter) const;
    void paintScaleBar(QPainter& painter) const;

    PlanSketch m_sketch;
    GroundView m_view;
    QRectF m_extent;
    bool m_isFitted = true; ///< the user has not moved the view
    QPoint m_dragFrom;
    QToolButton* m_fit;
};

} // namespace inspection
