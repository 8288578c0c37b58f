#pragma once

#include "detect/RasterPair.h"

namespace detect {

/// Estimates what brings the new epoch onto the old one, from stable ground, robust against the changes on
/// it.
///
/// Bias: the robust level of dZ. Full: also the horizontal shift, after Nuth & Kääb (2011), who write the dZ
/// of a shifted surface as a cos(b - aspect) tan(slope) + c. Multiplied out that is
///     dZ = gx dx + gy dy + c        (gx, gy: slope of the old surface eastwards and northwards),
/// which needs no division on flat ground. From the whole cells that findCoarseShift finds on, it is solved
/// by iteratively reweighted least squares (Tukey's biweight), the new epoch is shifted and sampled again,
/// and so on until the step is below a hundredth of a cell. Surfaces without relief, and shifts that do not
/// make dZ smaller, leave the bias alone. Method None measures the scatter only.
std::variant<Coregistration, Failure> coregister(const PairLayout& layout, CoregistrationMethod method,
                                                 int threads, const Progress& progress);

} // namespace detect
