#pragma once

#include "detect/Detection.h"

#include <condition_variable>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <vector>

namespace detect {

/// Decoded tiles of one raster, shared by all threads, so that a tile that several blocks touch is decoded
/// once. Work goes from the top down and from left to right, so when the store is full the topmost ones go,
/// the leftmost first: room for two rows of tiles is enough to decode each once. Safe to use from several
/// threads.
class TileStore {
public:
    /// Decodes a window of the raster into packed rows.
    using Decode = std::function<Status(const CellWindow& window, float* heights)>;

    /// `tileColumns` and `tileRows`: the file's own tile or strip; small ones are taken together,
    /// and one that fills the memory is cut.
    TileStore(int columns, int rows, int tileColumns, int tileRows, std::size_t capacityBytes);

    /// Fills a window that lies inside the raster; rows follow each other at a distance of `stride` cells.
    /// `decode` belongs to the calling thread and is called for the tiles that are not there.
    Status read(const CellWindow& window, float* heights, std::size_t stride, const Decode& decode);

private:
    using Heights = std::vector<float>;
    using Key = std::pair<int, int>; ///< row and column of the tile, in tiles

    CellWindow windowOf(const Key& key) const;
    Result<std::shared_ptr<Heights>> tile(const Key& key, const Decode& decode);
    std::shared_ptr<Heights> takeEmpty(std::size_t cells);
    void makeRoom();

    const int m_columns;
    const int m_rows;
    int m_tileColumns;
    int m_tileRows;
    const std::size_t m_capacityBytes;
    std::mutex m_mutex;
    std::condition_variable m_decoded;
    std::map<Key, std::shared_ptr<Heights>> m_tiles; ///< null while a thread decodes it
    std::vector<std::shared_ptr<Heights>> m_spare;   ///< memory of tiles that went
    std::size_t m_bytes = 0;
};

} // namespace detect
