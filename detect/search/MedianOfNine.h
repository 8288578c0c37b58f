#pragma once

#include <algorithm>
#include <cstddef>
#include <limits>

namespace detect {

inline float middleOf(float a, float b, float c) {
    return std::max(std::min(a, b), std::min(std::max(a, b), c));
}

/// Median of each cell and the eight around it, for the cells of one row (after Smith 1996: the columns are sorted
/// first). `row` points to the first cell among rows that lie `stride` cells apart; the cells around the row are
/// there. NaN where one of the nine is missing. `sorted` is room for three times columns + 2 figures.
inline void mediansOfNine(const float* row, std::size_t stride, std::size_t columns, float* sorted,
                          float* medians) {
    const float* const above = row - stride - 1;
    const float* const here = row - 1;
    const float* const below = row + stride - 1;
    const std::size_t width = columns + 2;
    float* const low = sorted;
    float* const middle = sorted + width;
    float* const high = sorted + 2 * width;
    for (std::size_t i = 0; i < width; ++i) {
        const float a = above[i];
        const float b = here[i];
        const float c = below[i];
        const float sum = a + b + c; // NaN when one of them is
        low[i] = std::min(std::min(a, b), c);
        high[i] = std::max(std::max(a, b), c);
        middle[i] = sum == sum ? middleOf(a, b, c) : sum;
    }
    for (std::size_t i = 0; i < columns; ++i) {
        const float lowest = std::max(std::max(low[i], low[i + 1]), low[i + 2]);
        const float highest = std::min(std::min(high[i], high[i + 1]), high[i + 2]);
        const float between = middleOf(middle[i], middle[i + 1], middle[i + 2]);
        const float sum = middle[i] + middle[i + 1] + middle[i + 2];
        medians[i] = sum == sum ? middleOf(lowest, between, highest) : sum;
    }
}

} // namespace detect
