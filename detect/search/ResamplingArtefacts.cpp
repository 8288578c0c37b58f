#include "detect/search/ResamplingArtefacts.h"

#include <algorithm>
#include <cmath>

namespace detect {

namespace {

constexpr int kFarthestReach = 8;
/// Of walls and crowns higher than this, blurring may take the given share of what stands above it.
constexpr float kCrownMetres = 2.0F;
constexpr float kCrownLoss = 1.0F / 3.0F;
/// A suspect needs this many undoubted neighbours for each suspect one.
constexpr int kUndoubtedForSuspect = 2;

double cellMetres(const Grid& grid) {
    const std::array<double, 4> step = grid.cellStepsMetres();
    return std::sqrt(std::abs(step[0] * step[3] - step[1] * step[2]));
}

} // namespace

int ResamplingArtefacts::reachCells(const Grid& oldGrid, const Grid& newGrid) {
    const double newCellInOldCells = cellMetres(newGrid) / cellMetres(oldGrid);
    return 1 + static_cast<int>(std::ceil(std::min<double>(kFarthestReach - 1, newCellInOldCells - 1e-6)));
}

void ResamplingArtefacts::mark(const float* oldHeights, const float* newHeights, int columns, int rows,
                               int first, int end, std::vector<std::uint8_t>& flags) {
    const auto width = static_cast<std::size_t>(columns);
    const auto cells = width * static_cast<std::size_t>(rows);
    const HeightField oldEpoch{oldHeights, columns, rows};
    const HeightField newEpoch{newHeights, columns, rows};
    m_states.assign(cells, Unchanged);
    for (int row = std::max(0, first - m_reach); row < std::min(rows, end + m_reach); ++row) {
        for (int column = 0; column < columns; ++column) {
            m_states[static_cast<std::size_t>(row) * width + static_cast<std::size_t>(column)] =
                judge(oldEpoch, newEpoch, row, column);
        }
    }
    flags.assign(cells, 0);
    for (int row = first; row < end; ++row) {
        for (int column = 0; column < columns; ++column) {
            const std::size_t cell = static_cast<std::size_t>(row) * width + static_cast<std::size_t>(column);
            if (m_states[cell] >= SuspectRaised) {
                flags[cell] = belongsToChange(columns, rows, row, column) ? 0 : 1;
            }
        }
    }
}

ResamplingArtefacts::State ResamplingArtefacts::judge(const HeightField& oldEpoch,
                                                      const HeightField& newEpoch, int row,
                                                      int column) const {
    const float before = oldEpoch.row(row)[column];
    const float after = newEpoch.row(row)[column];
    if (!(std::abs(after - before) >= m_threshold)) {
        return Unchanged;
    }
    const HeightRange oldRange = rangeAround(oldEpoch, row, column, m_reach);
    const float slack =
        m_threshold + kCrownLoss * std::max(0.0F, oldRange.highest - oldRange.lowest - kCrownMetres);
    const bool suspect =
        oldRange.holds(after, 0.0F) && rangeAround(newEpoch, row, column, m_reach).holds(before, slack);
    if (after > before) {
        return suspect ? SuspectRaised : Raised;
    }
    return suspect ? SuspectSunk : Sunk;
}

bool ResamplingArtefacts::belongsToChange(int columns, int rows, int row, int column) const {
    const auto stateAt = [&](int r, int c) {
        return m_states[static_cast<std::size_t>(r) * static_cast<std::size_t>(columns) +
                        static_cast<std::size_t>(c)];
    };
    const State suspect = stateAt(row, column);
    const State undoubted = suspect == SuspectRaised ? Raised : Sunk;
    int balance = 0;
    for (int r = std::max(0, row - m_reach); r <= std::min(rows - 1, row + m_reach); ++r) {
        for (int c = std::max(0, column - m_reach); c <= std::min(columns - 1, column + m_reach); ++c) {
            const State state = stateAt(r, c);
            balance += state == undoubted ? 1 : state == suspect ? -kUndoubtedForSuspect : 0;
        }
    }
    return balance > 0;
}

} // namespace detect
