#pragma once

#include "detect/Grid.h"

#include <gdal_priv.h>

#include <limits>
#include <optional>
#include <string>
#include <variant>
#include <vector>

namespace detect {

/// One elevation raster, opened for one thread. Heights come out in metres, NaN where there is none: the
/// declared no-data value (-9999 when none is declared), masked cells, NaN, infinities, and figures that no
/// place on Earth has (below -12000 or above 30000).
class RasterSource {
public:
    /// Fails for a file that is missing or no raster, and for one without reference system or georeference.
    static std::variant<RasterSource, Failure> open(const std::string& path);

    const std::string& path() const { return m_path; }
    const Grid& grid() const { return m_grid; }
    /// The file's own tile or strip, in cells.
    int tileColumns() const { return m_tileColumns; }
    int tileRows() const { return m_tileRows; }

    /// Reads a window that lies inside the raster into `heights` (row by row, `window.columns` in each); rows
    /// follow each other at a distance of `stride` cells.
    std::optional<Failure> read(const CellWindow& window, float* heights, std::size_t stride);

private:
    RasterSource() = default;
    std::optional<Failure> adopt();
    std::optional<Failure> hideMasked(const CellWindow& window, float* heights, std::size_t stride);

    std::string m_path;
    GDALDatasetUniquePtr m_dataset;
    GDALRasterBand* m_band = nullptr;
    Grid m_grid;
    int m_tileColumns = 0;
    int m_tileRows = 0;
    float m_noData = -9999.0F;
    float m_scale = 1.0F;
    float m_offset = 0.0F;
    bool m_hasMask = false;
    std::vector<std::uint8_t> m_mask;
};

} // namespace detect
