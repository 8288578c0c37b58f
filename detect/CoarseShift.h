#pragma once

#include "detect/StableSample.h"

namespace detect {

/// Whole cells of the old grid, to be added to the new epoch's columns and rows.
struct CellShift {
    int columns = 0;
    int rows = 0;

    bool none() const { return columns == 0 && rows == 0; }
};

/// How far the new epoch lies off, found by trying: the shift within 64 cells each way that leaves the
/// smallest scatter of dZ (NMAD, so that changes of the ground weigh little). First every fourth cell, then
/// around the best one by one. No shift unless it leaves much less scatter than none. A linear fit on slopes
/// (Nuth & Kääb 2011) only sees the slope that it stands on, and finds a way home from there.
std::variant<CellShift, Failure> findCoarseShift(const PairLayout& layout, const std::vector<Patch>& patches);

} // namespace detect
