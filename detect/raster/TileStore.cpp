#include "detect/raster/TileStore.h"

#include "detect/heights/Grid.h"

#include <algorithm>

namespace detect {

namespace {

constexpr std::int64_t kLeastTileCells = 1 << 16;
constexpr std::int64_t kWantedTileCells = 1 << 19;
constexpr std::int64_t kMostTileCells = 1 << 22;
constexpr std::size_t kMostSpare = 2;

} // namespace

TileStore::TileStore(int columns, int rows, int tileColumns, int tileRows, std::size_t capacityBytes)
    : m_columns(columns), m_rows(rows), m_tileColumns(std::min(tileColumns, columns)),
      m_tileRows(std::min(tileRows, rows)), m_capacityBytes(capacityBytes) {
    const std::int64_t cells = std::int64_t{m_tileColumns} * m_tileRows;
    if (cells < kLeastTileCells) {
        m_tileRows *= static_cast<int>(std::max<std::int64_t>(1, kWantedTileCells / cells));
    } else if (cells > kMostTileCells) {
        m_tileRows = static_cast<int>(std::max<std::int64_t>(1, kWantedTileCells / m_tileColumns));
    }
}

CellWindow TileStore::windowOf(const Key& key) const {
    return intersect({key.second * m_tileColumns, key.first * m_tileRows, m_tileColumns, m_tileRows},
                     {0, 0, m_columns, m_rows});
}

Status TileStore::read(const CellWindow& window, float* heights, std::size_t stride, const Decode& decode) {
    const int lastRow = (window.row + window.rows - 1) / m_tileRows;
    const int lastColumn = (window.column + window.columns - 1) / m_tileColumns;
    for (int row = window.row / m_tileRows; row <= lastRow; ++row) {
        for (int column = window.column / m_tileColumns; column <= lastColumn; ++column) {
            const auto found = tile({row, column}, decode);
            if (!found) {
                return failed(found);
            }
            const CellWindow whole = windowOf({row, column});
            const CellWindow part = intersect(whole, window);
            const float* from = (*found)->data() + std::int64_t{part.row - whole.row} * whole.columns +
                                part.column - whole.column;
            float* to = heights + static_cast<std::size_t>(part.row - window.row) * stride +
                        static_cast<std::size_t>(part.column - window.column);
            for (int line = 0; line < part.rows; ++line, from += whole.columns, to += stride) {
                std::copy_n(from, part.columns, to);
            }
        }
    }
    return {};
}

Result<std::shared_ptr<TileStore::Heights>> TileStore::tile(const Key& key, const Decode& decode) {
    const CellWindow window = windowOf(key);
    std::unique_lock lock(m_mutex);
    for (auto found = m_tiles.find(key); found != m_tiles.end(); found = m_tiles.find(key)) {
        if (found->second) {
            return found->second;
        }
        m_decoded.wait(lock); // another thread is at it; should it fail, the tile is gone and ours to try
    }
    m_tiles[key];
    std::shared_ptr<Heights> heights = takeEmpty(static_cast<std::size_t>(window.cells()));
    lock.unlock();
    const Status decoded = decode(window, heights->data());
    lock.lock();
    if (!decoded) {
        m_tiles.erase(key);
        m_decoded.notify_all();
        return failed(decoded);
    }
    m_tiles[key] = heights;
    m_bytes += heights->size() * sizeof(float);
    makeRoom();
    m_decoded.notify_all();
    return heights;
}

/// Memory that was in use before spares the system fresh pages.
std::shared_ptr<TileStore::Heights> TileStore::takeEmpty(std::size_t cells) {
    const auto found = std::find_if(m_spare.begin(), m_spare.end(), [cells](const auto& spare) {
        return spare.use_count() == 1 && spare->size() == cells;
    });
    if (found == m_spare.end()) {
        return std::make_shared<Heights>(cells);
    }
    auto heights = std::move(*found);
    m_spare.erase(found);
    return heights;
}

void TileStore::makeRoom() {
    for (auto tile = m_tiles.begin(); tile != m_tiles.end() && m_bytes > m_capacityBytes;) {
        if (!tile->second) {
            ++tile;
            continue;
        }
        m_bytes -= tile->second->size() * sizeof(float);
        if (m_spare.size() < kMostSpare) {
            m_spare.push_back(std::move(tile->second));
        }
        tile = m_tiles.erase(tile);
    }
}

} // namespace detect
