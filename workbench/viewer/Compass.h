#pragma once

#include <QAbstractButton>

/// A needle that points to the north of the picture. A click, or Space with the keyboard focus, asks for the
/// north to be upwards.
class Compass : public QAbstractButton {
    Q_OBJECT

public:
    explicit Compass(QWidget* parent);

    /// Clockwise from north, of what is upwards in the picture.
    void setHeading(double degrees);
    QSize sizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;
    bool hitButton(const QPoint& position) const override;

private:
    double m_headingDegrees = 0.0;
};
