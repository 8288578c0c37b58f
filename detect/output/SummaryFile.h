#pragma once

#include "detect/Detection.h"
#include "detect/StagedOutput.h"

namespace detect {

/// Writes a summary of a run as JSON: anomalies, cells, trusted, doubt (where it is not, and what
/// to try), seconds, threads, threshold_m, grow_ratio,
/// split_bodies, confidence, sigma_old_m, sigma_new_m, unstable and ignore when given, coregister (what was asked),
/// `rules` (area, core, sliver, speckle: on, rejected; restless: on) and `coregistration` (method, dx_m, dy_m, dz_m, tilt_east, tilt_north, dx_cells, dy_cells,
/// iterations, nmad_before_m, nmad_after_m, stable_share, sigma_m, sigma_slope_m, correlated_cells, reason with
/// Auto, refusal when a shift was refused, and, for a local field, `local`: shortest_wavelength_m, largest_m, sigma_m,
/// exceeding_share, left_out_share).
Status writeSummary(const RunReport& report, const Parameters& parameters, const StagedOutput& output);

} // namespace detect
