#pragma once

#include "detect/Detection.h"
#include "detect/StagedOutput.h"

namespace detect {

/// Writes a summary of a run as JSON: anomalies, cells, seconds, threads, threshold_m, grow_ratio,
/// split_bodies, confidence, sigma_old_m and sigma_new_m when given, `rules` (area, core, sliver, speckle:
/// on, rejected) and `coregistration` (method, dx_m, dy_m, dz_m, tilt_east, tilt_north, dx_cells, dy_cells,
/// iterations, nmad_before_m, nmad_after_m, stable_share, sigma_m, sigma_slope_m, correlated_cells, and
/// refusal when a shift was refused).
Status writeSummary(const RunReport& report, const Parameters& parameters, const StagedOutput& output);

} // namespace detect
