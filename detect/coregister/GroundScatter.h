#pragma once

#include "detect/coregister/StableSample.h"

namespace detect {

/// Scatter of dZ on stable ground: at the slope angle a of the old surface one standard deviation is the root
/// of sigmaMetres^2 + (sigmaPerSlopeMetres tan a)^2. The second part is what an uncertain position of the
/// heights adds (Hodgson & Bresnahan 2004).
struct GroundScatter {
    double sigmaMetres = 0.0;
    double sigmaPerSlopeMetres = 0.0;
};

/// Estimates it from differences around `levelMetres`: the cells are put into bins of equally many by slope,
/// the NMAD of each is taken without what lies far off (changes of the ground), and a line fitted to the
/// squares over the squared tangent. Ground without different slopes, or on which they make no difference
/// beyond three standard errors, gets sigmaPerSlopeMetres = 0. Nothing for too few cells to tell (below 100).
std::optional<GroundScatter> scatterOnSlopes(std::vector<SlopedDifference> differences, double levelMetres);

/// Means of dZ over blocks of stable ground, all of `cells` cells.
struct BlockMeans {
    std::vector<float> dz; ///< metres
    double cells = 0.0;
};

/// How many neighbouring cells err together: the means of blocks scatter as cells / correlatedCells
/// independent values would. Between 1 (each cell for itself) and the size of a block, which does not see
/// farther; 1 for less than 30 blocks. `nmadOfCells` is the scatter of the single cells.
double correlatedCells(const BlockMeans& blocks, double nmadOfCells);

} // namespace detect
