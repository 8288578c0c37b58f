#pragma once

#include "workbench/inspectiondata/creation/ProjectPlan.h"
#include "workbench/inspectiondata/project/ProjectDescription.h"

namespace inspection {

/// Told of bytes that were copied; false ends the work.
using CopyProgress = std::function<bool(qint64 bytes)>;

/// Bytes of all files that belong to the epoch's rasters.
qint64 bytesOf(const PlannedEpoch& epoch);

/// The epoch as project.json names it. Rasters are copied to epochs/<date or number>/ of the folder when that is asked
/// for; the tiles of a mosaic become a virtual raster there. On failure, or the user's stop, some files may be there.
Result<Epoch> placeRasters(const QString& folder, int number, const PlannedEpoch& epoch, bool copies,
                           const CopyProgress& progress);

} // namespace inspection
