#pragma once

#include "detect/raster/RasterPair.h"

namespace detect {

/// Estimates what brings the new epoch onto the old one, from stable ground, robust against the changes on
/// it.
///
/// Bias: the robust level of dZ. Full: also the horizontal shift, after Nuth & Kääb (2011), who write the dZ
/// of a shifted surface as a cos(b - aspect) tan(slope) + c. Multiplied out that is
///     dZ = gx dx + gy dy + c        (gx, gy: slope of the surface eastwards and northwards),
/// which needs no division on flat ground. From the whole cells that findCoarseShift finds on, it is solved
/// by fitRobustly, the new epoch is shifted and sampled again, and so on until the step is below half a
/// hundredth of a cell. `tilt` (with Full only) fits a plane together with it, and alone where the shift is
/// refused: a tilt is a matter of heights, which flat ground tells best.
///
/// A shift is refused, with the reason in Coregistration::refusal, where too few cells have both heights,
/// where the slopes that both epochs share are too weak to tell it to a tenth of a cell, where the search
/// runs out of its range or does not settle, and where moving the epoch leaves no smaller scatter. Method
/// None measures the scatter only.
Result<Coregistration> coregister(const PairLayout& layout, CoregistrationMethod method, int threads,
                                  const Progress& progress, bool tilt = false);

} // namespace detect
