// Blocks of heights at every power-of-two reduction.
#pragma once
#include "RasterBands.h"

#include <list>
#include <map>
#include <optional>
#include <tuple>
#include <vector>

namespace osgEarth {

/// The blocks of a raster's heights that are here. What lacks is taken from the next coarser block that is. Not thread
/// safe.
class HeightPyramid {
public:
    /// Cells of a side, after the reduction.
    static constexpr int kBlockCells = 128;
    static constexpr std::size_t kMostBlocks = 1024;
    struct Place {
        int step = 1;
        int column = 0; // of blocks
        int row = 0;
        bool operator<(const Place& other) const {
            return std::tie(step, column, row) < std::tie(other.step, other.column, other.row);
        }
        bool operator==(const Place& other) const {
            return std::tie(step, column, row) == std::tie(other.step, other.column, other.row);
        }
    };

    /// Size of the raster in cells of full resolution. Blocks as coarse as `coarsestStep` are kept for good.
    HeightPyramid(int columns, int rows, int coarsestStep);

    int coarsestStep() const { return m_coarsestStep; }
    /// The cells that a block stands for.
    CellWindow windowOf(const Place& place) const;
    /// The blocks that a window lies in; those of the coarsest reduction when it is coarser still.
    std::vector<Place> blocksOf(const CellWindow& window) const;
    bool has(const Place& place) const { return m_blocks.count(place) != 0; }
    /// Heights of the block's window; drops the one that was used longest ago where there are too many.
    void insert(const Place& place, std::vector<float> heights);
    /// Row by row; NaN where there is no data, and where nothing has come.
    void read(const CellWindow& window, std::vector<float>& heights);

private:
    struct Block {
        std::vector<float> heights;
        int width = 0;
        int height = 0;
        std::optional<std::list<Place>::iterator> use; // none of those kept for good
    };

    Block* find(const Place& place);
    Block* finestFor(int step, int column, int row, Place& place);
    static float heightIn(const Block& block, const Place& place, double column, double row);

    int m_columns;
    int m_rows;
    int m_coarsestStep;
    std::map<Place, Block> m_blocks;
    std::list<Place> m_newestFirst;
};

} // namespace osgEarth
