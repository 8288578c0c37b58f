#pragma once

#include "cloud/CellBox.h"
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
    /// `heights` are the packed rows of the box, which must lie in the grid; NaN where nothing fell.
    Status read(const CellBox& box, std::vector<float>& heights);
    /// Whether nothing has fallen into the box. It looks at whole blocks.
    bool isBare(const CellBox& box) const;

private:
    static constexpr int kSide = 256; ///< cells of a block
    static constexpr std::size_t kBlockBytes = sizeof(float) * kSide * kSide;
    using Block = std::vector<float>;

    std::size_t blockAt(int column, int row) const {
        return static_cast<std::size_t>(row / kSide) * m_across + static_cast<std::size_t>(column / kSide);
    }
    bool isBare(std::size_t number) const { return !m_blocks[number] && !m_isStored[number]; }
    /// Brings the block into memory. The one chosen before may go.
    Status choose(std::size_t number);
    void copyOut(const CellBox& part, const CellBox& box, std::vector<float>& heights) const;
    Status fetch(std::size_t number);
    Status evictOldest();

    int m_columns;
    int m_rows;
    std::size_t m_across; ///< blocks in a row of blocks
    std::size_t m_mostBlocks;
    std::vector<std::unique_ptr<Block>>
        m_blocks;                 ///< null where nothing fell, or where the scratch file has it
    std::vector<bool> m_isStored; ///< the scratch file has it as it is
    std::vector<std::size_t> m_resident;
    std::vector<std::uint64_t> m_lastUse;
    std::uint64_t m_clock = 0;
    std::size_t m_current = static_cast<std::size_t>(-1);
    ScratchFile m_scratch;
};

} // namespace cloud
