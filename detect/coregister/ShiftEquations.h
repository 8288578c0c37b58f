#pragma once

#include "detect/coregister/StableSample.h"
#include "detect/raster/HeightCorrection.h"
#include "detect/raster/Slope.h"

namespace detect {

/// One cell's say about how the epochs lie to each other.
struct Equation {
    /// Mean of both epochs' slopes: the signal, with half the noise.
    Slope slope;
    /// Half of old less new: the noise alone, once the epochs lie on each other.
    Slope halfDifference;
    float dz = 0.0F;         ///< new - old, metres
    float eastMetres = 0.0F; ///< from the middle of the old grid
    float northMetres = 0.0F;

    Slope oldSlope() const { return {slope.east + halfDifference.east, slope.north + halfDifference.north}; }
};

/// The equations of a sample, block by block. Noise of neighbouring cells hangs together; that of blocks, 16
/// cells wide and high at most, counts as independent.
struct EquationSet {
    std::vector<Equation> cells;
    std::vector<std::size_t> blockEnds; ///< one past the last cell of each block
};

/// Samples the new epoch at the patches, moved by the shift and its heights corrected. Of large samples every
/// second or third cell of a row is taken.
Result<EquationSet> readEquations(const PairLayout& layout, const std::vector<Patch>& patches,
                                  const Shift& shift, const HeightCorrection& correction, int threads);

} // namespace detect
