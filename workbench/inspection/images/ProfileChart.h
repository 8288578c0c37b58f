#pragma once

#include <QColor>
#include <QWidget>

#include <optional>
#include <vector>

namespace inspection {

/// Elevations of two epochs along a line; both have one value for each step, NaN where nothing is known.
struct ElevationProfile {
    double lengthMetres = 0.0;
    std::vector<double> oldMetres;
    std::vector<double> newMetres;
};

/// Draws an elevation profile of both epochs from A to B, the space between them coloured by sign, the
/// band of what counts as no change, and the values under the pointer. GUI thread.
class ProfileChart : public QWidget {
    Q_OBJECT

public:
    explicit ProfileChart(QWidget* parent = nullptr);

    /// A profile without values shows `reason` instead.
    void setProfile(const ElevationProfile& profile, const QString& reason = {});
    void setColours(const QColor& fill, const QColor& cut);
    /// A band of this to either side of the old epoch: where the new one leaves it, the ground counts as changed.
    /// None where it is not known.
    void setLevelOfDetection(std::optional<double> metres);

    QSize sizeHint() const override { return {320, 160}; }
    QSize minimumSizeHint() const override { return {120, 80}; }

signals:
    /// The pointer is over this part of the profile, 0 at its start (A) to 1 at its end (B).
    void pointerAlong(double share);
    void pointerLeft();

protected:
    void paintEvent(QPaintEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void leaveEvent(QEvent* event) override;

private:
    struct Axes;
    std::optional<Axes> axes() const;
    void paintGrid(QPainter& painter, const Axes& axes) const;
    void paintBand(QPainter& painter, const Axes& axes) const;
    void paintBetween(QPainter& painter, const Axes& axes) const;
    void paintEpoch(QPainter& painter, const Axes& axes, const std::vector<double>& metres,
                    const QColor& colour, Qt::PenStyle style) const;
    void paintKey(QPainter& painter, const Axes& axes) const;
    void paintEnds(QPainter& painter, const Axes& axes) const;
    void paintReading(QPainter& painter, const Axes& axes) const;
    void point();

    ElevationProfile m_profile;
    QString m_reason;
    QColor m_fill;
    QColor m_cut;
    std::optional<double> m_levelOfDetection; ///< metres
    std::optional<int> m_pointerX;
};

} // namespace inspection
