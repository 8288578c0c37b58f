#pragma once

#include "detect/shape/Outline.h"

namespace detect {

/// Takes the stair steps of its cells out of an outline, in cells: the ring goes through the middles of the
/// cell edges, of long treads through the one middle, and through the corners between long straight edges
/// (walls); then it is simplified by half a cell (Douglas & Peucker 1973) without rings crossing or
/// vanishing. Middles lie as often inside as outside a slanting edge, so that the area keeps its size;
/// corners of cells would not.
Polygon simplified(const Polygon& cellOutline);

} // namespace detect
