#pragma once

#include "tests/detect/TestRasters.h"

namespace detect::test {

/// Packed rows of patches of change with ragged edges, noise (metres, `roughness` wide), and holes (NaN).
std::vector<float> randomHeights(Random& random, int columns, int rows, double roughness);
/// Such heights for both rasters of the request, the old one drawn first.
void writeRandomPair(const Request& request, Random& random, const RasterPlan& plan, double roughness);

/// Every figure and every vertex is the same, to the last bit.
void expectIdentical(const Changes& a, const Changes& b);

} // namespace detect::test
