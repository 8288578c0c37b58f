#pragma once

#include "detect/Detection.h"

#include <ogrsf_frmts.h>

#include <optional>
#include <string>

namespace detect {

/// Anomalies as features of a vector layer: polygons with the fields name, kind ("fill" or "cut"), area_m2,
/// volume_m3, fill_m3, cut_m3, dz_mean_m, dz_max_m, dz_min_m, cells, suggested, attribute (the inspector's
/// class), vol_sd_m3, sigma_m, lod_m, signif, sugg_conf. All names fit the ten characters of a shapefile.

/// False when the format refuses a field. `fixedRecords`: the format wants widths (shapefiles).
bool createAnomalyFields(OGRLayer& layer, bool fixedRecords);

/// A feature of the layer with geometry and fields, not yet in it.
OGRFeatureUniquePtr featureOf(const OGRLayer& layer, const Anomaly& anomaly, const std::string& attribute);

/// Features of a finished file that can be read and have a geometry: closing a file does not report every
/// failed write.
std::int64_t countReadable(OGRLayer& layer);

/// All but the centroid and the first cell, which no field of these holds. Nothing for a feature that is no
/// anomaly.
std::optional<Anomaly> anomalyOf(const OGRFeature& feature);

} // namespace detect
