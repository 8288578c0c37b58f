// The peer that bench/detect.sh compares with: reads the first band of the given rasters once, in one thread,
// and does nothing else.
//
//     bench_read_pair RASTER ...

#include <gdal_priv.h>

#include <algorithm>
#include <cstdio>
#include <vector>

namespace {

constexpr int kBandRows = 256;

bool readAll(const char* path) {
    GDALDatasetUniquePtr file(GDALDataset::Open(path, GDAL_OF_RASTER | GDAL_OF_READONLY));
    if (!file) {
        return false;
    }
    const int columns = file->GetRasterXSize();
    const int rows = file->GetRasterYSize();
    std::vector<float> band(static_cast<std::size_t>(columns) * kBandRows);
    for (int row = 0; row < rows; row += kBandRows) {
        const int count = std::min(kBandRows, rows - row);
        if (file->GetRasterBand(1)->RasterIO(GF_Read, 0, row, columns, count, band.data(), columns, count,
                                             GDT_Float32, 0, 0, nullptr) != CE_None) {
            return false;
        }
    }
    return true;
}

} // namespace

int main(int argc, char** argv) {
    GDALAllRegister();
    GDALSetCacheMax64(64 << 20);
    for (int i = 1; i < argc; ++i) {
        if (!readAll(argv[i])) {
            std::fprintf(stderr, "bench_read_pair: cannot read %s\n", argv[i]);
            return 1;
        }
    }
    return argc > 1 ? 0 : 2;
}
