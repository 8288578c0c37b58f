#pragma once

#include "detect/heights/SurfaceModel.h"
#include "detect/raster/TileStore.h"

#include <memory>
#include <string>

namespace detect {

/// One surface model of a pair, opened for one thread. Its decoded tiles may be those of all threads.
class RasterSource {
public:
    /// Fails as SurfaceModel::open, and for a file without reference system.
    static Result<RasterSource> open(const std::string& path);
    static Result<RasterSource> openAgain(const RasterFacts& facts);

    const RasterFacts& facts() const { return m_model.facts(); }

    /// Decoded tiles are taken from the store, and put there for others, from now on.
    void shareTiles(std::shared_ptr<TileStore> tiles) { m_tiles = std::move(tiles); }

    /// As SurfaceModel.
    bool isEmpty(const CellWindow& window) { return m_model.isEmpty(window); }
    Status read(const CellWindow& window, float* heights, std::size_t stride);

private:
    explicit RasterSource(SurfaceModel model) : m_model(std::move(model)) {}

    SurfaceModel m_model;
    std::shared_ptr<TileStore> m_tiles;
};

} // namespace detect
