#pragma once

#include "workbench/inspectiondata/creation/ProjectPlan.h"
#include "workbench/inspectiondata/project/ProjectDescription.h"

#include <functional>

namespace inspection {

/// Told of cells and bytes that were dealt with, in a unit of its own; false ends the work.
using WorkProgress = std::function<bool(double work)>;

/// Progress of placing all these epochs as fractions of the whole; told 0 while there is nothing that takes long.
WorkProgress workProgress(const std::vector<PlannedEpoch>& epochs, bool copies,
                          const std::function<bool(double fraction)>& progress);

/// An epoch whose files are there.
struct PlacedEpoch {
    Epoch epoch;       ///< as project.json names it
    QStringList notes; ///< what came out of point clouds, Chinese lines
};

/// The name of the epoch's own folder: its date, or the number of its place.
QString folderNameOf(const PlannedEpoch& epoch, std::size_t number);

/// The epoch as project.json names it. What has to be made comes to `folder`, which is the epoch's own: copies where
/// they are asked for, the tiles of a mosaic as a virtual raster (as one of metres, where not all tell how their figures
/// are meant), surface models of point clouds, heights of another system as a raster in the project's.
/// On failure, or the user's stop, some files may be there.
Result<PlacedEpoch> placeRasters(const QString& folder, const PlannedEpoch& epoch, bool copies,
                                 const WorkProgress& progress);

} // namespace inspection
