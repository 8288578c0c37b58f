#pragma once

#include "detect/heights/HeightCoding.h"

#include <algorithm>
#include <cstddef>
#include <limits>

namespace detect {

/// Packed rows of heights, NaN where there is none.
struct HeightField {
    const float* heights = nullptr;
    int columns = 0;
    int rows = 0;

    const float* row(int row) const {
        return heights + static_cast<std::size_t>(row) * static_cast<std::size_t>(columns);
    }
};

/// Lowest and highest of some heights; holds nothing when all are missing.
struct HeightRange {
    float lowest = std::numeric_limits<float>::max();
    float highest = std::numeric_limits<float>::lowest();

    bool holds(float height, float slack) const {
        return height >= lowest - slack && height <= highest + slack;
    }
};

/// The heights up to `reach` cells around a cell, and its own.
inline HeightRange rangeAround(const HeightField& field, int row, int column, int reach) {
    HeightRange range;
    const int left = std::max(0, column - reach);
    const int right = std::min(field.columns - 1, column + reach);
    for (int r = std::max(0, row - reach); r <= std::min(field.rows - 1, row + reach); ++r) {
        const float* line = field.row(r);
        for (int c = left; c <= right; ++c) {
            range.lowest = line[c] < range.lowest ? line[c] : range.lowest; // false for NaN
            range.highest = line[c] > range.highest ? line[c] : range.highest;
        }
    }
    return range;
}

} // namespace detect
