#pragma once

#include "detect/RasterPair.h"

#include <vector>

namespace detect {

/// A piece of the overlap with the old heights in it (packed rows, NaN where there is none).
struct Patch {
    CellWindow window;
    std::vector<float> oldHeights;
};

/// Heights from evenly spread pieces of the overlap, about a million cells, whatever the raster's size.
struct StableSample {
    std::vector<Patch> patches; ///< only those with cells valid in both epochs
    std::vector<float> dz;      ///< new - old where both are valid, metres, no shift applied
};

/// Pieces follow the old raster's own tiles, so that few are decoded. The choice depends on the two rasters
/// only. When little of the overlap holds heights, more of it is read, all of it if need be; fails when there
/// are none, naming the raster without heights. `keepPatches` false leaves the patches out.
std::variant<StableSample, Failure> takeSample(const PairLayout& layout, bool keepPatches, int threads,
                                               const Progress& progress);

} // namespace detect
