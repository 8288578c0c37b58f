#include "detect/HeightFile.h"

#include "detect/GdalErrors.h"

#include <limits>

namespace detect {

namespace {

CPLStringList creationOptions(const HeightLayout& layout) {
    CPLStringList options;
    options.SetNameValue("TILED", "YES");
    options.SetNameValue("BLOCKXSIZE", std::to_string(HeightFile::kTileCells).c_str());
    options.SetNameValue("BLOCKYSIZE", std::to_string(HeightFile::kTileCells).c_str());
    options.SetNameValue("COMPRESS", "DEFLATE");
    options.SetNameValue("PREDICTOR", "3");
    options.SetNameValue("ZLEVEL", "3");
    options.SetNameValue("BIGTIFF", "IF_SAFER");
    options.SetNameValue("NUM_THREADS", std::to_string(layout.threads).c_str());
    options.SetNameValue("SPARSE_OK", layout.isSparse ? "YES" : "NO");
    return options;
}

} // namespace

Result<HeightFile> HeightFile::create(const StagedOutput& output, const HeightLayout& layout) {
    HeightFile file(output, layout);
    if (auto done = file.open(layout); !done) {
        return failed(done);
    }
    return file;
}

Status HeightFile::open(const HeightLayout& layout) {
    GdalErrors errors;
    GDALDriver* driver = GetGDALDriverManager()->GetDriverByName("GTiff");
    m_dataset.reset(driver->Create(m_output->path().c_str(), layout.columns, layout.rows, 1, GDT_Float32,
                                   creationOptions(layout).List()));
    if (!m_dataset) {
        return failure(errors.first());
    }
    std::array<double, 6> cellToMap = layout.cellToMap;
    m_dataset->SetGeoTransform(cellToMap.data());
    m_dataset->SetSpatialRef(&layout.reference);
    GDALRasterBand* band = m_dataset->GetRasterBand(1);
    band->SetNoDataValue(std::numeric_limits<double>::quiet_NaN());
    band->SetUnitType(layout.unit.c_str());
    if (!layout.name.empty()) {
        band->SetDescription(layout.name.c_str());
    }
    if (errors.any()) {
        return failure(errors.first());
    }
    return {};
}

Status HeightFile::write(int column, int row, int columns, int rows, const float* heights) {
    GdalErrors errors;
    const CPLErr status = m_dataset->GetRasterBand(1)->RasterIO(
        GF_Write, column, row, columns, rows, const_cast<float*>(heights), columns, rows, GDT_Float32, 0, 0,
        nullptr); // only read
    if (status != CE_None || errors.any()) {
        return failure(errors.first());
    }
    return {};
}

Status HeightFile::close() {
    {
        GdalErrors errors;
        m_dataset->FlushCache(true);
        m_dataset.reset(); // the directory and the last tiles are written here
        if (errors.any()) {
            return failure(errors.first());
        }
    }
    return checkTiles();
}

/// Closing reports not every error, so the finished file is asked whether all its tiles lie inside it. Sparse
/// files have none where no height is: those lie at 0.
Status HeightFile::checkTiles() const {
    GdalErrors errors;
    VSIStatBufL status;
    GDALDatasetUniquePtr written(
        GDALDataset::Open(m_output->path().c_str(), GDAL_OF_RASTER | GDAL_OF_READONLY));
    if (!written || VSIStatL(m_output->path().c_str(), &status) != 0) {
        return failure(errors.first());
    }
    GDALRasterBand* band = written->GetRasterBand(1);
    const auto number = [&](const std::string& key) {
        const char* text = band->GetMetadataItem(key.c_str(), "TIFF");
        return text ? std::stoull(text) : 0ULL;
    };
    for (int row = 0; row * kTileCells < written->GetRasterYSize(); ++row) {
        for (int column = 0; column * kTileCells < written->GetRasterXSize(); ++column) {
            const std::string tile = std::to_string(column) + "_" + std::to_string(row);
            const auto offset = number("BLOCK_OFFSET_" + tile);
            const bool isLeftOut = offset == 0 && m_isSparse;
            const auto end = offset + number("BLOCK_SIZE_" + tile);
            if (!isLeftOut && (offset == 0 || end > static_cast<unsigned long long>(status.st_size))) {
                return failure();
            }
        }
    }
    return {};
}

Unexpected HeightFile::failure(const std::string& gdalWords) const {
    return failureOf(m_output->target(), m_writeFails, gdalWords);
}

} // namespace detect
