#pragma once

#include "detect/Detection.h"
#include "workbench/inspectiondata/database/Histogram.h"

#include <QString>

#include <optional>
#include <vector>

namespace inspection {

/// How dZ spreads where no change was found: over the cells of the raster outside all outlines, which are in its
/// reference system. The bins reach to four NMAD on either side, those of one co-registration are the same. Nothing
/// when the raster cannot be read.
std::optional<Histogram> stableDifferences(const QString& dzRaster,
                                           const std::vector<detect::Anomaly>& anomalies,
                                           const detect::Coregistration& coregistration);

} // namespace inspection
