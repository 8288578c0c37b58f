#include "detect/search/OwnRoughness.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace detect {

namespace {

constexpr int kDistanceSteps[] = {4, 8, kFarthestSteps};
/// A wall that one epoch shows aside must not speak for the whole window.
constexpr float kMostOverMedian = 4.0F;
/// Variance of a second difference over that of a cell.
constexpr float kSecondDifference = 6.0F;

/// Sums over the places whose three posts are measured in both epochs.
struct Sums {
    float old = 0.0F;
    float young = 0.0F;
    int count = 0;

    void add(const float* oldHeight, const float* newHeight, std::ptrdiff_t apart) {
        const float a = oldHeight[-apart] - 2.0F * oldHeight[0] + oldHeight[apart];
        const float b = newHeight[-apart] - 2.0F * newHeight[0] + newHeight[apart];
        if (a == a && b == b) {
            old += a * (a - b);
            young += b * (b - a);
            ++count;
        }
    }
};

} // namespace

OwnRoughness ownRoughness(const BothEpochs& heights, const CellWindow& tile, int step) {
    const CellWindow& read = heights.window;
    const std::ptrdiff_t width = read.columns;
    OwnRoughness roughness;
    for (std::size_t i = 0; i < OwnRoughness::kDistances; ++i) {
        const int apart = kDistanceSteps[i] * step;
        Sums sums;
        for (int row = tile.row - read.row; row < tile.row - read.row + tile.rows; row += step) {
            const bool hasRows = row >= apart && row + apart < read.rows;
            for (int column = tile.column - read.column; column < tile.column - read.column + tile.columns;
                 column += step) {
                const std::ptrdiff_t cell = row * width + column;
                if (column >= apart && column + apart < read.columns) {
                    sums.add(heights.old + cell, heights.young + cell, apart);
                }
                if (hasRows) {
                    sums.add(heights.old + cell, heights.young + cell, apart * width);
                }
            }
        }
        const auto count = static_cast<float>(sums.count);
        roughness.old[i] = sums.old / count; // NaN for none
        roughness.young[i] = sums.young / count;
    }
    return roughness;
}

float scatterFrom(float old, float young) {
    return std::sqrt(std::max(0.0F, 2.0F * std::min(old, young)) / kSecondDifference);
}

float steadyMean(std::vector<float>& values) {
    values.erase(std::remove_if(values.begin(), values.end(), [](float v) { return v != v; }), values.end());
    if (values.empty()) {
        return std::numeric_limits<float>::quiet_NaN();
    }
    std::sort(values.begin(), values.end()); // sums must not depend on the order of the tiles either
    const float most = kMostOverMedian * std::abs(values[values.size() / 2]);
    float sum = 0.0F;
    for (const float value : values) {
        sum += std::min(value, most);
    }
    return sum / static_cast<float>(values.size());
}

float ownShare(double a, double b) {
    const double most = 2.0 * std::abs(a);
    return static_cast<float>(a * (a - std::clamp(b, -most, most)));
}

} // namespace detect
