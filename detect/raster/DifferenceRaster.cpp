#include "detect/raster/DifferenceRaster.h"

#include "detect/GdalErrors.h"

#include <limits>
#include <string>

namespace detect {

namespace {

constexpr int kTileCells = 256;
const char* const kWriteFailed = "写入 dZ 栅格失败，磁盘可能已满";

} // namespace

Result<DifferenceRaster> DifferenceRaster::create(const StagedOutput& output, const Grid& grid,
                                                  const CellWindow& overlap, int threads) {
    DifferenceRaster raster(output, overlap);
    if (auto done = raster.open(grid, threads); !done) {
        return failed(done);
    }
    return raster;
}

Status DifferenceRaster::open(const Grid& grid, int threads) {
    GdalErrors errors;
    CPLStringList options;
    options.SetNameValue("TILED", "YES");
    options.SetNameValue("BLOCKXSIZE", std::to_string(kTileCells).c_str());
    options.SetNameValue("BLOCKYSIZE", std::to_string(kTileCells).c_str());
    options.SetNameValue("COMPRESS", "DEFLATE");
    options.SetNameValue("PREDICTOR", "3");
    options.SetNameValue("ZLEVEL", "3");
    options.SetNameValue("BIGTIFF", "IF_SAFER");
    options.SetNameValue("NUM_THREADS", std::to_string(threads).c_str());
    GDALDriver* driver = GetGDALDriverManager()->GetDriverByName("GTiff");
    m_dataset.reset(driver->Create(m_output->path().c_str(), m_overlap.columns, m_overlap.rows, 1,
                                   GDT_Float32, options.List()));
    if (!m_dataset) {
        return failureOf(m_output->target(), kWriteFailed, errors.first());
    }
    Affine moved = grid.cellToMap();
    const Point corner = moved(m_overlap.column, m_overlap.row);
    moved.c[0] = corner.x;
    moved.c[3] = corner.y;
    m_dataset->SetGeoTransform(moved.c.data());
    m_dataset->SetSpatialRef(&grid.srs());
    m_dataset->GetRasterBand(1)->SetNoDataValue(std::numeric_limits<double>::quiet_NaN());
    m_dataset->GetRasterBand(1)->SetUnitType("m");
    m_dataset->GetRasterBand(1)->SetDescription("dZ");
    if (errors.any()) {
        return failureOf(m_output->target(), kWriteFailed, errors.first());
    }
    return {};
}

Status DifferenceRaster::write(const CellWindow& window, const std::vector<float>& dz) {
    GdalErrors errors;
    const CPLErr status = m_dataset->GetRasterBand(1)->RasterIO(
        GF_Write, window.column - m_overlap.column, window.row - m_overlap.row, window.columns, window.rows,
        const_cast<float*>(dz.data()), window.columns, window.rows, GDT_Float32, 0, 0, nullptr); // only read
    if (status != CE_None || errors.any()) {
        return failureOf(m_output->target(), kWriteFailed, errors.first());
    }
    return {};
}

Status DifferenceRaster::close() {
    {
        GdalErrors errors;
        m_dataset->FlushCache(true);
        m_dataset.reset(); // the directory and the last tiles are written here
        if (errors.any()) {
            return failureOf(m_output->target(), kWriteFailed, errors.first());
        }
    }
    return checkTiles();
}

/// Closing reports not every error, so the finished file is asked whether all its tiles lie inside it.
Status DifferenceRaster::checkTiles() const {
    GdalErrors errors;
    VSIStatBufL status;
    GDALDatasetUniquePtr written(
        GDALDataset::Open(m_output->path().c_str(), GDAL_OF_RASTER | GDAL_OF_READONLY));
    if (!written || VSIStatL(m_output->path().c_str(), &status) != 0) {
        return failureOf(m_output->target(), kWriteFailed, errors.first());
    }
    GDALRasterBand* band = written->GetRasterBand(1);
    const auto number = [&](const std::string& key) {
        const char* text = band->GetMetadataItem(key.c_str(), "TIFF");
        return text ? std::stoull(text) : 0ULL;
    };
    for (int row = 0; row * kTileCells < m_overlap.rows; ++row) {
        for (int column = 0; column * kTileCells < m_overlap.columns; ++column) {
            const std::string tile = std::to_string(column) + "_" + std::to_string(row);
            const auto offset = number("BLOCK_OFFSET_" + tile);
            if (offset == 0 ||
                offset + number("BLOCK_SIZE_" + tile) > static_cast<unsigned long long>(status.st_size)) {
                return failureOf(m_output->target(), kWriteFailed);
            }
        }
    }
    return {};
}

} // namespace detect
