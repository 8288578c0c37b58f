#pragma once

#include "detect/coregister/StableSample.h"
#include "detect/raster/HeightCorrection.h"

namespace detect {

/// How far findCoarseShift looks, in cells each way.
constexpr int kCoarseReachCells = 64;

/// Whole cells of the old grid, to be added to the new epoch's columns and rows.
struct CellShift {
    int columns = 0;
    int rows = 0;
};

/// How far the new epoch lies off, found by trying: the shift within coarseReachCells each way that leaves
/// the smallest scatter of dZ (NMAD, so that changes of the ground weigh little). First the way downhill from
/// none, then every fourth cell and around the best one by one; a shift must leave much less scatter than a
/// nearer one or none. A linear fit on slopes
/// (Nuth & Kääb 2011) only sees the slope that it stands on, and finds a way home from there. `correction` is
/// added to the new heights, so that a tilt between the epochs does not drown the relief.
Result<CellShift> findCoarseShift(const PairLayout& layout, const std::vector<Patch>& patches,
                                  const HeightCorrection& correction);

} // namespace detect
