#pragma once

#include "workbench/inspectiondata/database/Histogram.h"

#include <QWidget>

namespace inspection {

/// Draws how elevation differences spread, with the threshold on either side where it lies within. GUI thread.
class HistogramChart : public QWidget {
    Q_OBJECT

public:
    HistogramChart(Histogram histogram, double thresholdMetres, QWidget* parent = nullptr);

    QSize sizeHint() const override { return {340, 170}; }
    QSize minimumSizeHint() const override { return {220, 120}; }

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    double x(const QRectF& plot, double metres) const;
    double widthMetres() const;
    void paintBars(QPainter& painter, const QRectF& plot) const;
    void paintThreshold(QPainter& painter, const QRectF& plot) const;
    void paintAxis(QPainter& painter, const QRectF& plot) const;

    const Histogram m_histogram;
    const double m_thresholdMetres;
};

} // namespace inspection
