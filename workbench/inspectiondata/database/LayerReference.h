#pragma once

#include <ogr_spatialref.h>

#include <optional>

class OGRLayer;

namespace inspection {

/// The reference system that a layer names, x = east or longitude; empty when it names none. GeoPackages call that
/// "Undefined …", other formats a local system.
std::optional<OGRSpatialReference> namedReference(OGRLayer& layer);

} // namespace inspection
