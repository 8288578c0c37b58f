#include "detect/shape/Bodies.h"

#include "detect/shape/ComponentCells.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <numeric>
#include <unordered_map>

namespace detect {

namespace {

using Cell = ComponentCells::Cell;

constexpr float kSaddleShare = 0.5F;

/// Floods the surface from its peaks downwards.
class Immersion {
public:
    Immersion(const ComponentCells& cells, const BodyLimits& limits)
        : m_cells(cells), m_limits(limits), m_peak(cells.count(), ComponentCells::kNone),
          m_count(cells.count(), 0) {}

    void run() {
        std::vector<Cell> order(m_cells.count());
        std::iota(order.begin(), order.end(), Cell{0});
        std::sort(order.begin(), order.end(), [this](Cell a, Cell b) {
            const float p = m_cells.change(a);
            const float q = m_cells.change(b);
            return p != q ? p > q : a < b;
        });
        for (const Cell cell : order) {
            reach(cell);
        }
    }

    /// The highest cell of the body that a cell belongs to.
    Cell peakOf(Cell cell) {
        while (m_peak[cell] != cell) {
            m_peak[cell] = m_peak[m_peak[cell]];
            cell = m_peak[cell];
        }
        return cell;
    }

private:
    void reach(Cell cell) {
        std::array<Cell, 4> bodies{};
        std::size_t met = 0;
        Cell steepest = ComponentCells::kNone;
        m_cells.forNeighbours(cell, [&](Cell neighbour) {
            if (m_peak[neighbour] == ComponentCells::kNone) {
                return;
            }
            if (steepest == ComponentCells::kNone || m_cells.change(neighbour) > m_cells.change(steepest)) {
                steepest = neighbour;
            }
            const Cell body = uniteWithAny(peakOf(neighbour), bodies, met, m_cells.change(cell));
            if (std::find(bodies.begin(), bodies.begin() + met, body) == bodies.begin() + met) {
                bodies[met++] = body;
            }
        });
        m_peak[cell] = steepest == ComponentCells::kNone ? cell : peakOf(steepest);
        ++m_count[m_peak[cell]];
    }

    /// Joins a body with those met before that are not clearly another one.
    Cell uniteWithAny(Cell body, std::array<Cell, 4>& bodies, std::size_t& met, float saddle) {
        for (std::size_t i = 0; i < met;) {
            const Cell other = bodies[i];
            if (other == body || areApart(body, other, saddle)) {
                ++i;
                continue;
            }
            body = unite(body, other);
            bodies[i] = bodies[--met];
        }
        return body;
    }

    bool areApart(Cell a, Cell b, float saddle) const {
        const float lower = std::min(m_cells.change(a), m_cells.change(b));
        return lower - saddle >= std::max(m_limits.depthMetres, kSaddleShare * lower) &&
               m_count[a] >= m_limits.leastCells && m_count[b] >= m_limits.leastCells;
    }

    Cell unite(Cell a, Cell b) {
        const float p = m_cells.change(a);
        const float q = m_cells.change(b);
        if (p < q || (p == q && a > b)) {
            std::swap(a, b);
        }
        m_peak[b] = a;
        m_count[a] += m_count[b];
        return a;
    }

    const ComponentCells& m_cells;
    BodyLimits m_limits;
    std::vector<Cell> m_peak; ///< towards the peak; none where the flood has not been
    std::vector<std::int64_t> m_count;
};

/// A part of a run. What a run sums up over its cells is divided by their number.
Run part(const Run& whole, std::int32_t begin, std::int32_t end, const float* heights) {
    const auto largest = [](const float* from, const float* to) {
        return std::abs(
            *std::max_element(from, to, [](float a, float b) { return std::abs(a) < std::abs(b); }));
    };
    Run run;
    run.row = whole.row;
    run.begin = begin;
    run.end = end;
    run.sign = whole.sign;
    run.restless = whole.restless;
    const float* first = heights + (begin - whole.begin);
    measureRun(first, {}, {}, run);
    const float ofWhole = largest(heights, heights + whole.cells());
    run.strongest = ofWhole > 0.0F ? whole.strongest * (largest(first, first + run.cells()) / ofWhole) : 0.0F;
    run.variance = whole.variance / whole.cells() * run.cells();
    run.explainedByShift =
        static_cast<std::int32_t>(std::int64_t{whole.explainedByShift} * run.cells() / whole.cells());
    const std::int32_t coresBegin = std::max(begin, whole.coresBegin);
    const std::int32_t coresEnd = std::min(end, whole.coresEnd);
    run.addCores(std::clamp(coresEnd - coresBegin, 0, whole.cores), coresBegin, coresEnd);
    return run;
}

class Divider {
public:
    Divider(const Component& whole, Immersion& immersion) : m_whole(whole), m_immersion(immersion) {}

    std::vector<Component> divide() {
        for (const Run& run : m_whole.runs) {
            std::int32_t begin = run.begin;
            for (std::int32_t column = run.begin; column < run.end; ++column) {
                const bool lastOfBody =
                    column + 1 == run.end || bodyAt(run, column) != bodyAt(run, column + 1);
                if (!lastOfBody) {
                    continue;
                }
                const float* heights = m_whole.heights.data() + run.heights;
                bodyOf(bodyAt(run, column))
                    .add(part(run, begin, column + 1, heights), heights + (begin - run.begin));
                begin = column + 1;
            }
        }
        return std::move(m_bodies);
    }

private:
    Cell bodyAt(const Run& run, std::int32_t column) const {
        return m_immersion.peakOf(static_cast<Cell>(run.heights) + static_cast<Cell>(column - run.begin));
    }

    Component& bodyOf(Cell peak) {
        const auto [place, isNew] = m_places.try_emplace(peak, m_bodies.size());
        if (isNew) {
            m_bodies.emplace_back();
        }
        return m_bodies[place->second];
    }

    const Component& m_whole;
    Immersion& m_immersion;
    std::unordered_map<Cell, std::size_t> m_places; ///< of the bodies, by their peaks
    std::vector<Component> m_bodies;
};

} // namespace

std::vector<Component> splitBodies(const Component& component, const BodyLimits& limits) {
    if (!component.isExamined() || component.cells < 2 * limits.leastCells) {
        return {};
    }
    const ComponentCells cells(component);
    Immersion immersion(cells, limits);
    immersion.run();
    std::vector<Component> bodies = Divider(component, immersion).divide();
    return bodies.size() > 1 ? std::move(bodies) : std::vector<Component>();
}

} // namespace detect
