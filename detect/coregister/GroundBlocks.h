#pragma once

#include "detect/raster/CorrectionField.h"
#include "detect/raster/HeightCorrection.h"
#include "detect/raster/RasterPair.h"

namespace detect {

/// dZ of evenly spread cells of the whole overlap, block by block.
struct GroundBlocks {
    CorrectionField::Nodes nodes;
    std::size_t mostSamples = 0;  ///< of one block
    std::vector<float> dz;        ///< of block i from i * mostSamples on, metres, ascending
    std::vector<int> sampleCount; ///< of each block

    float* of(std::size_t block) { return dz.data() + block * mostSamples; }
    const float* of(std::size_t block) const { return dz.data() + block * mostSamples; }
};

/// Blocks of 32 m, at least 32 cells, and wider where the raster has more than half a million of them: memory is
/// bounded.
CorrectionField::Nodes layBlocks(const PairLayout& layout);

/// Reads some 256 cells of every block (fewer of many blocks), the new epoch moved and its heights corrected.
/// Which ones depends on the rasters and `layout.overlap` only.
Result<GroundBlocks> readGroundBlocks(const PairLayout& layout, const Shift& shift,
                                      const HeightCorrection& correction, int threads,
                                      const Progress& progress);

} // namespace detect
