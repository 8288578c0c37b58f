#pragma once

#include <QLineF>
#include <QPointF>
#include <QTransform>

#include <optional>

namespace inspection {

/// Lets a line on the ground be dragged, by one of its ends or as a whole. It knows no widget: the caller
/// says where the pointer is, in pixels of a pane, and how ground becomes pixels there. The line itself is in
/// ground coordinates, so that the view may pan and zoom during a drag.
class ProfileLineEditor {
public:
    enum class Grip { None, Start, End, Body };

    static constexpr double kGripPixels = 9.0;   ///< radius in which an end is taken hold of
    static constexpr double kBodyPixels = 6.0;   ///< distance at which the line itself is
    static constexpr double kLeastPixels = 24.0; ///< two ends stay that far apart

    const QLineF& line() const { return m_line; }
    /// Ends a drag. A line without length has no parts.
    void setLine(const QLineF& ground);

    /// What is at that pixel; ends come before the body.
    Grip gripAt(const QPointF& pixel, const QTransform& toPane) const;
    /// The part that is being dragged.
    Grip dragged() const { return m_dragged; }
    bool isDragging() const { return m_dragged != Grip::None; }

    /// False when no part of the line is at that pixel.
    bool begin(const QPointF& pixel, const QTransform& toPane);
    /// True when the line changed.
    bool moveTo(const QPointF& pixel, const QTransform& toPane);
    void finish() { m_dragged = Grip::None; }
    /// Ends the drag and puts the line back.
    void cancel();

private:
    /// Where an end goes that follows the pointer, without coming too near to the other one.
    std::optional<QPointF> endAt(const QPointF& ground, const QPointF& other, double leastMetres) const;

    QLineF m_line;
    QLineF m_before; ///< as it was when the drag began
    QPointF m_hold;  ///< from the pointer to the dragged point, metres
    Grip m_dragged = Grip::None;
};

} // namespace inspection
