// Writes a corridor of 50 km: two epochs with a surface model and an orthophoto each, of 20,000 x 20,000 cells of 2.5 m,
// and a slanted line of 49.4 km. Sparse GeoTIFFs: relief and colours are in a strip of 2 km along the line and nothing
// beside it.
//   bench_make_corridor FOLDER
#include <gdal_priv.h>
#include <ogr_spatialref.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <functional>
#include <string>
#include <vector>

namespace {

constexpr int kCells = 20000;
constexpr int kTile = 512;
constexpr double kCell = 2.5;
constexpr double kLeft = 475000.0;
constexpr double kTop = 3425000.0;
constexpr double kHalfStrip = 1000.0;
constexpr std::array<double, 2> kStart{kLeft + 2000.0, kTop - 16000.0};
constexpr std::array<double, 2> kEnd{kLeft + 48000.0, kTop - 34000.0};

using Value = std::function<float(int column, int row, int band)>;

bool isInStrip(int column, int row) {
    const double slope = (kEnd[1] - kStart[1]) / (kEnd[0] - kStart[0]);
    const double x = kLeft + (column + kTile / 2.0) * kCell;
    const double y = kTop - (row + kTile / 2.0) * kCell;
    return std::fabs(y - kStart[1] - slope * (x - kStart[0])) < kHalfStrip + kTile * kCell;
}

bool writeTile(GDALDataset& raster, int column, int row, const Value& value) {
    const int columns = std::min(kTile, kCells - column);
    const int rows = std::min(kTile, kCells - row);
    std::vector<float> cells(static_cast<std::size_t>(columns) * static_cast<std::size_t>(rows));
    for (int band = 1; band <= raster.GetRasterCount(); ++band) {
        std::size_t cell = 0;
        for (int y = row; y < row + rows; ++y) {
            for (int x = column; x < column + columns; ++x) {
                cells[cell++] = value(x, y, band);
            }
        }
        if (raster.GetRasterBand(band)->RasterIO(GF_Write, column, row, columns, rows, cells.data(), columns,
                                                 rows, GDT_Float32, 0, 0, nullptr) != CE_None) {
            return false;
        }
    }
    return true;
}

bool writeRaster(const std::string& file, int bands, GDALDataType type, const Value& value) {
    const char* options[] = {"TILED=YES",      "BLOCKXSIZE=512",   "BLOCKYSIZE=512",
                             "SPARSE_OK=TRUE", "COMPRESS=DEFLATE", nullptr};
    const GDALDatasetUniquePtr raster(GetGDALDriverManager()->GetDriverByName("GTiff")->Create(
        file.c_str(), kCells, kCells, bands, type, const_cast<char**>(options)));
    OGRSpatialReference reference;
    reference.importFromEPSG(4547);
    std::array<double, 6> place{kLeft, kCell, 0.0, kTop, 0.0, -kCell};
    if (!raster || raster->SetSpatialRef(&reference) != CE_None ||
        raster->SetGeoTransform(place.data()) != CE_None) {
        return false;
    }
    if (type == GDT_Float32) {
        raster->GetRasterBand(1)->SetNoDataValue(-9999.0);
    }
    for (int row = 0; row < kCells; row += kTile) {
        for (int column = 0; column < kCells; column += kTile) {
            if (isInStrip(column, row) && !writeTile(*raster, column, row, value)) {
                return false;
            }
        }
    }
    return true;
}

bool writeLine(const std::string& file) {
    constexpr int kSteps = 1000;
    std::FILE* out = std::fopen(file.c_str(), "w");
    if (!out) {
        return false;
    }
    std::fputs("easting,northing\n", out);
    for (int step = 0; step <= kSteps; ++step) {
        const double share = double(step) / kSteps;
        std::fprintf(out, "%.3f,%.3f\n", kStart[0] + (kEnd[0] - kStart[0]) * share,
                     kStart[1] + (kEnd[1] - kStart[1]) * share);
    }
    return std::fclose(out) == 0;
}

Value reliefRaisedBy(float metres) {
    return [metres](int column, int row, int) {
        return 60.0F + 15.0F * std::sin(float(row) / 90.0F) * std::cos(float(column) / 130.0F) + metres;
    };
}

float colour(int column, int row, int band) {
    return 100.0F + 40.0F * std::sin(float(row) / 30.0F + float(band)) * std::cos(float(column) / 50.0F);
}

} // namespace

int main(int count, char** arguments) {
    if (count != 2) {
        std::fputs("usage: bench_make_corridor FOLDER\n", stderr);
        return 2;
    }
    GDALAllRegister();
    const std::string folder = std::string(arguments[1]) + '/';
    const bool written = writeLine(folder + "line.csv") &&
                         writeRaster(folder + "2024-05-18_dsm.tif", 1, GDT_Float32, reliefRaisedBy(0.0F)) &&
                         writeRaster(folder + "2024-05-18_dom.tif", 3, GDT_Byte, colour) &&
                         writeRaster(folder + "2025-05-20_dsm.tif", 1, GDT_Float32, reliefRaisedBy(0.2F)) &&
                         writeRaster(folder + "2025-05-20_dom.tif", 3, GDT_Byte, colour);
    return written ? 0 : 1;
}
