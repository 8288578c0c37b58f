#include "detect/ResamplingArtefacts.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace detect {

namespace {

constexpr int farthestReach = 8;

double cellMetres(const Grid& grid) {
    const std::array<double, 4> step = grid.cellStepsMetres();
    return std::sqrt(std::abs(step[0] * step[3] - step[1] * step[2]));
}

} // namespace

int ResamplingArtefacts::reachCells(const Grid& oldGrid, const Grid& newGrid) {
    const double newCellInOldCells = cellMetres(newGrid) / cellMetres(oldGrid);
    return 1 + static_cast<int>(std::ceil(std::min<double>(farthestReach - 1, newCellInOldCells - 1e-6)));
}

void ResamplingArtefacts::mark(const float* oldHeights, const float* newHeights, int columns, int rows,
                               int row, std::vector<std::uint8_t>& flags) const {
    flags.assign(static_cast<std::size_t>(columns), 0);
    const std::size_t first = static_cast<std::size_t>(row) * static_cast<std::size_t>(columns);
    for (int column = 0; column < columns; ++column) {
        const std::size_t cell = first + static_cast<std::size_t>(column);
        const float before = oldHeights[cell];
        const float after = newHeights[cell];
        if (!(std::abs(after - before) >= m_threshold))
            continue;
        const bool artefact = explains(oldHeights, columns, rows, row, column, after, 0.0F) &&
                              explains(newHeights, columns, rows, row, column, before, m_threshold);
        flags[static_cast<std::size_t>(column)] = artefact ? 1 : 0;
    }
}

bool ResamplingArtefacts::explains(const float* around, int columns, int rows, int row, int column,
                                   float height, float slack) const {
    float lowest = std::numeric_limits<float>::max();
    float highest = std::numeric_limits<float>::lowest();
    const int left = std::max(0, column - m_reach);
    const int right = std::min(columns - 1, column + m_reach);
    for (int r = std::max(0, row - m_reach); r <= std::min(rows - 1, row + m_reach); ++r) {
        const float* line = around + static_cast<std::size_t>(r) * static_cast<std::size_t>(columns);
        for (int c = left; c <= right; ++c) {
            lowest = line[c] < lowest ? line[c] : lowest; // false for NaN
            highest = line[c] > highest ? line[c] : highest;
        }
    }
    return height >= lowest - slack && height <= highest + slack;
}

} // namespace detect
