#pragma once

#include "detect/raster/RasterPair.h"

namespace detect {

/// Cuts a window of the old raster into blocks of about half a million cells, along the raster's own tiles so
/// that none is decoded twice, and no wider than needed, so that memory does not grow with the raster's
/// width. Blocks follow each other from left to right and from the top down.
class BlockPlan {
public:
    /// `askedRows` and `askedColumns` of a block; 0 chooses. Results never depend on them.
    BlockPlan(const RasterFacts& raster, const CellWindow& window, int askedRows, int askedColumns);

    int count() const { return m_across * m_down; }
    /// Blocks side by side.
    int across() const { return m_across; }
    CellWindow at(int index) const;

private:
    CellWindow m_window;
    int m_columns = 1;
    int m_rows = 1;
    int m_firstColumn = 0; ///< of the first block, in blocks
    int m_firstRow = 0;
    int m_across = 1;
    int m_down = 1;
};

} // namespace detect
