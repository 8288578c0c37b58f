#include "workbench/inspectiondata/pictures/RasterPicture.h"

#include "workbench/inspectiondata/pictures/RasterWindow.h"
#include "workbench/inspectiondata/project/ReferredFiles.h"

#include <algorithm>
#include <cmath>

namespace inspection {

namespace {

// A shaded face keeps some light from the sky, so that slopes away from the sun still show.
constexpr double kAmbientLight = 0.25;

/// The neighbour's height, or the centre's own where the neighbour lies outside or has no data.
double neighbour(const ElevationWindow& elevations, int column, int row, double centre) {
    if (column < 0 || row < 0 || column >= elevations.width || row >= elevations.height) {
        return centre;
    }
    const float metres = elevations.at(column, row);
    return std::isnan(metres) ? centre : double{metres};
}

/// Cosine of the angle to a sun in the north-west at 45 degrees; slopes after Horn (1981).
double illumination(const ElevationWindow& elevations, int column, int row, double centre) {
    const auto at = [&](int dx, int dy) { return neighbour(elevations, column + dx, row + dy, centre); };
    const double east = (at(1, -1) + 2.0 * at(1, 0) + at(1, 1) - at(-1, -1) - 2.0 * at(-1, 0) - at(-1, 1)) /
                        (8.0 * elevations.pixelWidthMetres);
    const double north = (at(-1, -1) + 2.0 * at(0, -1) + at(1, -1) - at(-1, 1) - 2.0 * at(0, 1) - at(1, 1)) /
                         (8.0 * elevations.pixelHeightMetres);
    constexpr double kSunEast = -0.5;
    constexpr double kSunNorth = 0.5;
    constexpr double kSunUp = 0.7071067811865476;
    const double cosine =
        (kSunUp - kSunEast * east - kSunNorth * north) / std::sqrt(1.0 + east * east + north * north);
    return std::max(0.0, cosine);
}

int mix(int from, int to, double share) {
    return static_cast<int>(std::lround(from + (to - from) * share));
}

} // namespace

Result<QImage> orthophotoPicture(const QString& file, const PictureWindow& window) {
    return readColours(file, window);
}

Result<QImage> reliefPicture(const QString& file, const PictureWindow& window) {
    const auto read = readElevations(file, window);
    if (!read) {
        return failed(read);
    }
    const auto& elevations = *read;
    QImage picture(elevations.width, elevations.height, QImage::Format_ARGB32);
    picture.fill(Qt::transparent);
    for (int row = 0; row < elevations.height; ++row) {
        auto* line = reinterpret_cast<QRgb*>(picture.scanLine(row));
        for (int column = 0; column < elevations.width; ++column) {
            const double centre = elevations.at(column, row);
            if (!std::isnan(centre)) {
                const double light = illumination(elevations, column, row, centre);
                const int grey = mix(0, 255, kAmbientLight + (1.0 - kAmbientLight) * light);
                line[column] = qRgb(grey, grey, grey);
            }
        }
    }
    return picture;
}

Result<QImage> differencePicture(const QString& file, const PictureWindow& window,
                                 const DifferenceRamp& ramp) {
    if (!openResultRaster(file)) {
        return fileFailure(file, "not a raster of differences", "无法读取栅格");
    }
    const auto read = readElevations(file, window);
    if (!read) {
        return failed(read);
    }
    const auto& differences = *read;
    QImage picture(differences.width, differences.height, QImage::Format_ARGB32);
    for (int row = 0; row < differences.height; ++row) {
        auto* line = reinterpret_cast<QRgb*>(picture.scanLine(row));
        for (int column = 0; column < differences.width; ++column) {
            line[column] = differenceColour(ramp, double{differences.at(column, row)}).rgba();
        }
    }
    return picture;
}

QColor differenceColour(const DifferenceRamp& ramp, double dzMetres) {
    const double size = std::abs(dzMetres);
    if (std::isnan(dzMetres) || size <= ramp.clearMetres) {
        return {0, 0, 0, 0};
    }
    const double share =
        std::clamp((size - ramp.clearMetres) / std::max(1e-6, ramp.fullMetres - ramp.clearMetres), 0.0, 1.0);
    const QColor& full = dzMetres > 0.0 ? ramp.fill : ramp.cut;
    // From a pale tint to the full colour, and from nearly clear to nearly opaque.
    const auto channel = [share](int value) { return mix(255 - (255 - value) / 2, value, share); };
    const double firstOpacity = ramp.clearMetres > 0.0 ? 0.35 : 0.0;
    const double opacity = firstOpacity + (0.92 - firstOpacity) * std::sqrt(share);
    return {channel(full.red()), channel(full.green()), channel(full.blue()), mix(0, 255, opacity)};
}

} // namespace inspection
