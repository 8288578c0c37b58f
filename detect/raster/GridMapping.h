#pragma once

#include "detect/Result.h"
#include "detect/heights/Grid.h"

#include <ogr_spatialref.h>

#include <memory>
#include <string>
#include <vector>

namespace detect {

/// What is added to the new epoch's map coordinates before it is compared: metres east and north.
struct Shift {
    double eastMetres = 0.0;
    double northMetres = 0.0;

    bool none() const { return eastMetres == 0.0 && northMetres == 0.0; }
};

/// Positions in the new raster, in its cells, at every kStep-th column and row of the old one.
struct CellLattice {
    /// Between two nodes the way from grid to grid is taken as straight: at 90 m cells across UTM zones that is
    /// off by less than 0.01 cells, and it saves all but one in a thousand exact transformations.
    static constexpr int kStep = 32;

    int firstColumn = 0;
    int firstRow = 0;
    int columns = 0;
    std::vector<Point> nodes;
};

/// Where the cells of the old raster lie in the new one, whatever the two reference systems. Belongs to one thread.
class GridMapping {
public:
    /// Fails when no transformation between the two reference systems exists; `newPath` is for its message.
    static Result<GridMapping> create(const Grid& oldGrid, const Grid& newGrid, const std::string& newPath);

    const Grid& newGrid() const { return m_newGrid; }
    /// The old cells that the new raster may cover; empty when they do not meet.
    CellWindow coverage() const;
    /// So many samples along each side of an old cell are as fine as the new cells; 1 where these are not finer.
    int samplesPerCell() const { return m_samplesPerCell; }
    /// The grids differ by a shift only.
    bool isPlainShift() const { return m_plainShift; }

    /// From old cells to new ones; not finite where the reference systems know no way.
    void toNewCells(std::vector<Point>& oldCells, const Shift& shift) const;
    /// Around a window of old cells.
    CellLattice lattice(const CellWindow& window, const Shift& shift) const;

private:
    GridMapping(const Grid& oldGrid, const Grid& newGrid) : m_oldGrid(oldGrid), m_newGrid(newGrid) {}
    int chooseSamplesPerCell() const;
    bool findPlainShift() const;

    Grid m_oldGrid;
    Grid m_newGrid;
    std::unique_ptr<OGRCoordinateTransformation> m_oldToNew;
    int m_samplesPerCell = 1;
    bool m_plainShift = false;
};

/// True when both name the same reference system, however it is written.
bool sameReferenceSystem(const OGRSpatialReference& a, const OGRSpatialReference& b);

} // namespace detect
