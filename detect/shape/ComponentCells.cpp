#include "detect/shape/ComponentCells.h"

#include <algorithm>

namespace detect {

ComponentCells::ComponentCells(const Component& component)
    : m_component(component), m_sign(static_cast<float>(component.runs.front().sign)),
      m_ends(component.heights.size(), 0), m_above(component.heights.size(), kNone),
      m_below(component.heights.size(), kNone) {
    const std::vector<Run>& runs = component.runs;
    std::size_t upper = 0;
    for (std::size_t lower = 0; lower < runs.size(); ++lower) {
        const Run& run = runs[lower];
        m_ends[run.heights] |= First;
        m_ends[run.heights + static_cast<std::size_t>(run.cells()) - 1] |= Last;
        while (runs[upper].row + 1 < run.row ||
               (runs[upper].row + 1 == run.row && runs[upper].end <= run.begin)) {
            ++upper;
        }
        for (std::size_t i = upper; runs[i].row + 1 == run.row && runs[i].begin < run.end; ++i) {
            link(runs[i], run);
        }
    }
}

/// Two runs of neighbouring rows, one over the other.
void ComponentCells::link(const Run& upper, const Run& lower) {
    const std::int32_t begin = std::max(upper.begin, lower.begin);
    const std::int32_t end = std::min(upper.end, lower.end);
    auto over = static_cast<Cell>(upper.heights) + static_cast<Cell>(begin - upper.begin);
    auto under = static_cast<Cell>(lower.heights) + static_cast<Cell>(begin - lower.begin);
    for (std::int32_t column = begin; column < end; ++column, ++over, ++under) {
        m_below[over] = under;
        m_above[under] = over;
    }
}

int ComponentCells::neighbours(Cell cell) const {
    int count = 0;
    forNeighbours(cell, [&count](Cell) { ++count; });
    return count;
}

} // namespace detect
