#include "workbench/inspectiondata/pictures/ElevationLine.h"

#include "detect/heights/SurfaceModel.h"
#include "workbench/inspectiondata/project/Georeference.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>

namespace inspection {

namespace {

constexpr double kUnknown = std::numeric_limits<double>::quiet_NaN();

/// Bilinear between cell centres; (0, 0) is the upper left corner of the raster.
double elevationAt(detect::SurfaceModel& surface, const detect::Point& place) {
    const int columns = surface.grid().columns();
    const int rows = surface.grid().rows();
    const bool isInside = place.x >= 0.0 && place.y >= 0.0 && place.x <= columns && place.y <= rows;
    if (!isInside || columns < 2 || rows < 2) {
        return kUnknown;
    }
    const double x = std::clamp(place.x - 0.5, 0.0, columns - 1.0);
    const double y = std::clamp(place.y - 0.5, 0.0, rows - 1.0);
    const int left = std::min(static_cast<int>(x), columns - 2);
    const int top = std::min(static_cast<int>(y), rows - 2);
    std::array<float, 4> cells{};
    if (!surface.read({left, top, 2, 2}, cells.data(), 2)) {
        return kUnknown;
    }
    const double right = x - left;
    const double down = y - top;
    return (cells[0] * (1.0 - right) + cells[1] * right) * (1.0 - down) +
           (cells[2] * (1.0 - right) + cells[3] * right) * down;
}

/// Null when both systems are the same, or when one of them is unknown (`known` is false then).
Transformation transformation(const QString& srs, const detect::Grid& grid, bool& known) {
    known = false;
    auto line = referenceOf(srs);
    if (grid.srs().IsEmpty() || !line) {
        return nullptr;
    }
    line->StripVertical();
    const OGRSpatialReference& target = grid.srs();
    if (line->IsSame(&target) != 0) {
        known = true;
        return nullptr;
    }
    Transformation result = transformationBetween(*line, target);
    known = result != nullptr;
    return result;
}

} // namespace

std::vector<double> sampleElevations(const QString& surfaceModel, const QString& srs, const QLineF& line,
                                     int count) {
    auto surface = detect::SurfaceModel::open(surfaceModel.toStdString());
    if (!surface) {
        return {};
    }
    bool known = false;
    const auto toRasterSystem = transformation(srs, surface->grid(), known);
    if (!known) {
        return {};
    }
    const detect::Affine toCell = surface->grid().cellToMap().inverse();
    std::vector<double> elevations;
    elevations.reserve(static_cast<std::size_t>(count));
    for (int step = 0; step < count; ++step) {
        const QPointF at = line.pointAt(static_cast<double>(step) / std::max(count - 1, 1));
        double x = at.x();
        double y = at.y();
        if (toRasterSystem && toRasterSystem->Transform(1, &x, &y) == 0) {
            elevations.push_back(kUnknown);
            continue;
        }
        elevations.push_back(elevationAt(*surface, toCell(x, y)));
    }
    return elevations;
}

} // namespace inspection
