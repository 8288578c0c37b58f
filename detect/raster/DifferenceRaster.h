#pragma once

#include "detect/StagedOutput.h"
#include "detect/heights/Grid.h"

#include <gdal_priv.h>

namespace detect {

/// Writes dZ as a tiled, DEFLATE-compressed Float32 GeoTIFF on the old raster's grid (no-data NaN), block
/// rows from the top down. Whoever staged it moves it to its place, after close().
class DifferenceRaster {
public:
    /// `output` must live longer.
    static Result<DifferenceRaster> create(const StagedOutput& output, const Grid& grid,
                                           const CellWindow& overlap, int threads);

    /// `dz` holds packed rows for `window`, in cells of the old raster.
    Status write(const CellWindow& window, const std::vector<float>& dz);
    /// Ends the writing and looks whether all was written.
    Status close();

private:
    DifferenceRaster(const StagedOutput& output, const CellWindow& overlap)
        : m_output(&output), m_overlap(overlap) {}
    Status open(const Grid& grid, int threads);
    Status checkTiles() const;

    const StagedOutput* m_output;
    CellWindow m_overlap;
    GDALDatasetUniquePtr m_dataset;
};

} // namespace detect
