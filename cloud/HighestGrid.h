#pragma once

#include "cloud/ScratchFile.h"

#include <memory>
#include <string>
#include <vector>

namespace cloud {

/// A grid of cells that keeps the highest height that fell into each. It stays within a given memory: what was
/// not needed for the longest time waits in a scratch file. One thread at a time.
class HighestGrid {
public:
    /// `scratchFile` is made when it is needed and goes with the object.
    HighestGrid(int columns, int rows, std::string scratchFile, std::size_t mostBytes = 256u << 20);

    int columns() const { return m_columns; }
    int rows() const { return m_rows; }

    /// The cell must lie in the grid.
    Status raise(int column, int row, float height);
    /// `heights` holds `count` whole rows from `firstRow` on; NaN where nothing fell.
    Status read(int firstRow, int count, std::vector<float>& heights);

private:
    static constexpr int kSide = 256; ///< cells of a block
    static constexpr std::size_t kBlockBytes = sizeof(float) * kSide * kSide;
    using Block = std::vector<float>;

    /// Brings the block into memory. The one chosen before may go.
    Status choose(std::size_t number);
    Status fetch(std::size_t number);
    Status evictOldest();

    int m_columns;
    int m_rows;
    std::size_t m_across; ///< blocks in a row of blocks
    std::size_t m_mostBlocks;
    std::vector<std::unique_ptr<Block>>
        m_blocks;                 ///< null where nothing fell, or where the scratch file has it
    std::vector<bool> m_isStored; ///< the scratch file has it
    std::vector<std::size_t> m_resident;
    std::vector<std::uint64_t> m_lastUse;
    std::uint64_t m_clock = 0;
    std::size_t m_current = static_cast<std::size_t>(-1);
    ScratchFile m_scratch;
};

} // namespace cloud
