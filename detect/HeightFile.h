#pragma once

#include "detect/StagedOutput.h"

#include <gdal_priv.h>

#include <array>
#include <string>

namespace detect {

/// What a raster of heights is beside its cells.
struct HeightLayout {
    int columns = 0;
    int rows = 0;
    std::array<double, 6> cellToMap{}; ///< GDAL's six numbers
    OGRSpatialReference reference;
    std::string unit;       ///< of the heights, as GeoTIFFs name it
    std::string name;       ///< of the band, may be empty
    std::string writeFails; ///< what is said when the file cannot be written
    bool isSparse = false;  ///< tiles without a height take no room
    int threads = 1;        ///< that compress
};

/// Writes heights as a tiled, DEFLATE-compressed Float32 GeoTIFF (no-data NaN). Whoever staged it moves it to
/// its place, after close(). One thread at a time.
class HeightFile {
public:
    static constexpr int kTileCells = 256;

    /// `output` must live longer.
    static Result<HeightFile> create(const StagedOutput& output, const HeightLayout& layout);

    /// `heights` are packed rows of that window, in cells of the file.
    Status write(int column, int row, int columns, int rows, const float* heights);
    /// Ends the writing and looks whether all was written.
    Status close();

private:
    HeightFile(const StagedOutput& output, const HeightLayout& layout)
        : m_output(&output), m_writeFails(layout.writeFails), m_isSparse(layout.isSparse) {}
    Status open(const HeightLayout& layout);
    Status checkTiles() const;
    Unexpected failure(const std::string& gdalWords = {}) const;

    const StagedOutput* m_output;
    std::string m_writeFails;
    bool m_isSparse;
    GDALDatasetUniquePtr m_dataset;
};

} // namespace detect
