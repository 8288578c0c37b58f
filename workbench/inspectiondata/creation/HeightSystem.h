#pragma once

#include "host/Export.h"
#include "workbench/inspectiondata/creation/SurveyRaster.h"

#include <QString>

namespace inspection {

/// What heights count from: "EPSG:5773" or WKT of a vertical system, kEllipsoid, or empty when nobody tells.
using HeightSystem = QString;

inline const QString kEllipsoid = QStringLiteral("ellipsoid");

/// Of a compound or three-dimensional reference system; empty for one of the plane alone.
INSPECTIONDATA_API HeightSystem heightSystemOf(const OGRSpatialReference& reference);

/// "ellipsoid", or what GDAL takes for a vertical system, brought to the form above; nothing when it is none.
INSPECTIONDATA_API std::optional<HeightSystem> heightSystem(const QString& text);

/// For people, in Chinese: the name of the system.
INSPECTIONDATA_API QString heightSystemTitle(const HeightSystem& system);

/// Whether heights can be brought from one system to the other there: PROJ knows a way, and has its grid.
bool canConvertHeights(const SurveyRaster& raster, const HeightSystem& from, const HeightSystem& to);

/// Writes the surface model with its heights in the other system, on its own grid, as a tiled GeoTIFF. Fails when it
/// cannot be read, converted or written, or on the user's stop; then there is no file.
Status writeConvertedHeights(const SurveyRaster& raster, const HeightSystem& from, const HeightSystem& to,
                             const QString& file, const std::function<bool(double fraction)>& progress);

} // namespace inspection
