#pragma once

#include <QObject>
#include <QPointF>
#include <QRectF>
#include <QSize>
#include <QTransform>

#include <optional>

namespace inspection {

/// The stretch of ground that several panes show together. Ground coordinates are those of the station's
/// reference system, in metres, x east and y north. GUI thread.
class GroundView : public QObject {
    Q_OBJECT

public:
    explicit GroundView(QObject* parent = nullptr);

    QPointF centre() const { return m_centre; }
    double metresPerPixel() const { return m_metresPerPixel; }
    /// Where the pointer is on the ground, in whichever pane; nothing while it is in none.
    std::optional<QPointF> pointer() const { return m_pointer; }

    /// Makes `ground` fill a pane of that size.
    void show(const QRectF& ground, const QSize& pane);
    void moveBy(const QPointF& groundMetres);
    /// Zooms so that `ground` keeps its place; a factor above 1 comes nearer.
    void zoomAt(const QPointF& ground, double factor);
    void setPointer(const std::optional<QPointF>& ground);

    /// From ground to the pixels of a pane of that size.
    QTransform toPane(const QSize& pane) const;

signals:
    void changed();
    void pointerMoved();

private:
    QPointF m_centre;
    double m_metresPerPixel = 1.0;
    std::optional<QPointF> m_pointer;
};

} // namespace inspection
