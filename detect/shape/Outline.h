#pragma once

#include "detect/Detection.h"
#include "detect/search/Runs.h"

#include <vector>

namespace detect {

struct Polygon {
    Ring outer;
    std::vector<Ring> holes;
};

/// Follows the cell edges around one component. Vertices are cell corners (x column, y row, growing right and
/// down); only where the edge turns. Where two cells of the component meet in a corner only, the rings part
/// so that none visits the corner twice: holes may touch another ring in a point, which simple features
/// allow. `runs` are in row order, joined, and connected over the four sides of their cells. The outer ring
/// has the component on its left seen with y growing upwards (it starts down the left edge of the first
/// cell), holes too.
Polygon traceOutline(const std::vector<Run>& runs);

} // namespace detect
