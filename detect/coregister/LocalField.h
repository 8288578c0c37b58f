#pragma once

#include "detect/coregister/GroundBlocks.h"

namespace detect {

/// How well the misfit of one block is foretold by those around it.
struct Foretelling {
    double scatterMetres = 0.0; ///< NMAD of the blocks' levels around their median
    double leftMetres = 0.0; ///< NMAD of what is left of them once the mean of their neighbours is taken off
    std::size_t blocks = 0;  ///< that have neighbours to tell from

    /// Levels of independent blocks leave more than they scatter, not less; those of a smooth misfit leave little.
    /// `noiseMetres` (of a cell): a misfit far below it is not worth a correction.
    bool isSmoothMisfit(double noiseMetres) const;
};

/// A block without a level is NaN.
Foretelling foretell(const std::vector<float>& levels, int columns, int rows);

/// The slowly varying misfit of two epochs, from stable ground.
struct LocalFit {
    std::vector<float> metres; ///< level of dZ at the nodes; where ground was left out, from the nodes around
    double sigmaMetres = 0.0;  ///< standard error of a node
    double largestMetres = 0.0;  ///< the largest |level| of all nodes
    double exceedingShare = 0.0; ///< of the nodes whose level is farther from zero than two standard errors
    double leftOutShare = 0.0;   ///< of the blocks with heights that count as changed ground
    Foretelling foretelling;
};

/// Takes the median of each block, again and again without what does not belong to stable ground:
/// - cells that are farther from what the blocks around suggest than the noise of the cells explains,
/// - blocks whose level differs from the median of the 5 x 5 blocks around them by more than such differences
///   scatter everywhere, or from the median of all blocks by more than five NMAD of their levels: a misfit of the
///   surveys is everywhere, a change is somewhere,
/// and lets the blocks left out follow from those around (the smoothest surface, by relaxation). What changes
/// over shorter distances than four blocks is not followed. `correlatedCells`: see Coregistration. Nothing for
/// less than nine blocks with enough cells.
std::optional<LocalFit> fitLocalField(const GroundBlocks& blocks, double correlatedCells);

} // namespace detect
