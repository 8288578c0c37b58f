#include "tests/samples/SampleFixture.h"

#include <gtest/gtest.h>

namespace fs = std::filesystem;

Raster readRaster(const fs::path& path) {
    GDALAllRegister();
    Raster raster;
    const DatasetPtr dataset(GDALDataset::Open(path.c_str(), GDAL_OF_RASTER | GDAL_OF_READONLY));
    if (!dataset) {
        return raster;
    }
    raster.columns = dataset->GetRasterXSize();
    raster.rows = dataset->GetRasterYSize();
    dataset->GetGeoTransform(raster.transform);
    if (const OGRSpatialReference* crs = dataset->GetSpatialRef()) {
        if (const char* code = crs->GetAuthorityCode(nullptr)) {
            raster.authorityCode = code;
        }
    }
    raster.values.resize(static_cast<std::size_t>(raster.columns) * static_cast<std::size_t>(raster.rows));
    const CPLErr status =
        dataset->GetRasterBand(1)->RasterIO(GF_Read, 0, 0, raster.columns, raster.rows, raster.values.data(),
                                            raster.columns, raster.rows, GDT_Float32, 0, 0, nullptr);
    EXPECT_EQ(status, CE_None) << path;
    return raster;
}

DatasetPtr openVector(const fs::path& path) {
    GDALAllRegister();
    return DatasetPtr(GDALDataset::Open(path.c_str(), GDAL_OF_VECTOR | GDAL_OF_READONLY));
}

std::string makeSmallSample(const fs::path& folder, std::uint64_t seed) {
    samples::SampleOptions options;
    options.directory = folder.u8string();
    options.seed = seed;
    options.cells = samples::SampleOptions::kSmallestCells;
    return samples::makeSampleCorridor(options).value_or("");
}

const fs::path& sharedSample() {
    static const TemporaryFolder home;
    static const fs::path folder = [] {
        fs::path path = home.path() / "sample";
        EXPECT_EQ(makeSmallSample(path, 1), "");
        return path;
    }();
    return folder;
}
