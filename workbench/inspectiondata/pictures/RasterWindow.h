#pragma once

#include "workbench/inspectiondata/pictures/RasterPicture.h"
#include "workbench/inspectiondata/project/Result.h"

#include <QString>

#include <vector>

namespace inspection {

/// Heights of a raster, resampled to the pixels of a window, first row at yMax; NaN where there is no data.
struct ElevationWindow {
    int width = 0;
    int height = 0;
    std::vector<float> metres;
    double pixelWidthMetres = 1.0; ///< on the ground, at the centre of the window
    double pixelHeightMetres = 1.0;

    float at(int column, int row) const {
        return metres[static_cast<std::size_t>(row) * std::size_t(width) + std::size_t(column)];
    }
};

/// Reads heights, bilinear, from the overview that fits. Any thread.
Result<ElevationWindow> readElevations(const QString& file, const PictureWindow& window);

/// Reads the first three bands, or one as grey, with transparency where there is no data. Palettes are looked up,
/// values of more than eight bits stretched from their least to their greatest. Any thread.
Result<QImage> readColours(const QString& file, const PictureWindow& window);

} // namespace inspection
