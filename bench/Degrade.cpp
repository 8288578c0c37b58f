// Spoils a surface model the way surveys are spoilt, for bench/truth.sh.
//
//     bench_degrade IN.tif OUT.tif BIAS_METRES NO_DATA          NO_DATA: a figure, or nan
//
// Adds the bias and cuts a lattice of 40-cell holes (a tenth of a per cent of all cells) with the given
// no-data value, declared in the file.

#include <gdal_priv.h>

#include <cstdio>
#include <cstdlib>
#include <vector>

namespace {

constexpr int kHoleCells = 40;
constexpr int kHoleSpacing = 1280;

bool isHole(int column, int row) {
    return column % kHoleSpacing < kHoleCells && row % kHoleSpacing < kHoleCells;
}

} // namespace

int main(int argc, char** argv) {
    if (argc != 5) {
        std::fprintf(stderr, "usage: bench_degrade IN.tif OUT.tif BIAS_METRES NO_DATA\n");
        return 2;
    }
    GDALAllRegister();
    const GDALDatasetUniquePtr in(GDALDataset::Open(argv[1], GDAL_OF_RASTER | GDAL_OF_VERBOSE_ERROR));
    if (!in) {
        return 1;
    }
    const float bias = std::strtof(argv[3], nullptr);
    const double noData = std::strtod(argv[4], nullptr);
    const int columns = in->GetRasterXSize();
    const int rows = in->GetRasterYSize();
    const GDALDatasetUniquePtr out(GetGDALDriverManager()->GetDriverByName("GTiff")->Create(
        argv[2], columns, rows, 1, GDT_Float32, nullptr));
    if (!out) {
        return 1;
    }
    double toMap[6];
    in->GetGeoTransform(toMap);
    out->SetGeoTransform(toMap);
    out->SetSpatialRef(in->GetSpatialRef());
    out->GetRasterBand(1)->SetNoDataValue(noData);
    int hasNoData = 0;
    const auto inNoData = static_cast<float>(in->GetRasterBand(1)->GetNoDataValue(&hasNoData));
    std::vector<float> line(static_cast<std::size_t>(columns));
    for (int row = 0; row < rows; ++row) {
        if (in->GetRasterBand(1)->RasterIO(GF_Read, 0, row, columns, 1, line.data(), columns, 1, GDT_Float32,
                                           0, 0, nullptr) != CE_None) {
            return 1;
        }
        for (int column = 0; column < columns; ++column) {
            float& height = line[static_cast<std::size_t>(column)];
            const bool missing = isHole(column, row) || (hasNoData != 0 && height == inNoData);
            height = missing ? static_cast<float>(noData) : height + bias;
        }
        if (out->GetRasterBand(1)->RasterIO(GF_Write, 0, row, columns, 1, line.data(), columns, 1,
                                            GDT_Float32, 0, 0, nullptr) != CE_None) {
            return 1;
        }
    }
    return 0;
}
