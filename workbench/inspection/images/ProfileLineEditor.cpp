#include "workbench/inspection/images/ProfileLineEditor.h"

#include <algorithm>
#include <cmath>

namespace inspection {

namespace {

double distance(const QPointF& one, const QPointF& other) {
    return std::hypot(one.x() - other.x(), one.y() - other.y());
}

double distanceToSegment(const QPointF& point, const QLineF& segment) {
    const QPointF along = segment.p2() - segment.p1();
    const double square = QPointF::dotProduct(along, along);
    const double share =
        square > 0.0 ? std::clamp(QPointF::dotProduct(point - segment.p1(), along) / square, 0.0, 1.0) : 0.0;
    return distance(point, segment.pointAt(share));
}

} // namespace

void ProfileLineEditor::setLine(const QLineF& ground) {
    m_line = ground;
    m_dragged = Grip::None;
}

ProfileLineEditor::Grip ProfileLineEditor::gripAt(const QPointF& pixel, const QTransform& toPane) const {
    const QLineF line = toPane.map(m_line);
    if (!(m_line.length() > 0.0)) {
        return Grip::None;
    }
    // On a short line the grips leave a third between them, so that it can still be moved as a whole.
    const double grip = std::min(kGripPixels, line.length() / 3.0);
    const double toStart = distance(pixel, line.p1());
    const double toEnd = distance(pixel, line.p2());
    if (std::min(toStart, toEnd) <= grip) {
        return toStart <= toEnd ? Grip::Start : Grip::End;
    }
    return distanceToSegment(pixel, line) <= kBodyPixels ? Grip::Body : Grip::None;
}

bool ProfileLineEditor::begin(const QPointF& pixel, const QTransform& toPane) {
    m_dragged = gripAt(pixel, toPane);
    m_before = m_line;
    const QPointF dragged = m_dragged == Grip::End ? m_line.p2() : m_line.p1();
    m_hold = dragged - toPane.inverted().map(pixel);
    return isDragging();
}

bool ProfileLineEditor::moveTo(const QPointF& pixel, const QTransform& toPane) {
    if (!isDragging()) {
        return false;
    }
    const QTransform toGround = toPane.inverted();
    const QPointF ground = toGround.map(pixel) + m_hold;
    const QLineF before = m_line;
    if (m_dragged == Grip::Body) {
        m_line.translate(ground - m_line.p1());
    } else {
        const bool atStart = m_dragged == Grip::Start;
        const QPointF other = atStart ? m_line.p2() : m_line.p1();
        const double leastMetres = kLeastPixels * toGround.map(QLineF(0.0, 0.0, 1.0, 0.0)).length();
        if (const auto end = endAt(ground, other, leastMetres)) {
            m_line = atStart ? QLineF(*end, other) : QLineF(other, *end);
        }
    }
    return m_line != before;
}

std::optional<QPointF> ProfileLineEditor::endAt(const QPointF& ground, const QPointF& other,
                                                double leastMetres) const {
    const double metres = distance(ground, other);
    if (metres >= leastMetres) {
        return ground;
    }
    if (!(metres > 0.0)) {
        return std::nullopt; // in no direction from the other end
    }
    return other + (ground - other) * (leastMetres / metres);
}

void ProfileLineEditor::cancel() {
    if (isDragging()) {
        setLine(m_before);
    }
}

} // namespace inspection
