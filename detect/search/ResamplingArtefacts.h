#pragma once

#include "detect/heights/Grid.h"
#include "detect/raster/HeightRange.h"

#include <cstdint>
#include <vector>

namespace detect {

/// Tells differences that resampling makes from changes of the ground. Bringing a raster onto another grid
/// blurs walls, crowns and edges by about a cell of the coarser raster, and the blur of a ten-metre wall is
/// no small dZ.
///
/// A cell is suspect when its new height lies between the lowest and highest old height around it, and its
/// old height between those of the new epoch, give or take the grow threshold and a third of what the old
/// range exceeds 2 m by (blurred crowns are lower). Ground that really rose or sank leaves that range in at
/// least one epoch, except at its gentle rims: a suspect with twice as many undoubted cells of its sign
/// around it as suspect ones belongs to them. The other suspects are artefacts.
class ResamplingArtefacts {
public:
    /// How many old cells around a cell are looked at.
    static int reachCells(const Grid& oldGrid, const Grid& newGrid);

    ResamplingArtefacts(int reachCells, float growThresholdMetres)
        : m_reach(reachCells), m_threshold(growThresholdMetres) {}

    /// So many cells around have a say about a cell.
    int neighbourCells() const { return 2 * m_reach; }

    /// Both epochs on the old grid (packed rows of `columns` cells, `rows` of them), bias removed, NaN for no
    /// height. Fills a flag for each cell of `rows`, set for the artefacts among rows `first` up to, not
    /// including, `end`.
    void mark(const float* oldHeights, const float* newHeights, int columns, int rows, int first, int end,
              std::vector<std::uint8_t>& flags);

private:
    enum State : std::uint8_t { Unchanged, Raised, Sunk, SuspectRaised, SuspectSunk };

    State judge(const HeightField& oldEpoch, const HeightField& newEpoch, int row, int column) const;
    bool belongsToChange(int columns, int rows, int row, int column) const;

    int m_reach;
    float m_threshold;
    std::vector<State> m_states;
};

} // namespace detect
