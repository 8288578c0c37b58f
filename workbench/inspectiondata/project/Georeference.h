#pragma once

#include "detect/Detection.h"
#include "host/Export.h"

#include <QString>

#include <ogr_spatialref.h>

#include <memory>
#include <optional>

/// Reference systems, always with x = east or longitude and y = north or latitude.
namespace inspection {

/// Gives a transformation back to GDAL, which keeps the last ones for who asks for the same again: to find the way
/// between two systems takes it a tenth of a second, on the window's thread as well.
struct GiveBack {
    void operator()(OGRCoordinateTransformation* transformation) const {
        OGRCoordinateTransformation::DestroyCT(transformation);
    }
};
using Transformation = std::unique_ptr<OGRCoordinateTransformation, GiveBack>;

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
