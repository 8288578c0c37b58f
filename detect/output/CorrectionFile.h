#pragma once

#include "detect/StagedOutput.h"
#include "detect/raster/CorrectionField.h"

namespace detect {

/// Writes what a local field adds to the heights of the new epoch (metres, Float32): one cell for each of its
/// nodes, in the old raster's reference system. Without a field: one cell of zero over the whole overlap.
Status writeCorrection(const LocalCorrection& local, const Grid& oldGrid, const CellWindow& overlap,
                       const StagedOutput& output);

} // namespace detect
