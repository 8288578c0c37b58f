#include "cloud/HighestGrid.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace cloud {

namespace {

constexpr float kEmpty = std::numeric_limits<float>::quiet_NaN();

} // namespace

HighestGrid::HighestGrid(int columns, int rows, std::string scratchFile, std::size_t mostBytes)
    : m_columns(columns), m_rows(rows), m_across(static_cast<std::size_t>((columns + kSide - 1) / kSide)),
      m_mostBlocks(std::max<std::size_t>(1, mostBytes / kBlockBytes)), m_scratch(std::move(scratchFile)) {
    const std::size_t blocks = m_across * static_cast<std::size_t>((rows + kSide - 1) / kSide);
    m_blocks.resize(blocks);
    m_isStored.resize(blocks);
    m_lastUse.resize(blocks);
}

Status HighestGrid::raise(int column, int row, float height) {
    if (auto done = choose(blockAt(column, row)); !done) {
        return done;
    }
    float& kept = (*m_blocks[m_current])[static_cast<std::size_t>(row % kSide * kSide + column % kSide)];
    if (!(kept >= height)) {
        kept = height;
        m_isStored[m_current] = false;
    }
    return {};
}

Status HighestGrid::read(const CellBox& box, std::vector<float>& heights) {
    heights.assign(static_cast<std::size_t>(box.rows) * static_cast<std::size_t>(box.columns), kEmpty);
    const int right = box.column + box.columns;
    const int bottom = box.row + box.rows;
    for (int row = box.row; row < bottom; row = (row / kSide + 1) * kSide) {
        for (int column = box.column; column < right; column = (column / kSide + 1) * kSide) {
            if (isBare(blockAt(column, row))) {
                continue;
            }
            if (auto done = choose(blockAt(column, row)); !done) {
                return done;
            }
            const CellBox part{column, row, std::min(right, (column / kSide + 1) * kSide) - column,
                               std::min(bottom, (row / kSide + 1) * kSide) - row};
            copyOut(part, box, heights);
        }
    }
    return {};
}

/// A part that lies in the chosen block into the heights of a box.
void HighestGrid::copyOut(const CellBox& part, const CellBox& box, std::vector<float>& heights) const {
    for (int row = part.row; row < part.row + part.rows; ++row) {
        const float* from = m_blocks[m_current]->data() + static_cast<std::ptrdiff_t>(row % kSide) * kSide +
                            part.column % kSide;
        const std::ptrdiff_t to =
            static_cast<std::ptrdiff_t>(row - box.row) * box.columns + part.column - box.column;
        std::copy(from, from + part.columns, heights.begin() + to);
    }
}

bool HighestGrid::isBare(const CellBox& box) const {
    for (int row = box.row; row < box.row + box.rows; row = (row / kSide + 1) * kSide) {
        for (int column = box.column; column < box.column + box.columns;
             column = (column / kSide + 1) * kSide) {
            if (!isBare(blockAt(column, row))) {
                return false;
            }
        }
    }
    return true;
}

Status HighestGrid::choose(std::size_t number) {
    if (number == m_current) {
        return {};
    }
    if (!m_blocks[number]) {
        if (auto done = fetch(number); !done) {
            return done;
        }
    }
    m_current = number;
    m_lastUse[number] = ++m_clock;
    return {};
}

Status HighestGrid::fetch(std::size_t number) {
    if (m_resident.size() >= m_mostBlocks) {
        if (auto done = evictOldest(); !done) {
            return done;
        }
    }
    auto heights = std::make_unique<Block>(static_cast<std::size_t>(kSide) * kSide, kEmpty);
    if (m_isStored[number]) {
        if (auto done = m_scratch.read(number * kBlockBytes, heights->data(), kBlockBytes); !done) {
            return done;
        }
    }
    m_blocks[number] = std::move(heights);
    m_resident.push_back(number);
    return {};
}

Status HighestGrid::evictOldest() {
    const auto oldest =
        std::min_element(m_resident.begin(), m_resident.end(),
                         [this](std::size_t a, std::size_t b) { return m_lastUse[a] < m_lastUse[b]; });
    if (!m_isStored[*oldest]) {
        const Block& block = *m_blocks[*oldest];
        if (auto done = m_scratch.write(*oldest * kBlockBytes, block.data(), kBlockBytes); !done) {
            return done;
        }
        m_isStored[*oldest] = true;
    }
    m_blocks[*oldest].reset();
    m_resident.erase(oldest);
    return {};
}

} // namespace cloud
