#pragma once

#include "cloud/LasHeader.h"

#include <ogr_spatialref.h>

#include <optional>

namespace cloud {

/// The reference system that a cloud names: its Well-Known Text where that can be read, else its GeoTIFF keys.
/// x east or longitude, y north or latitude. Nothing where it names none that makes a map: a geocentric one is
/// none. Any thread.
std::optional<OGRSpatialReference> referenceOf(const LasHeader& header);

/// What the heights are measured in: "m", "ft" or "US survey foot". By the vertical part of the reference system,
/// else by the key for vertical units, else in the unit of the map; beside degrees metres.
std::string heightUnitOf(const LasHeader& header, const OGRSpatialReference& reference);

} // namespace cloud
