#pragma once

#include "detect/raster/GridMapping.h"
#include "detect/raster/RasterSource.h"

#include <array>

namespace detect {

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
    CellWindow coverage() const { return m_mapping.coverage(); }

    /// Fills `heights` (packed rows) for a window of old cells. What comes out for a cell does not depend on
    /// the window it is asked with.
    Status read(RasterSource& newRaster, const CellWindow& oldWindow, const Shift& shift, float* heights);

private:
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

    explicit Resampler(GridMapping mapping) : m_mapping(std::move(mapping)) {}
    Status readSourceAround(RasterSource& newRaster, const CellWindow& tile, const CellLattice& lattice);
    Status readTile(RasterSource& newRaster, const CellWindow& tile, const Shift& shift, float* heights,
                    std::size_t stride);
    void shiftTile(const CellWindow& tile, const Shift& shift, float* heights, std::size_t stride);
    void convolveLine(const Post& post, const Point& share, int columns, float* line);
    void addUpRows(const float* first, std::size_t stride, const std::array<float, 4>& down,
                   std::size_t count);
    float sample(const Point& newCell) const;

    GridMapping m_mapping;
    CellWindow m_sourceWindow;
    std::vector<float> m_sourceHeights;
    PostRows m_posts; ///< of the row of cells at hand
};

} // namespace detect
