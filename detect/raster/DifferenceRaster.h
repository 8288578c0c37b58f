#pragma once

#include "detect/StagedOutput.h"
#include "detect/raster/Grid.h"

#include <gdal_priv.h>

namespace detect {

/// Writes dZ as a tiled, DEFLATE-compressed Float32 GeoTIFF on the old raster's grid (no-data NaN), block
/// rows from the top down. The file appears under its name at commit() only.
class DifferenceRaster {
public:
    static Result<DifferenceRaster> create(const std::string& path, const Grid& grid,
                                           const CellWindow& overlap, int threads);

    /// `dz` holds packed rows for `window`, in cells of the old raster.
    Status write(const CellWindow& window, const std::vector<float>& dz);
    Status commit();

private:
    DifferenceRaster(StagedOutput output, const CellWindow& overlap)
        : m_output(std::move(output)), m_overlap(overlap) {}
    Status open(const Grid& grid, int threads);
    Status checkTiles() const;

    StagedOutput m_output; // before the data set, so that the folder outlives the open file
    CellWindow m_overlap;
    GDALDatasetUniquePtr m_dataset;
};

} // namespace detect
