#include "detect/raster/RasterSource.h"

#include "detect/GdalErrors.h"

#include <utility>

namespace detect {

Result<RasterSource> RasterSource::open(const std::string& path) {
    auto model = SurfaceModel::open(path);
    if (!model) {
        return failed(model);
    }
    if (model->grid().srs().IsEmpty()) {
        return failureOf(path, "没有坐标参考系统");
    }
    return RasterSource(std::move(*model));
}

Result<RasterSource> RasterSource::openAgain(const RasterFacts& facts) {
    auto model = SurfaceModel::openAgain(facts);
    if (!model) {
        return failed(model);
    }
    return RasterSource(std::move(*model));
}

Status RasterSource::read(const CellWindow& window, float* heights, std::size_t stride) {
    if (!m_tiles) {
        return m_model.read(window, heights, stride);
    }
    return m_tiles->read(window, heights, stride, [this](const CellWindow& tile, float* tileHeights) {
        return m_model.read(tile, tileHeights, static_cast<std::size_t>(tile.columns));
    });
}

} // namespace detect
