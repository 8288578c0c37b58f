#include "workbench/inspectiondata/creation/LineJoin.h"

#include <algorithm>
#include <cmath>
#include <numeric>

namespace inspection {

namespace {

double distance(const LineVertex& a, const LineVertex& b) {
    return std::hypot(a.x - b.x, a.y - b.y);
}

LinePart withoutRepeats(const LinePart& part) {
    LinePart kept;
    for (const LineVertex& vertex : part) {
        if (kept.empty() || distance(kept.back(), vertex) > 0.0) {
            kept.push_back(vertex);
        }
    }
    return kept;
}

std::vector<LinePart> properParts(const std::vector<LinePart>& parts) {
    std::vector<LinePart> proper;
    for (const LinePart& part : parts) {
        LinePart kept = withoutRepeats(part);
        if (kept.size() > 1) {
            proper.push_back(std::move(kept));
        }
    }
    return proper;
}

/// A line that grows at both ends by the parts that are left.
class Joining {
public:
    Joining(std::vector<LinePart> parts, double tolerance)
        : m_left(std::move(parts)), m_tolerance(tolerance), m_line(std::move(m_left.front())) {
        m_left.erase(m_left.begin());
    }

    tl::expected<LinePart, LineBreak> run() {
        if (auto problem = grow()) { // onwards from the last vertex
            return tl::unexpected(*problem);
        }
        std::reverse(m_line.begin(), m_line.end());
        const auto problem = grow();
        std::reverse(m_line.begin(), m_line.end());
        if (problem) {
            return tl::unexpected(*problem);
        }
        if (!m_left.empty()) {
            return tl::unexpected(gap());
        }
        return m_line;
    }

private:
    bool isClosed() const { return distance(m_line.front(), m_line.back()) <= m_tolerance; }

    /// Adds what begins or ends where the line ends; gives the place where there is more than one such part.
    std::optional<LineBreak> grow() {
        for (;;) {
            const LineVertex end = m_line.back();
            const auto meets = [&](const LinePart& part) {
                return distance(part.front(), end) <= m_tolerance ||
                       distance(part.back(), end) <= m_tolerance;
            };
            const auto next = std::find_if(m_left.begin(), m_left.end(), meets);
            if (next == m_left.end()) {
                return std::nullopt;
            }
            if (isClosed() || std::any_of(std::next(next), m_left.end(), meets)) {
                return LineBreak{true, end.x, end.y, 0.0};
            }
            append(*next);
            m_left.erase(next);
        }
    }

    void append(LinePart& part) {
        if (distance(part.front(), m_line.back()) > distance(part.back(), m_line.back())) {
            std::reverse(part.begin(), part.end());
        }
        const bool same = distance(part.front(), m_line.back()) <= 0.0;
        m_line.insert(m_line.end(), part.begin() + (same ? 1 : 0), part.end());
    }

    LineBreak gap() const {
        LineBreak nearest{false, 0.0, 0.0, HUGE_VAL};
        for (const LineVertex& end : {m_line.front(), m_line.back()}) {
            for (const LinePart& part : m_left) {
                const double width = std::min(distance(end, part.front()), distance(end, part.back()));
                if (width < nearest.gap) {
                    nearest = {false, end.x, end.y, width};
                }
            }
        }
        return nearest;
    }

    std::vector<LinePart> m_left;
    double m_tolerance;
    LinePart m_line;
};

/// Twice the signed area of a, b, c.
double turn(const LineVertex& a, const LineVertex& b, const LineVertex& c) {
    return (b.x - a.x) * (c.y - a.y) - (b.y - a.y) * (c.x - a.x);
}

bool boxesMeet(const LineVertex& a, const LineVertex& b, const LineVertex& c, const LineVertex& d) {
    return std::max(a.x, b.x) >= std::min(c.x, d.x) && std::max(c.x, d.x) >= std::min(a.x, b.x) &&
           std::max(a.y, b.y) >= std::min(c.y, d.y) && std::max(c.y, d.y) >= std::min(a.y, b.y);
}

/// A common point of the segments ab and cd.
std::optional<LineVertex> meeting(const LineVertex& a, const LineVertex& b, const LineVertex& c,
                                  const LineVertex& d) {
    const double cSide = turn(a, b, c);
    const double dSide = turn(a, b, d);
    if (!boxesMeet(a, b, c, d) || cSide * dSide > 0.0 || turn(c, d, a) * turn(c, d, b) > 0.0) {
        return std::nullopt;
    }
    if (cSide == dSide) { // on one line
        return c;
    }
    const double share = cSide / (cSide - dSide);
    return LineVertex{c.x + share * (d.x - c.x), c.y + share * (d.y - c.y), 0.0};
}

/// Where segment j, behind segment i, meets it; neighbours only where one goes back over the other.
std::optional<LineVertex> meeting(const LinePart& line, std::size_t i, std::size_t j) {
    const LineVertex& a = line[i];
    const LineVertex& b = line[i + 1];
    const LineVertex& c = line[j];
    const LineVertex& d = line[j + 1];
    if (j == i + 1) {
        const double dot = (b.x - a.x) * (d.x - c.x) + (b.y - a.y) * (d.y - c.y);
        return turn(a, b, d) == 0.0 && dot < 0.0 ? std::optional(b) : std::nullopt;
    }
    const bool closes = i == 0 && j + 2 == line.size() && distance(a, d) <= 0.0;
    return closes ? std::nullopt : meeting(a, b, c, d);
}

} // namespace

tl::expected<LinePart, LineBreak> joinEndToEnd(const std::vector<LinePart>& parts, double tolerance) {
    std::vector<LinePart> proper = properParts(parts);
    if (proper.empty()) {
        return LinePart();
    }
    return Joining(std::move(proper), tolerance).run();
}

std::optional<LineVertex> selfCrossing(const LinePart& line) {
    const std::size_t segments = line.empty() ? 0 : line.size() - 1;
    const auto west = [&](std::size_t i) { return std::min(line[i].x, line[i + 1].x); };
    const auto east = [&](std::size_t i) { return std::max(line[i].x, line[i + 1].x); };
    std::vector<std::size_t> order(segments);
    std::iota(order.begin(), order.end(), std::size_t{0});
    std::sort(order.begin(), order.end(), [&](std::size_t i, std::size_t j) { return west(i) < west(j); });
    std::size_t first = segments;
    std::optional<LineVertex> place;
    for (std::size_t n = 0; n < segments; ++n) {
        for (std::size_t m = n + 1; m < segments && west(order[m]) <= east(order[n]); ++m) {
            const std::size_t i = std::min(order[n], order[m]);
            const auto found = i < first ? meeting(line, i, std::max(order[n], order[m])) : std::nullopt;
            if (found) {
                first = i;
                place = found;
            }
        }
    }
    return place;
}

} // namespace inspection
