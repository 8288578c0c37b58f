#pragma once

namespace cloud {

/// Cells of a grid from one corner on, rows from the top down.
struct CellBox {
    int column = 0;
    int row = 0;
    int columns = 0;
    int rows = 0;
};

} // namespace cloud
