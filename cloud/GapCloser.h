#pragma once

#include "cloud/CellBox.h"

#include <cstdint>
#include <vector>

namespace cloud {

/// Closes small gaps of a surface, piece by piece: an empty cell that has heights on both sides, in its row, column or
/// a diagonal, not more than `mostCells` empty cells apart, gets their mean, each height weighted by the inverse of its
/// distance. Only heights that were measured count. What lies beside the survey stays empty.
class GapCloser {
public:
    explicit GapCloser(int mostCells) : m_most(mostCells) {}

    /// How many cells on each side of a cell it looks at.
    int reach() const { return m_most; }

    /// `heights` are packed rows of so many columns, NaN where empty; the cells of `box` are closed, the others are
    /// only looked at. Gives how many cells were closed.
    std::int64_t close(std::vector<float>& heights, int columns, const CellBox& box) const;

private:
    int m_most;
};

} // namespace cloud
