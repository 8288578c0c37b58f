#pragma once

#include <cpl_string.h>

class OGRLayer;

namespace inspection {

/// What may stand in the rows of a sheet (CSV).
enum class SheetPlaces {
    PointsToo,   ///< coordinates in two columns, or a geometry as WKT
    OutlinesOnly ///< a geometry as WKT
};

/// The columns in which a sheet may have its places, as options of GDAL's driver, which compares bytes.
CPLStringList sheetColumns(SheetPlaces places);

/// Whether the layer's columns are named for longitudes and latitudes, or it has the outlines of a project's own tables,
/// which are in WGS 84.
bool hasDegreeColumns(OGRLayer& layer);

} // namespace inspection
