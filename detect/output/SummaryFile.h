#pragma once

#include "detect/Detection.h"
#include "detect/StagedOutput.h"

#include <optional>
#include <string>

namespace detect {

/// A summary of a run as JSON: anomalies, cells, trusted, doubt (where it is not, and what to try), seconds, threads, the fields of ParameterTable.h that have a value,
/// unstable and ignore when given, `rules` (area, core, sliver, speckle: on, rejected; restless: on) and `coregistration` (method,
/// dx_m, dy_m, dz_m, tilt_east, tilt_north, dx_cells, dy_cells, iterations, nmad_before_m, nmad_after_m, stable_share,
/// sigma_m, sigma_slope_m, correlated_cells, reason with Auto, refusal when a shift was refused, and, for a local field,
/// `local`: shortest_wavelength_m, largest_m, sigma_m, exceeding_share, left_out_share).
std::string summaryText(const RunReport& report, const Parameters& parameters);

/// What a summary tells. The local field itself is not in it, nor is the reference system.
struct Summary {
    RunReport report;
    Parameters parameters;
};

/// Nothing for a text that is no summary.
std::optional<Summary> readSummary(const std::string& text);

/// Writes the summary into a file.
Status writeSummary(const RunReport& report, const Parameters& parameters, const StagedOutput& output);

} // namespace detect
