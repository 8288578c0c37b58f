#pragma once

#include "detect/Detection.h"
#include "host/Export.h"

#include <QString>

#include <ogr_spatialref.h>

#include <memory>
#include <optional>

/// Reference systems, always with x = east or longitude and y = north or latitude.
namespace inspection {

using Transformation = std::unique_ptr<OGRCoordinateTransformation>;

/// Of "EPSG:4549", WKT or any other definition that GDAL understands and that neither is nor names a file or an address;
/// empty when it is not one.
INSPECTIONDATA_API std::optional<OGRSpatialReference> referenceOf(const QString& definition);

/// "EPSG:4549" where the system has a code, otherwise WKT.
INSPECTIONDATA_API QString definitionOf(const OGRSpatialReference& reference);

/// True when coordinates need no transformation from one to the other.
INSPECTIONDATA_API bool sameReference(const OGRSpatialReference& a, const OGRSpatialReference& b);

/// WGS 84, longitude and latitude in degrees.
INSPECTIONDATA_API OGRSpatialReference wgs84();

/// Null when there is no way from one to the other.
INSPECTIONDATA_API Transformation transformationBetween(const OGRSpatialReference& from,
                                                        const OGRSpatialReference& to);

/// Smallest box that holds the transformed `box`, its curved edges included; empty when it cannot be
/// transformed.
INSPECTIONDATA_API std::optional<detect::Box>
transformedBox(const detect::Box& box, const OGRSpatialReference& from, const OGRSpatialReference& to);

/// The projected system for a place: the CGCS2000 3-degree zone in and around China, UTM on WGS 84 elsewhere.
INSPECTIONDATA_API OGRSpatialReference projectedReferenceAt(double lonDegrees, double latDegrees);

} // namespace inspection
