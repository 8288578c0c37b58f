#pragma once

#include <ogr_spatialref.h>

#include <optional>

class OGRLayer;

namespace inspection {

/// The reference system that a layer names, x = east or longitude; empty when it names none. GeoPackages call that
/// "Undefined …", other formats a local system.
std::optional<OGRSpatialReference> namedReference(OGRLayer& layer);

/// Whether the coordinates of a layer that names no reference system are longitudes and latitudes: by the names of a
/// sheet's columns, or because all of them could be.
bool isInDegrees(OGRLayer& layer);

/// The system of a layer's coordinates, x = east or longitude: the one that it names; of longitudes and latitudes WGS 84, unless
/// `otherwise` has degrees, too; else `otherwise`.
OGRSpatialReference referenceOfLayer(OGRLayer& layer, const OGRSpatialReference& otherwise);

} // namespace inspection
