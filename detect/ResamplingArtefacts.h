#pragma once

#include "detect/Grid.h"

#include <cstdint>
#include <vector>

namespace detect {

/// Tells differences that resampling makes from changes of the ground. Bringing a raster onto another grid
/// blurs walls, crowns and edges by about a cell of the coarser raster, and the blur of a ten-metre wall is
/// no small dZ.
///
/// A cell is an artefact when its new height lies between the lowest and highest old height around it, and
/// its old height between those of the new epoch, give or take the grow threshold (blurred crowns are lower).
/// Ground that really rose or sank leaves that range in at least one epoch, so changes keep their edges and
/// volumes.
class ResamplingArtefacts {
public:
    /// How many old cells around a cell are looked at.
    static int reachCells(const Grid& oldGrid, const Grid& newGrid);

    ResamplingArtefacts(int reachCells, float growThresholdMetres)
        : m_reach(reachCells), m_threshold(growThresholdMetres) {}

    /// Both epochs on the old grid (packed rows of `columns` cells, `rows` of them), bias removed, NaN for no
    /// height. Fills one flag for each cell of `row`: set when it is an artefact.
    void mark(const float* oldHeights, const float* newHeights, int columns, int rows, int row,
              std::vector<std::uint8_t>& flags) const;

private:
    bool explains(const float* around, int columns, int rows, int row, int column, float height,
                  float slack) const;

    int m_reach;
    float m_threshold;
};

} // namespace detect
