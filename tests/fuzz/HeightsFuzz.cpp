// A GeoTIFF as a surface model: whatever stands in its cells and tags, heights are such as a place on Earth has.
#include "detect/GdalErrors.h"
#include "detect/heights/InMetres.h"
#include "detect/heights/SurfaceModel.h"
#include "tests/fuzz/Input.h"
#include "tests/fuzz/MemoryFile.h"
#include "tests/fuzz/OneDriver.h"

#include <algorithm>
#include <cmath>

namespace {

constexpr int kMostCells = 4096; // along a side; whoever reads more reads in tiles
constexpr float kLowestMetres = -12000.0F;
constexpr float kHighestMetres = 30000.0F;

/// Bytes of other formats are their drivers' affair.
bool isTiff(const std::uint8_t* data, std::size_t size) {
    return size > 8 && ((data[0] == 'I' && data[1] == 'I') || (data[0] == 'M' && data[1] == 'M'));
}

bool isSmall(const detect::SurfaceModel& model) {
    const detect::RasterFacts& facts = model.facts();
    return std::max({facts.grid.columns(), facts.grid.rows(), facts.tileColumns, facts.tileRows}) <=
           kMostCells;
}

bool isHeight(float metres) {
    return std::isnan(metres) || (metres > kLowestMetres && metres < kHighestMetres);
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int* /*argc*/, char*** /*argv*/) {
    detect::silenceLibraries();
    // Besides the blocks that the reader lets through, which the fuzzer counts, too.
    GDALSetCacheMax64(GIntBig{64} << 20U);
    detect::SurfaceModel::open("/vsimem/none"); // registers all drivers
    fuzz::keepOnlyDriver("GTiff");
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (!isTiff(data, size)) {
        return -1;
    }
    const fuzz::MemoryFile file("/vsimem/dsm.tif", data, size);
    auto model = detect::SurfaceModel::open(file.path());
    if (!model || !isSmall(*model)) {
        return 0;
    }
    const detect::CellWindow window{0, 0, std::min(model->grid().columns(), 64),
                                    std::min(model->grid().rows(), 64)};
    std::vector<float> heights(static_cast<std::size_t>(window.cells()));
    model->isEmpty(window);
    if (model->read(window, heights.data(), static_cast<std::size_t>(window.columns))) {
        fuzz::require(std::all_of(heights.begin(), heights.end(), isHeight));
    }
    fuzz::require(isHeight(model->at(model->grid().cellToMap()(0.5, 0.5))));
    if (const auto inMetres = detect::openInMetres(file.path())) {
        const CPLErr status = (*inMetres)->GetRasterBand(1)->RasterIO(
            GF_Read, 0, 0, window.columns, window.rows, heights.data(), window.columns, window.rows,
            GDT_Float32, 0, 0, nullptr);
        fuzz::require(status != CE_None || std::all_of(heights.begin(), heights.end(), isHeight));
    }
    return 0;
}
