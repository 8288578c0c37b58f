#pragma once

#include "detect/raster/Grid.h"
#include "detect/raster/TileStore.h"

#include <gdal_priv.h>

#include <limits>
#include <string>
#include <vector>

namespace detect {

/// What is learnt about a raster when it is opened first.
struct RasterFacts {
    std::string path;
    Grid grid;
    int tileColumns = 0; ///< the file's own tile or strip, in cells
    int tileRows = 0;
    float noData = -9999.0F;
    float metresPerUnit = 1.0F;
    float offsetMetres = 0.0F;
    bool hasMask = false;
    bool hasNoData = false; ///< declared by the file
};

/// One elevation raster, opened for one thread. Heights come out in metres, NaN where there is none: the
/// declared no-data value (-9999 when none is declared), masked cells, NaN, infinities, and figures that no
/// place on Earth has (below -12000 or above 30000).
class RasterSource {
public:
    /// Fails for a file that is missing or no raster, and for one without reference system or georeference.
    static Result<RasterSource> open(const std::string& path);
    /// Opens it once more, for another thread; asks the file for nothing that is known, because reference
    /// systems cost each thread a long look into a database.
    static Result<RasterSource> openAgain(const RasterFacts& facts);

    const RasterFacts& facts() const { return m_facts; }

    /// Decoded tiles are taken from the store, and put there for others, from now on.
    void shareTiles(std::shared_ptr<TileStore> tiles) { m_tiles = std::move(tiles); }

    /// True when the file holds nothing for this window and says that this means no heights (sparse
    /// GeoTIFF); asks its directory only. False when the format cannot tell.
    bool isEmpty(const CellWindow& window);

    /// Reads a window that lies inside the raster into `heights` (row by row, `window.columns` in each); rows
    /// follow each other at a distance of `stride` cells.
    Status read(const CellWindow& window, float* heights, std::size_t stride);

private:
    explicit RasterSource(RasterFacts facts) : m_facts(std::move(facts)) {}
    Status openBand();
    Status learn();
    Status decode(const CellWindow& window, float* heights, std::size_t stride);
    Status hideMasked(const CellWindow& window, float* heights, std::size_t stride);

    RasterFacts m_facts;
    GDALDatasetUniquePtr m_dataset;
    GDALRasterBand* m_band = nullptr;
    std::vector<std::uint8_t> m_mask;
    std::shared_ptr<TileStore> m_tiles;
};

} // namespace detect
