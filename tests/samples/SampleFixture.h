#pragma once

#include "samples/SampleCorridor.h"
#include "tests/support/TemporaryFolder.h"

#include <gdal_priv.h>
#include <ogrsf_frmts.h>

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

struct Raster {
    int columns = 0;
    int rows = 0;
    double transform[6] = {};
    std::string authorityCode;
    std::vector<float> values; ///< first band, row after row

    double x(int column) const { return transform[0] + (column + 0.5) * transform[1]; }
    double y(int row) const { return transform[3] + (row + 0.5) * transform[5]; }
};

Raster readRaster(const std::filesystem::path& path);

using DatasetPtr = std::unique_ptr<GDALDataset>;
DatasetPtr openVector(const std::filesystem::path& path);

/// Makes a small sample (2 m cells) and returns the error line, empty when all went well.
std::string makeSmallSample(const std::filesystem::path& folder, std::uint64_t seed);

/// One small sample that all tests of the program may read.
const std::filesystem::path& sharedSample();
