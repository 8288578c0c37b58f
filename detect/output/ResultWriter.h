#pragma once

#include "detect/Detection.h"

#include <optional>
#include <string>
#include <vector>

namespace detect {

/// True for names that end in .gpkg, .geojson or .shp: what writeAnomalies can write.
bool isResultPath(const std::string& path);

/// Writes layer `anomalies` (polygons with the fields of AnomalyLayer). The format follows the ending of
/// `path`:
///   .gpkg     GeoPackage in the old raster's reference system
///   .shp      ESRI Shapefile in the same, with .prj and .cpg (UTF-8); all field names fit its ten characters
///             and stay as they are; the layer is called as the file, as shapefiles are
///   .geojson  RFC 7946: WGS 84 longitude and latitude, counter-clockwise outer rings
/// `attributes` are the inspector's classes in the order of the anomalies; missing ones stay empty.
/// The files appear complete or not at all; earlier ones are replaced only then.
std::optional<Failure> writeAnomalies(const std::vector<Anomaly>& anomalies, const std::string& srsWkt,
                                      const std::string& path,
                                      const std::vector<std::string>& attributes = {});

/// Writes a summary of a run as JSON: anomalies, cells, seconds, threads, threshold_m, grow_ratio,
/// split_bodies, confidence, sigma_old_m and sigma_new_m when given, `rules` (area, core, sliver, speckle:
/// on, rejected) and `coregistration` (method, dx_m, dy_m, dz_m, tilt_east, tilt_north, dx_cells, dy_cells,
/// iterations, nmad_before_m, nmad_after_m, stable_share, sigma_m, sigma_slope_m, correlated_cells, and
/// refusal when a shift was refused).
std::optional<Failure> writeSummary(const Result& result, const Parameters& parameters,
                                    const std::string& path);

/// "none", "bias" or "full".
const char* methodName(CoregistrationMethod method);
std::optional<CoregistrationMethod> methodNamed(const std::string& name);

} // namespace detect
