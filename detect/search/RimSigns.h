#pragma once

#include "detect/search/Runs.h"

#include <array>

namespace detect {

/// Tells of the cells of one row after the other, from the top down, on which side the median of their nine reaches
/// CellLevel::rim: +1, -1, or 0 for neither, and where one of the nine is missing. Belongs to one thread.
class RimSigns {
public:
    /// One standard deviation for all cells.
    explicit RimSigns(float needed) : m_needed(needed) {}

    /// Where a new block begins.
    void restart() { m_nextRow = -1; }

    /// `rows`: packed rows of dZ (metres, NaN where nothing was measured), `width` cells wide; neither `row` nor the
    /// columns begin .. begin + columns - 1 lie at their border. The result is good until the next call.
    const std::int8_t* of(const float* rows, std::size_t width, int row, std::size_t begin,
                          std::size_t columns);

private:
    /// 1 for cells that reach the height on one side, a figure that spoils every sum for missing ones.
    struct Marks {
        std::vector<std::int8_t> risen;
        std::vector<std::int8_t> fallen;
    };

    void mark(const float* dz, std::size_t count, Marks& marks) const;

    float m_needed;
    int m_nextRow = -1;
    std::array<Marks, 3> m_marks; ///< of three rows, by row modulo three
    Marks m_sums;                 ///< over them
    std::vector<std::int8_t> m_signs;
};

} // namespace detect
