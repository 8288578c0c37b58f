#pragma once

#include "detect/raster/RasterPair.h"

#include <vector>

namespace detect {

/// A piece of the overlap with the old heights in it (packed rows, NaN where there is none).
struct Patch {
    CellWindow window;
    std::vector<float> oldHeights;
};

/// A difference and the old surface's slope at its cell.
struct SlopedDifference {
    float slopeSquared = 0.0F; ///< tangent of the slope angle, squared
    float dz = 0.0F;           ///< metres
};

/// Heights from evenly spread pieces of the overlap, about a million cells, whatever the raster's size.
struct StableSample {
    std::vector<Patch> patches; ///< only those with cells valid in both epochs
    std::vector<float> dz;      ///< new - old where both are valid, metres, no shift applied
    /// Some of them, evenly spread, with slopes: enough for the scatter on each kind of ground.
    std::vector<SlopedDifference> sloped;
    /// Means of dZ over blocks of blockSide x blockSide cells, where all are valid.
    std::vector<float> blockMeans;

    static constexpr int kBlockSide = 8;
};

/// Pieces follow the old raster's own tiles, so that few are decoded. The choice depends on the two rasters
/// and `layout.overlap` only, not on the number of threads. When little of the overlap holds heights, more of
/// it is read, all of it if need be; fails when there are none, naming the raster without heights.
/// `keepPatches` false leaves the patches out.
Result<StableSample> takeSample(const PairLayout& layout, bool keepPatches, int threads,
                                const Progress& progress);

} // namespace detect
