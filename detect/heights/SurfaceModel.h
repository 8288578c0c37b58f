#pragma once

#include "detect/heights/HeightBand.h"

#include <gdal_priv.h>

#include <string>

namespace detect {

/// What is learnt about a surface model when it is opened first.
struct RasterFacts {
    std::string path;
    Grid grid;           ///< its reference system, the horizontal one alone, is empty when the file has none
    int tileColumns = 0; ///< the file's own tile or strip, in cells
    int tileRows = 0;
    HeightCoding coding;
};

/// The first band of a raster as heights: in metres, NaN where there is none (HeightCoding.h). Whoever wants heights
/// out of a file asks here, or has GDAL read through InMetres.h. One thread at a time.
class SurfaceModel {
public:
    /// Fails for a file that is missing or no raster, for one without georeference, and for one whose bands or blocks
    /// are more than a surface model has and memory holds.
    static Result<SurfaceModel> open(const std::string& path);
    /// Opens it once more, for another thread; asks the file for nothing that is known, because reference
    /// systems cost each thread a long look into a database.
    static Result<SurfaceModel> openAgain(const RasterFacts& facts);

    const RasterFacts& facts() const { return m_facts; }
    const Grid& grid() const { return m_facts.grid; }
    /// Still with the file's own figures.
    GDALDataset& dataset() const { return *m_dataset; }
    GDALRasterBand& band() const { return *m_band; }

    /// True when the file holds nothing for this window and says that this means no heights (sparse
    /// GeoTIFF); asks its directory only. False when the format cannot tell.
    bool isEmpty(const CellWindow& window);

    /// As HeightBand::read.
    Status read(const CellWindow& window, float* heights, std::size_t stride) {
        return m_heights.read(window, heights, stride);
    }
    /// One cell; NaN outside, too, and where the file cannot be read.
    float at(int column, int row);
    /// The cell around a place of the grid's reference system.
    float at(const Point& map);

private:
    explicit SurfaceModel(RasterFacts facts) : m_facts(std::move(facts)) {}
    Status openBand();
    Status learn();

    RasterFacts m_facts;
    GDALDatasetUniquePtr m_dataset;
    GDALRasterBand* m_band = nullptr;
    HeightBand m_heights;
};

} // namespace detect
