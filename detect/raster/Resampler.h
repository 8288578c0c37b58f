#pragma once

#include "detect/raster/RasterSource.h"

#include <ogr_spatialref.h>

#include <array>
#include <memory>

namespace detect {

/// What is added to the new epoch's map coordinates before it is compared: metres east and north.
struct Shift {
    double eastMetres = 0.0;
    double northMetres = 0.0;

    bool none() const { return eastMetres == 0.0 && northMetres == 0.0; }
};

/// Reads the new raster as if it lay on the old raster's grid: by cubic convolution of the sixteen surrounding
/// posts (Keys 1981), kept within their heights so that walls do not swing over, and by the mean of several
/// bilinear samples, weighted by area so, where the new cells are finer than the old ones. Beside missing heights
/// and at the border four posts do (bilinear); a sample that leans on a missing one of these, or lies outside the
/// outermost posts, is missing. Belongs to one thread.
class Resampler {
public:
    /// Fails when no transformation between the two reference systems exists; `newPath` is for its message.
    static Result<Resampler> create(const Grid& oldGrid, const Grid& newGrid, const std::string& newPath);

    /// The old cells that the new raster may cover; empty when they do not meet.
    CellWindow coverage() const;

    /// Fills `heights` (packed rows) for a window of old cells. What comes out for a cell does not depend on
    /// the window it is asked with.
    Status read(RasterSource& newRaster, const CellWindow& oldWindow, const Shift& shift, float* heights);

private:
    /// Positions in the new raster, in its cells, at every latticeStep-th column and row of the old one.
    struct Lattice {
        int firstColumn = 0;
        int firstRow = 0;
        int columns = 0;
        std::vector<Point> nodes;
    };

    struct Post {
        int column = 0;
        int row = 0;
    };
    /// What four rows of posts make together, column by column.
    struct PostRows {
        std::vector<float> weighted;
        std::vector<float> lowest;
        std::vector<float> highest;
    };

    Resampler(const Grid& oldGrid, const Grid& newGrid) : m_oldGrid(oldGrid), m_newGrid(newGrid) {}
    int chooseSamplesPerCell() const;
    void toNewCells(std::vector<Point>& oldCells, const Shift& shift) const;
    Lattice layLattice(const CellWindow& tile, const Shift& shift) const;
    Status readSourceAround(RasterSource& newRaster, const CellWindow& tile, const Lattice& lattice);
    Status readTile(RasterSource& newRaster, const CellWindow& tile, const Shift& shift, float* heights,
                    std::size_t stride);
    bool isPlainShift() const;
    void shiftTile(const CellWindow& tile, const Shift& shift, float* heights, std::size_t stride);
    void convolveLine(const Post& post, const Point& share, int columns, float* line);
    void addUpRows(const float* first, std::size_t stride, const std::array<float, 4>& down,
                   std::size_t count);
    float sample(const Point& newCell) const;

    Grid m_oldGrid;
    Grid m_newGrid;
    std::unique_ptr<OGRCoordinateTransformation> m_oldToNew;
    int m_samplesPerCell = 1;
    bool m_plainShift = false; ///< the grids differ by a shift only, so all cells share their weights
    CellWindow m_sourceWindow;
    std::vector<float> m_sourceHeights;
    PostRows m_posts; ///< of the row of cells at hand
};

/// True when both name the same reference system, however it is written.
bool sameReferenceSystem(const OGRSpatialReference& a, const OGRSpatialReference& b);

} // namespace detect
