#pragma once

#include "detect/search/Component.h"
#include "detect/shape/Outline.h"

namespace detect {

/// What can be measured of a change's shape. Shares are 0 .. 1.
struct Traits {
    bool fill = true;
    double peakMetres = 0.0; ///< |dZ| that one cell in twenty exceeds
    double meanMetres = 0.0; ///< mean |dZ|
    /// Share of the cells that reach 85 % of the peak: nearly all of a roof, few of a heap.
    double flatShare = 0.5;
    /// Mean |dZ| one cell inside the rim over the peak: about 1 where walls are upright, small where the
    /// change runs out.
    double edgeSteepness = 0.5;
    /// Area over that of the smallest rectangle around it, whatever its direction (Freeman & Shapira 1975).
    double rectangularity = 0.5;
    /// Mean departure of a cell from the line between its left and right, or upper and lower, neighbours,
    /// over the mean |dZ|: small for a surface, large for vegetation.
    double roughness = 0.0;
    /// Mean width, cells: twice the area over the length of the rim, which is the width of a long band.
    double widthCells = 0.0;
    /// Share of the cells whose change a shift by one cell would explain: the new height lies between the old
    /// heights around, and the old one between the new heights around. 0 on restless ground, where any shift
    /// explains as much.
    double explainedByShift = 0.0;
};

/// `component` is in row order; `cellOutline` follows its cells, in cells. Of a component that is not
/// examined only the figures of its runs count; the others stay at their middle.
Traits measureTraits(const Component& component, const Polygon& cellOutline);

/// Area of the smallest rectangle around a ring, whatever its direction; 0 for less than three vertices that
/// span an area.
double smallestRectangle(const Ring& ring);

} // namespace detect
