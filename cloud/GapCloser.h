#pragma once

#include <cstdint>
#include <vector>

namespace cloud {

/// Closes small gaps of a surface, row by row from the top down: an empty cell that has heights on both sides,
/// in its row, column or a diagonal, not more than `mostCells` empty cells apart, gets their mean, each height
/// weighted by the inverse of its distance. Only heights that were measured count. What lies beside the survey
/// stays empty.
class GapCloser {
public:
    GapCloser(int columns, int mostCells) : m_columns(columns), m_most(mostCells) {}

    /// How many rows above and below a row it looks at.
    int reach() const { return m_most; }

    /// `rows` holds whole rows, NaN where empty; those from `first` to `last` (not included) are closed, the
    /// others are only looked at. Gives how many cells were closed.
    std::int64_t close(std::vector<float>& rows, int first, int last) const;

private:
    int m_columns;
    int m_most;
};

} // namespace cloud
