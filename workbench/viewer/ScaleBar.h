#pragma once

#include "host/Export.h"

#include <QString>
#include <QWidget>

/// A length that a scale bar can show.
struct ScaleLength {
    double metres = 0.0;
    QString text; ///< "200 m", "5 km"
};

/// 1, 2 or 5 times a power of ten metres, the largest not above `metres`.
VIEWER_API ScaleLength scaleLengthBelow(double metres);

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
    ScaleLength m_length;
    double m_pixels = 0.0;
};
