#pragma once

#include "workbench/inspectiondata/creation/ProjectPlan.h"
#include "workbench/inspectiondata/project/ProjectDescription.h"

#include <functional>

namespace inspection {

/// Told of cells and bytes that were dealt with, in a unit of its own; false ends the work.
using WorkProgress = std::function<bool(double work)>;

/// How much work it is to place the epoch's rasters, in the unit of the progress.
double workOf(const PlannedEpoch& epoch, bool copies);

/// An epoch whose files are there.
struct PlacedEpoch {
    Epoch epoch;       ///< as project.json names it
    QStringList notes; ///< what came out of point clouds, Chinese lines
};

/// The epoch as project.json names it. What has to be made comes to epochs/<date or number>/ of the folder: copies where
/// they are asked for, the tiles of a mosaic as a virtual raster, surface models of point clouds,
/// heights of another system as a raster in the project's.
/// On failure, or the user's stop, some files may be there.
Result<PlacedEpoch> placeRasters(const QString& folder, int number, const PlannedEpoch& epoch, bool copies,
                                 const WorkProgress& progress);

} // namespace inspection
