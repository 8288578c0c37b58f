#pragma once

#include "detect/Detection.h"

#include <array>
#include <vector>

namespace detect {

/// Packed rows of both epochs (metres, NaN where there is no height).
struct BothEpochs {
    const float* old = nullptr;
    const float* young = nullptr;
    CellWindow window;
};

/// How rough each epoch is in a way that the other does not show; square metres. See RestlessGround.
struct OwnRoughness {
    static constexpr std::size_t kDistances = 3;

    std::array<float, kDistances> old{};   ///< mean a (a - b); NaN where none was measured
    std::array<float, kDistances> young{}; ///< mean b (b - a)
};

/// The farthest of the distances at which second differences are taken, in steps.
constexpr int kFarthestSteps = 16;

/// Of a tile inside the window, with what lies around it there. Only every `step`-th cell is looked at.
OwnRoughness ownRoughness(const BothEpochs& heights, const CellWindow& tile, int step);

/// Standard deviation of dZ, from what each epoch has of its own.
float scatterFrom(float old, float young);

/// Mean of what is measured, single large values cut back; NaN for nothing. Puts the values in order.
float steadyMean(std::vector<float>& values);

/// a (a - b), but b no more than twice as large as a: a mean over few tiles must not lean on one change of metres.
float ownShare(double a, double b);

} // namespace detect
