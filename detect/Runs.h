#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace detect {

/// Cells `begin` up to, not including, `end` of one row whose |dZ| reaches the grow threshold with one sign.
struct Run {
    std::int32_t row = 0;
    std::int32_t begin = 0;
    std::int32_t end = 0;
    std::int8_t sign = 0; ///< +1 fill, -1 cut
    /// A single cell with a weaker dZ between two runs of this sign. It joins them when the cells above and
    /// below are members of the same sign too, and is dropped otherwise.
    bool gap = false;
    float lowest = 0.0F;  ///< dZ, metres
    float highest = 0.0F; ///< dZ, metres
    double raised = 0.0;  ///< sum of the positive dZ, metres
    double sunk = 0.0;    ///< sum of the negative dZ, metres

    std::int32_t cells() const { return end - begin; }
};

/// Turns rows of dZ into runs.
class RunFinder {
public:
    explicit RunFinder(float growThresholdMetres) : m_threshold(growThresholdMetres) {}

    /// Appends the runs of one row, left to right. `dz` is NaN where nothing was measured; its first cell has
    /// column `firstColumn`. Cells whose flag in `excluded` is set are no members, whatever their dZ; null
    /// for none.
    void find(const float* dz, int columns, int row, int firstColumn, std::vector<Run>& runs,
              const std::uint8_t* excluded = nullptr);

private:
    float m_threshold;
    std::vector<std::int8_t> m_signs;
};

/// Drops runs that can never become part of an anomaly: those that touch no run of their sign in the row
/// above or below (a line of cells has no 3 x 3 core), and gap cells that cannot be filled. The first and
/// last of the given rows keep everything, because their neighbours are not known here. `runs` are in row
/// order.
void dropLonelyRuns(std::vector<Run>& runs, int firstRow, int lastRow);

} // namespace detect
