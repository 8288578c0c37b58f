#include "detect/shape/Outline.h"

#include <algorithm>
#include <cstdint>

namespace detect {

namespace {

/// Each run has two upright edges: 2 i is the left edge of run i, walked downwards, 2 i + 1 the right one,
/// walked upwards, so that the component is always on the left hand.
using Edge = std::size_t;

bool isRight(Edge edge) {
    return edge % 2 != 0;
}

std::int32_t columnOf(const std::vector<Run>& runs, Edge edge) {
    const Run& run = runs[edge / 2];
    return isRight(edge) ? run.end : run.begin;
}

/// The line between two rows on which a walk along the edge ends.
std::int32_t endLine(const std::vector<Run>& runs, Edge edge) {
    return isRight(edge) ? runs[edge / 2].row : runs[edge / 2].row + 1;
}

/// An upright edge that meets the line between two rows.
struct Meeting {
    Edge edge = 0;
    std::int32_t column = 0;
    bool ends = false; ///< the walk along the edge ends on this line, otherwise it starts here
};

/// Links the edges that meet one line: upper runs [a, b) and lower runs [b, c).
class LineLinker {
public:
    LineLinker(const std::vector<Run>& runs, std::vector<Edge>& next) : m_runs(runs), m_next(next) {}

    void link(std::size_t a, std::size_t b, std::size_t c) {
        collect(a, b, true);
        collect(b, c, false);
        // At one column left edges come before right ones: that is the turn which keeps the rings apart where
        // two cells meet in a corner, and it brings together the two halves of an edge that goes straight on.
        std::sort(m_meetings.begin(), m_meetings.end(), [](const Meeting& p, const Meeting& q) {
            return p.column != q.column ? p.column < q.column : isRight(p.edge) < isRight(q.edge);
        });
        // What is left after the straight ones bounds level edges, two by two.
        const Meeting* waiting = nullptr;
        for (std::size_t i = 0; i < m_meetings.size(); ++i) {
            const Meeting& meeting = m_meetings[i];
            if (i + 1 < m_meetings.size() && goesStraightOn(meeting, m_meetings[i + 1])) {
                join(meeting, m_meetings[i + 1]);
                ++i;
            } else if (!waiting) {
                waiting = &meeting;
            } else {
                join(*waiting, meeting);
                waiting = nullptr;
            }
        }
        m_meetings.clear();
    }

private:
    void collect(std::size_t begin, std::size_t end, bool upper) {
        for (std::size_t i = begin; i < end; ++i) {
            m_meetings.push_back({2 * i, m_runs[i].begin, upper});
            m_meetings.push_back({2 * i + 1, m_runs[i].end, !upper});
        }
    }
    static bool goesStraightOn(const Meeting& p, const Meeting& q) {
        return p.column == q.column && isRight(p.edge) == isRight(q.edge);
    }
    void join(const Meeting& p, const Meeting& q) {
        if (p.ends) {
            m_next[p.edge] = q.edge;
        } else {
            m_next[q.edge] = p.edge;
        }
    }

    const std::vector<Run>& m_runs;
    std::vector<Edge>& m_next;
    std::vector<Meeting> m_meetings;
};

std::vector<Edge> linkEdges(const std::vector<Run>& runs) {
    std::vector<Edge> next(2 * runs.size());
    LineLinker linker(runs, next);
    std::size_t upper = 0;
    for (std::size_t lower = 0; lower < runs.size();) {
        std::size_t end = lower;
        while (end < runs.size() && runs[end].row == runs[lower].row) {
            ++end;
        }
        linker.link(upper, lower, end);
        upper = lower;
        lower = end;
    }
    linker.link(upper, runs.size(), runs.size());
    return next;
}

} // namespace

Polygon traceOutline(const std::vector<Run>& runs) {
    const std::vector<Edge> next = linkEdges(runs);
    std::vector<bool> walked(next.size(), false);
    Polygon polygon;
    for (Edge start = 0; start < next.size(); ++start) {
        if (walked[start]) {
            continue;
        }
        Ring ring;
        for (Edge edge = start; !walked[edge]; edge = next[edge]) {
            walked[edge] = true;
            const std::int32_t from = columnOf(runs, edge);
            const std::int32_t to = columnOf(runs, next[edge]);
            const double line = endLine(runs, edge);
            if (from != to) {
                ring.push_back({static_cast<double>(from), line});
                ring.push_back({static_cast<double>(to), line});
            }
        }
        if (start == 0) {
            polygon.outer = std::move(ring);
        } else {
            polygon.holes.push_back(std::move(ring));
        }
    }
    return polygon;
}

} // namespace detect
