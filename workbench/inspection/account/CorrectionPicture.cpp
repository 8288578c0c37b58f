#include "workbench/inspection/account/CorrectionPicture.h"

#include "detect/GdalErrors.h"
#include "workbench/inspectiondata/project/ReferredFiles.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace inspection {

namespace {

/// The whole raster in its own reference system; nothing when it cannot be read.
std::optional<PictureWindow> windowOf(GDALDataset& raster, const QSize& bounds) {
    std::array<double, 6> t{};
    if (raster.GetGeoTransform(t.data()) != CE_None) {
        return std::nullopt;
    }
    const double right = t[0] + raster.GetRasterXSize() * t[1] + raster.GetRasterYSize() * t[2];
    const double bottom = t[3] + raster.GetRasterXSize() * t[4] + raster.GetRasterYSize() * t[5];
    PictureWindow window;
    window.xMin = std::min(t[0], right);
    window.xMax = std::max(t[0], right);
    window.yMin = std::min(t[3], bottom);
    window.yMax = std::max(t[3], bottom);
    const QSize size = QSizeF(window.xMax - window.xMin, window.yMax - window.yMin)
                           .scaled(bounds, Qt::KeepAspectRatio)
                           .toSize()
                           .expandedTo({8, 8});
    window.width = size.width();
    window.height = size.height();
    return window;
}

} // namespace

std::optional<CorrectionPicture> correctionPicture(const QString& file, const QSize& bounds, const QColor& up,
                                                   const QColor& down) {
    const detect::GdalErrors quiet;
    const GDALDatasetUniquePtr raster = openResultRaster(file);
    const auto window = raster ? windowOf(*raster, bounds) : std::nullopt;
    std::array<double, 2> range{};
    if (!window || raster->GetRasterBand(1)->ComputeRasterMinMax(FALSE, range.data()) != CE_None) {
        return std::nullopt;
    }
    CorrectionPicture picture;
    picture.largestMetres = std::max({std::abs(range[0]), std::abs(range[1]), 0.01});
    const auto colours = differencePicture(file, *window, {up, down, picture.largestMetres, 0.0});
    if (!colours) {
        return std::nullopt;
    }
    picture.image = *colours;
    return picture;
}

} // namespace inspection
