#pragma once

#include "detect/Detection.h"
#include "workbench/inspectiondata/project/Result.h"

#include <QStringList>

#include <cstdint>
#include <functional>

namespace inspection {

/// Writes what rasters of one reference system hold within a box as one tiled GeoTIFF on their grid.
/// Gives how many cells have a value; 0, and no file, where the box meets none of them. Leaves no file on failure.
Result<std::int64_t> writePatchwork(const QStringList& rasters, const detect::Box& box, const QString& file,
                                    const std::function<bool(double fraction)>& progress);

} // namespace inspection
