#pragma once

#include "cloud/Rasterize.h"
#include "tests/cloud/LasWriter.h"
#include "tests/support/TemporaryFolder.h"

#include <gdal_priv.h>
#include <gtest/gtest.h>

#include <cmath>

namespace cloud::test {

/// A surface model read back.
struct Surface {
    int columns = 0;
    int rows = 0;
    std::array<double, 6> place{};
    std::vector<float> heights;
    std::string unit;
    OGRSpatialReference reference;

    float at(double x, double y) const {
        const int column = static_cast<int>(std::floor((x - place[0]) / place[1]));
        const int row = static_cast<int>(std::floor((y - place[3]) / place[5]));
        return heights[static_cast<std::size_t>(row * columns + column)];
    }
};

/// Clouds in a folder that goes, and the surface model made of them.
class Rasterizing : public testing::Test {
protected:
    std::string path(const std::string& name) const { return m_folder.file(name); }
    std::vector<std::string> files() const { return m_folder.names(); }

    /// A cloud whose reference system is UTM zone 50 north.
    static LasWriter utmCloud(std::vector<Return> points) {
        LasWriter file;
        file.points = std::move(points);
        file.geoKeys = {1, 1, 0, 2, 1024, 0, 1, 1, 3072, 0, 1, 32650};
        return file;
    }

    Result<RasterizeReport> run(const std::vector<std::string>& clouds, double cell = 1.0, int gapCells = 0) {
        RasterizeRequest request;
        request.clouds = clouds;
        request.out = path("dsm.tif");
        request.cell = cell;
        request.gapCells = gapCells;
        return rasterize(request);
    }

    Result<RasterizeReport> run(const LasWriter& file, double cell = 1.0, int gapCells = 0) {
        file.write(path("cloud.las"));
        return run({path("cloud.las")}, cell, gapCells);
    }

    Surface surface() const {
        const GDALDatasetUniquePtr raster(GDALDataset::Open(path("dsm.tif").c_str(), GDAL_OF_RASTER));
        Surface read;
        EXPECT_TRUE(raster);
        if (raster) {
            read.columns = raster->GetRasterXSize();
            read.rows = raster->GetRasterYSize();
            raster->GetGeoTransform(read.place.data());
            read.heights.resize(static_cast<std::size_t>(read.columns * read.rows));
            EXPECT_EQ(raster->GetRasterBand(1)->RasterIO(GF_Read, 0, 0, read.columns, read.rows,
                                                         read.heights.data(), read.columns, read.rows,
                                                         GDT_Float32, 0, 0, nullptr),
                      CE_None);
            read.unit = raster->GetRasterBand(1)->GetUnitType();
            if (const OGRSpatialReference* reference = raster->GetSpatialRef()) {
                read.reference = *reference;
            }
        }
        return read;
    }

private:
    TemporaryFolder m_folder;
};

} // namespace cloud::test
