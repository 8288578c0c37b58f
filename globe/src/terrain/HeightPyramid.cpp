#include "HeightPyramid.h"

#include "HeightBlocks.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace osgEarth {

HeightPyramid::HeightPyramid(int columns, int rows, int coarsestStep)
    : m_columns(columns), m_rows(rows), m_coarsestStep(coarsestStep) {}

CellWindow HeightPyramid::windowOf(const Place& place) const {
    CellWindow window;
    window.step = place.step;
    window.column = place.column * kBlockCells * place.step;
    window.row = place.row * kBlockCells * place.step;
    window.width = std::min(kBlockCells * place.step, m_columns - window.column);
    window.height = std::min(kBlockCells * place.step, m_rows - window.row);
    return window;
}

std::vector<HeightPyramid::Place> HeightPyramid::blocksOf(const CellWindow& window) const {
    const int step = std::min(window.step, m_coarsestStep);
    const int cells = kBlockCells * step;
    const int lastColumn = std::min(window.column + window.width, m_columns) - 1;
    const int lastRow = std::min(window.row + window.height, m_rows) - 1;
    std::vector<Place> places;
    for (int row = std::max(0, window.row) / cells; row <= lastRow / cells; ++row) {
        for (int column = std::max(0, window.column) / cells; column <= lastColumn / cells; ++column) {
            places.push_back({step, column, row});
        }
    }
    return places;
}

void HeightPyramid::insert(const Place& place, std::vector<float> heights) {
    const CellWindow window = windowOf(place);
    if (has(place)) {
        return;
    }
    Block block{std::move(heights), window.reducedWidth(), window.reducedHeight(), std::nullopt};
    if (place.step < m_coarsestStep) {
        m_newestFirst.push_front(place);
        block.use = m_newestFirst.begin();
    }
    m_blocks.emplace(place, std::move(block));
    if (m_newestFirst.size() > kMostBlocks) {
        m_blocks.erase(m_newestFirst.back());
        m_newestFirst.pop_back();
    }
}

void HeightPyramid::read(const CellWindow& window, std::vector<float>& heights) {
    heights.assign(static_cast<std::size_t>(window.reducedWidth()) *
                       static_cast<std::size_t>(window.reducedHeight()),
                   std::numeric_limits<float>::quiet_NaN());
    const double middle = window.step / 2.0;
    const int step = std::min(window.step, m_coarsestStep);
    Block* block = nullptr;
    Place place;
    CellWindow covered; // by the block; none at first
    std::size_t index = 0;
    for (int row = window.row; row < window.row + window.height; row += window.step) {
        for (int column = window.column; column < window.column + window.width;
             column += window.step, ++index) {
            const bool isCovered = column >= covered.column && column < covered.column + covered.width &&
                                   row >= covered.row && row < covered.row + covered.height;
            if (!isCovered) {
                block = finestFor(step, column, row, place);
                // A coarser block may stand in for some of these cells only.
                covered = windowOf({step, column / (kBlockCells * step), row / (kBlockCells * step)});
            }
            if (block) {
                heights[index] = heightIn(*block, place, column + middle, row + middle);
            }
        }
    }
}

HeightPyramid::Block* HeightPyramid::find(const Place& place) {
    const auto found = m_blocks.find(place);
    if (found == m_blocks.end()) {
        return nullptr;
    }
    if (const auto use = found->second.use) {
        m_newestFirst.splice(m_newestFirst.begin(), m_newestFirst, *use);
    }
    return &found->second;
}

// The block that tells most of the cell at a reduction.
HeightPyramid::Block* HeightPyramid::finestFor(int step, int column, int row, Place& place) {
    for (int coarser = step; coarser <= m_coarsestStep; coarser *= 2) {
        const int cells = kBlockCells * coarser;
        place = {coarser, column / cells, row / cells};
        if (Block* block = find(place)) {
            return block;
        }
    }
    return nullptr;
}

// Bilinear within the block, at a position in cells of full resolution; its rim continues outwards.
float HeightPyramid::heightIn(const Block& block, const Place& place, double column, double row) {
    const double x =
        std::clamp(column / place.step - place.column * kBlockCells - 0.5, 0.0, block.width - 1.0);
    const double y = std::clamp(row / place.step - place.row * kBlockCells - 0.5, 0.0, block.height - 1.0);
    const int left = static_cast<int>(x);
    const int top = static_cast<int>(y);
    const int right = std::min(left + 1, block.width - 1);
    const int below = std::min(top + 1, block.height - 1);
    const auto at = [&block](int atColumn, int atRow) {
        return block.heights[static_cast<std::size_t>(atRow * block.width + atColumn)];
    };
    return bilinearAcrossHoles(at(left, top), at(right, top), at(left, below), at(right, below), x - left,
                               y - top);
}

} // namespace osgEarth
