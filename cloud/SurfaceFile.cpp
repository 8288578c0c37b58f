#include "cloud/SurfaceFile.h"

#include "detect/GdalErrors.h"

#include <gdal_priv.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>

namespace cloud {

namespace {

constexpr int kTileCells = 256;
const char* const kWriteFailed = "写入地表模型失败，磁盘可能已满";

GDALDatasetUniquePtr create(const SurfaceGrid& surface, const std::string& path) {
    CPLStringList options;
    options.SetNameValue("TILED", "YES");
    options.SetNameValue("BLOCKXSIZE", std::to_string(kTileCells).c_str());
    options.SetNameValue("BLOCKYSIZE", std::to_string(kTileCells).c_str());
    options.SetNameValue("COMPRESS", "DEFLATE");
    options.SetNameValue("PREDICTOR", "3");
    options.SetNameValue("ZLEVEL", "3");
    options.SetNameValue("BIGTIFF", "IF_SAFER");
    options.SetNameValue("NUM_THREADS", "2");
    options.SetNameValue("SPARSE_OK", "YES"); // a survey may cross its box from corner to corner
    GDALDriver* driver = GetGDALDriverManager()->GetDriverByName("GTiff");
    GDALDatasetUniquePtr raster(
        driver->Create(path.c_str(), surface.columns, surface.rows, 1, GDT_Float32, options.List()));
    if (raster) {
        std::array<double, 6> place{surface.west * surface.cell,
                                    surface.cell,
                                    0.0,
                                    (surface.south + surface.rows) * surface.cell,
                                    0.0,
                                    -surface.cell};
        raster->SetGeoTransform(place.data());
        raster->SetSpatialRef(&surface.reference);
        raster->GetRasterBand(1)->SetNoDataValue(std::numeric_limits<double>::quiet_NaN());
        raster->GetRasterBand(1)->SetUnitType(surface.heightUnit.c_str());
    }
    return raster;
}

/// Rows of a surface, one row of tiles at a time, with as much around them as the closing of gaps looks at.
class Bands {
public:
    Bands(HighestGrid& heights, const GapCloser& gaps) : m_heights(heights), m_gaps(gaps) {}

    Status read(int firstRow, int count, RasterizeReport& report) {
        const int from = std::max(0, firstRow - m_gaps.reach());
        const int to = std::min(m_heights.rows(), firstRow + count + m_gaps.reach());
        if (const auto done = m_heights.read(from, to - from, m_rows); !done) {
            return detect::failed(done);
        }
        m_offset = static_cast<std::size_t>(firstRow - from) * static_cast<std::size_t>(m_heights.columns());
        const auto cells = static_cast<std::ptrdiff_t>(count) * m_heights.columns();
        const float* first = m_rows.data() + m_offset;
        const auto empty =
            std::count_if(first, first + cells, [](float height) { return std::isnan(height); });
        const std::int64_t closed = m_gaps.close(m_rows, firstRow - from, firstRow - from + count);
        report.measuredCells += cells - empty;
        report.closedCells += closed;
        report.emptyCells += empty - closed;
        return {};
    }

    float* cells() { return m_rows.data() + m_offset; }

private:
    HighestGrid& m_heights;
    const GapCloser& m_gaps;
    std::vector<float> m_rows;
    std::size_t m_offset = 0;
};

} // namespace

Status writeSurface(const SurfaceGrid& surface, HighestGrid& heights, const GapCloser& gaps,
                    const std::string& path, const std::string& shown, RasterizeReport& report,
                    const Progress& progress) {
    const detect::GdalErrors errors;
    GDALDatasetUniquePtr raster = create(surface, path);
    if (!raster) {
        return detect::failureOf(shown, kWriteFailed, errors.first());
    }
    Bands bands(heights, gaps);
    for (int row = 0; row < surface.rows; row += kTileCells) {
        const int count = std::min(kTileCells, surface.rows - row);
        if (const auto done = bands.read(row, count, report); !done) {
            return detect::failed(done);
        }
        if (raster->GetRasterBand(1)->RasterIO(GF_Write, 0, row, surface.columns, count, bands.cells(),
                                               surface.columns, count, GDT_Float32, 0, 0,
                                               nullptr) != CE_None ||
            errors.any()) {
            return detect::failureOf(shown, kWriteFailed, errors.first());
        }
        if (progress && !progress(static_cast<double>(row + count) / surface.rows)) {
            return detect::cancelled();
        }
    }
    raster->FlushCache(true);
    raster.reset(); // the directory and the last tiles are written here
    if (errors.any()) {
        return detect::failureOf(shown, kWriteFailed, errors.first());
    }
    return {};
}

} // namespace cloud
