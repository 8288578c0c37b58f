#pragma once

#include "cloud/HighestGrid.h"

namespace cloud {

/// Keeps every height that fell into the cells of a grid, and gives the one below which a share of them lies.
///
/// The heights go through a scratch file (8 bytes each), sorted into blocks of cells on the way, so that the clouds
/// are read once and each percentile is exact to the float that the height is kept in. Histograms of each cell would
/// need no file, but memory for each cell or several readings of the clouds, and would be exact to their step alone.
/// Memory is bounded by `mostBytes`, however many heights there are, in all or in one cell. One thread at a time.
class ReturnStore {
public:
    /// `scratchFile` is made when it is needed and goes with the object.
    ReturnStore(int columns, int rows, std::string scratchFile, std::size_t mostBytes = 64u << 20);

    /// The cell must lie in the grid.
    Status add(int column, int row, float height);

    /// Raises the cells of `heights`, a grid of the same size, to their percentile: of n heights in ascending order
    /// the one at percent / 100 * (n - 1), counted from 0, linear between the two that lie beside it (definition 7
    /// of Hyndman and Fan 1996). 0 gives the lowest, 100 the highest. The heights kept are gone afterwards.
    Status percentiles(double percent, HighestGrid& heights, const Progress& progress);

private:
    static constexpr int kSide = 256;                 ///< cells of a block
    static constexpr std::size_t kPageReturns = 2048; ///< in memory for a block, and written at once

    struct Return {
        float height;
        std::uint16_t cell; ///< in its block
    };
    /// A piece of the scratch file; each begins with the place of the block's page before it.
    struct Page {
        std::uint64_t offset = 0;
        std::uint64_t count = 0; ///< returns; 0 where there is no page
    };
    struct Block {
        Page last;
        std::vector<Return> open; ///< not yet in the file
    };

    /// Cells of a block from the first to the last, which is not among them.
    struct CellRange {
        int first;
        int last;
    };
    struct Target {
        double percent;
        HighestGrid& heights;
    };

    Status open(std::size_t number);
    Status writeOut(Block& block);
    template<typename Visitor>
    Status visit(const Block& block, const Visitor& visitor);
    Status resolve(std::size_t number, const Target& target);
    Status resolveCells(std::size_t number, const std::vector<std::uint64_t>& counts, CellRange cells,
                        const Target& target);
    Result<float> deepPercentile(const Block& block, int cell, std::uint64_t count, double percent);
    Result<float> heightAt(const Block& block, int cell, std::uint64_t rank);
    Status raise(std::size_t number, int cell, float height, const Target& target) const;

    std::size_t m_across; ///< blocks in a row of blocks
    std::size_t m_mostOpen;
    std::size_t m_mostAtOnce; ///< returns
    std::vector<Block> m_blocks;
    std::vector<std::size_t> m_open;
    std::size_t m_nextToClose = 0;
    std::vector<Return> m_page;
    ScratchFile m_scratch;
    std::uint64_t m_end = 0; ///< of the scratch file
};

} // namespace cloud
