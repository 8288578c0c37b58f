// Makes the surfaces that bench/detect.sh measures with: relief, survey noise, and a box-shaped change in
// every few hundred cells, the same for the same arguments on every machine.
//
//     bench_make_pair CELLS FOLDER [CREATION_OPTION=VALUE ...]
//
// writes FOLDER/old.tif, FOLDER/new.tif, and FOLDER/moved.tif: the new epoch once more, some cells aside.

#include <gdal_priv.h>
#include <ogr_spatialref.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

namespace {

constexpr double kCellMetres = 0.25;
constexpr int kChangeSpacing = 400;
constexpr int kChangeCells = 40;
constexpr double kBiasMetres = 0.15;
constexpr double kMovedColumns = 2.37;
constexpr double kMovedRows = -1.64;
constexpr int kBandRows = 256;

/// Even noise in -1 .. 1 from a cell and an epoch (the finaliser of SplitMix64, Steele et al. 2014).
double noise(int column, int row, int epoch) {
    std::uint64_t z = (static_cast<std::uint64_t>(row) << 33) ^ (static_cast<std::uint64_t>(column) << 2) ^
                      static_cast<std::uint64_t>(epoch);
    z = (z + 0x9E3779B97F4A7C15ULL) * 0xBF58476D1CE4E5B9ULL;
    z = (z ^ (z >> 27)) * 0x94D049BB133111EBULL;
    z ^= z >> 31;
    return static_cast<double>(z >> 11) / static_cast<double>(1ULL << 52) - 1.0;
}

double change(int column, int row) {
    const int x = column % kChangeSpacing;
    const int y = row % kChangeSpacing;
    if (x < kChangeSpacing - kChangeCells || y < kChangeSpacing - kChangeCells) {
        return 0.0;
    }
    return (column / kChangeSpacing + row / kChangeSpacing) % 2 == 0 ? 2.5 : -1.5;
}

struct Epoch {
    int number = 0;
    double columnsAside = 0.0;
    double rowsAside = 0.0;
};

bool writeEpoch(const std::string& path, int cells, const Epoch& epoch, char** options) {
    GDALDriver* driver = GetGDALDriverManager()->GetDriverByName("GTiff");
    GDALDatasetUniquePtr file(driver->Create(path.c_str(), cells, cells, 1, GDT_Float32, options));
    if (!file) {
        return false;
    }
    OGRSpatialReference srs;
    srs.importFromEPSG(4547);
    double toMap[] = {500000.0, kCellMetres, 0.0, 3400000.0, 0.0, -kCellMetres};
    file->SetSpatialRef(&srs);
    file->SetGeoTransform(toMap);

    std::vector<double> alongColumns(static_cast<std::size_t>(cells));
    for (int column = 0; column < cells; ++column) {
        const double x = column + epoch.columnsAside;
        alongColumns[static_cast<std::size_t>(column)] =
            12.0 * std::sin(x * 0.0021) + 3.0 * std::sin(x * 0.017);
    }
    std::vector<float> band(static_cast<std::size_t>(cells) * kBandRows);
    for (int firstRow = 0; firstRow < cells; firstRow += kBandRows) {
        const int rows = std::min(kBandRows, cells - firstRow);
        float* height = band.data();
        for (int row = firstRow; row < firstRow + rows; ++row) {
            const double y = row + epoch.rowsAside;
            const double alongRows = 80.0 + 9.0 * std::cos(y * 0.0013) + 2.0 * std::sin(y * 0.011);
            for (int column = 0; column < cells; ++column) {
                const double ground = alongRows + alongColumns[static_cast<std::size_t>(column)];
                const double later = epoch.number == 0 ? 0.0 : kBiasMetres + change(column, row);
                *height++ = static_cast<float>(ground + later + 0.06 * noise(column, row, epoch.number));
            }
        }
        if (file->GetRasterBand(1)->RasterIO(GF_Write, 0, firstRow, cells, rows, band.data(), cells, rows,
                                             GDT_Float32, 0, 0, nullptr) != CE_None) {
            return false;
        }
    }
    return true;
}

} // namespace

int main(int argc, char** argv) {
    const int cells = argc > 2 ? std::atoi(argv[1]) : 0;
    if (cells <= 0) {
        std::fprintf(stderr, "usage: bench_make_pair CELLS FOLDER [CREATION_OPTION=VALUE ...]\n");
        return 2;
    }
    GDALAllRegister();
    const std::string folder = argv[2];
    char** options = argv + 3; // ends with a null pointer, as argv does
    const bool written = writeEpoch(folder + "/old.tif", cells, {}, options) &&
                         writeEpoch(folder + "/new.tif", cells, {1}, options) &&
                         writeEpoch(folder + "/moved.tif", cells, {1, kMovedColumns, kMovedRows}, options);
    return written ? 0 : 1;
}
