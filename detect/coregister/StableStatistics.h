#pragma once

#include "detect/coregister/GroundScatter.h"
#include "detect/coregister/RobustStatistics.h"
#include "detect/coregister/ShiftEquations.h"

namespace detect {

/// Means over the equations' blocks that are whole, or nearly so.
BlockMeans blockMeans(const EquationSet& equations, const std::vector<float>& residuals);

/// Fills what a co-registration tells about the scatter of stable ground.
void takeStatistics(const RobustCentre& level, std::vector<SlopedDifference> sloped, const BlockMeans& blocks,
                    Coregistration& found);
/// The same from what the equations have left.
void takeStatistics(const EquationSet& equations, const std::vector<float>& residuals, Coregistration& found);

} // namespace detect
