#pragma once

#include "workbench/inspectiondata/text/ScaleLength.h"

#include <QWidget>

/// How long things are in the middle of the picture.
class ScaleBar : public QWidget {
    Q_OBJECT

public:
    explicit ScaleBar(QWidget* parent);

    /// On the ground in the middle of the picture, across the view.
    void setMetresPerPixel(double metresPerPixel);
    QSize sizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    inspection::ScaleLength m_length;
    double m_pixels = 0.0;
};
