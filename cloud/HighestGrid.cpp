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
      m_mostBlocks(std::max<std::size_t>(m_across + 1, mostBytes / kBlockBytes)),
      m_scratch(std::move(scratchFile)) {
    const std::size_t blocks = m_across * static_cast<std::size_t>((rows + kSide - 1) / kSide);
    m_blocks.resize(blocks);
    m_isStored.resize(blocks);
    m_lastUse.resize(blocks);
}

Status HighestGrid::raise(int column, int row, float height) {
    const std::size_t number =
        static_cast<std::size_t>(row / kSide) * m_across + static_cast<std::size_t>(column / kSide);
    if (const auto done = choose(number); !done) {
        return done;
    }
    float& kept = (*m_blocks[number])[static_cast<std::size_t>(row % kSide * kSide + column % kSide)];
    if (!(kept >= height)) {
        kept = height;
    }
    return {};
}

Status HighestGrid::read(int firstRow, int count, std::vector<float>& heights) {
    heights.assign(static_cast<std::size_t>(count) * static_cast<std::size_t>(m_columns), kEmpty);
    for (int row = firstRow; row < firstRow + count; ++row) {
        float* line =
            &heights[static_cast<std::size_t>(row - firstRow) * static_cast<std::size_t>(m_columns)];
        for (std::size_t i = 0; i < m_across; ++i) {
            const std::size_t number = static_cast<std::size_t>(row / kSide) * m_across + i;
            if (!m_blocks[number] && !m_isStored[number]) {
                continue;
            }
            if (const auto done = choose(number); !done) {
                return done;
            }
            const int column = static_cast<int>(i) * kSide;
            const float* cells = m_blocks[number]->data() + static_cast<std::ptrdiff_t>(row % kSide) * kSide;
            std::copy(cells, cells + std::min(kSide, m_columns - column), line + column);
        }
    }
    return {};
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
    if (auto done = m_scratch.write(*oldest * kBlockBytes, m_blocks[*oldest]->data(), kBlockBytes); !done) {
        return done;
    }
    m_isStored[*oldest] = true;
    m_blocks[*oldest].reset();
    m_resident.erase(oldest);
    return {};
}

} // namespace cloud
