#include "HeightBlocks.h"

#include "RasterSource.h"

#include <cmath>
#include <limits>

namespace osgEarth {

float bilinearAcrossHoles(float upperLeft, float upperRight, float lowerLeft, float lowerRight, double fx,
                          double fy) {
    const float heights[4] = {upperLeft, upperRight, lowerLeft, lowerRight};
    const double weights[4] = {(1.0 - fx) * (1.0 - fy), fx * (1.0 - fy), (1.0 - fx) * fy, fx * fy};
    const float nearest = heights[(fx >= 0.5 ? 1 : 0) + (fy >= 0.5 ? 2 : 0)];
    if (std::isnan(nearest)) {
        return nearest;
    }
    double sum = 0.0;
    double weight = 0.0;
    for (int i = 0; i < 4; ++i) {
        if (!std::isnan(heights[i])) {
            sum += weights[i] * heights[i];
            weight += weights[i];
        }
    }
    return static_cast<float>(sum / weight);
}

float HeightBlocks::sample(double column, double row) {
    const int columns = m_source.columns();
    const int rows = m_source.rows();
    if (!(column >= 0.0 && row >= 0.0 && column <= columns && row <= rows)) {
        return std::numeric_limits<float>::quiet_NaN();
    }
    // Within half a cell of the raster's edge the edge cells continue outwards.
    const double x = std::clamp(column - 0.5, 0.0, columns - 1.0);
    const double y = std::clamp(row - 0.5, 0.0, rows - 1.0);
    const int left = std::min(static_cast<int>(x), std::max(0, columns - 2));
    const int top = std::min(static_cast<int>(y), std::max(0, rows - 2));
    const BlockPointer block = blockAt(left / kBlockCells, top / kBlockCells);
    if (!block) {
        return std::numeric_limits<float>::quiet_NaN();
    }
    const int right = columns > 1 ? 1 : 0;
    const int below = rows > 1 ? block->width : 0;
    const float* cell =
        &block->heights[static_cast<std::size_t>(top % kBlockCells * block->width + left % kBlockCells)];
    return bilinearAcrossHoles(cell[0], cell[right], cell[below], cell[below + right], x - left, y - top);
}

// Where heights come from a server, a block may have been read before the finest had come.
void HeightBlocks::forgetOutdated() {
    const int arrivals = m_source.heightArrivals();
    if (arrivals != m_arrivals) {
        m_arrivals = arrivals;
        m_byIndex.clear();
        m_newestFirst.clear();
    }
}

HeightBlocks::BlockPointer HeightBlocks::blockAt(int blockColumn, int blockRow) {
    const std::int64_t index = static_cast<std::int64_t>(blockRow) * 0x100000000LL + blockColumn;
    {
        const std::lock_guard lock(m_mutex);
        forgetOutdated();
        const auto found = m_byIndex.find(index);
        if (found != m_byIndex.end()) {
            m_newestFirst.splice(m_newestFirst.begin(), m_newestFirst, found->second);
            return found->second->second;
        }
    }
    BlockPointer block = read(blockColumn, blockRow);
    const std::lock_guard lock(m_mutex);
    if (block && m_byIndex.find(index) == m_byIndex.end()) {
        m_newestFirst.emplace_front(index, block);
        m_byIndex[index] = m_newestFirst.begin();
        if (m_newestFirst.size() > kMaxBlocks) {
            m_byIndex.erase(m_newestFirst.back().first);
            m_newestFirst.pop_back();
        }
    }
    return block;
}

HeightBlocks::BlockPointer HeightBlocks::read(int blockColumn, int blockRow) const {
    CellWindow window;
    window.column = blockColumn * kBlockCells;
    window.row = blockRow * kBlockCells;
    window.width = std::min(kBlockCells + 1, m_source.columns() - window.column);
    window.height = std::min(kBlockCells + 1, m_source.rows() - window.row);
    auto block = std::make_shared<Block>();
    block->width = window.width;
    return m_source.knownHeights(window, block->heights) ? block : nullptr;
}

} // namespace osgEarth
