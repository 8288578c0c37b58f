#pragma once

#include "host/Export.h"
#include "workbench/inspectiondata/project/Georeference.h"
#include "workbench/inspectiondata/project/Result.h"

#include <QStringList>

#include <optional>
#include <vector>

namespace inspection {

/// How point clouds become a surface model.
struct CloudSurvey {
    double cell = 0.0;         ///< units of the reference system
    bool isGroundOnly = false; ///< returns of class 2 alone
    QString crs{};             ///< of clouds that name no reference system
    double points = 0.0;
};

/// What a surface model or an orthophoto says about itself: one file, or the tiles of a mosaic; or the point
/// clouds of which a surface model is to be made.
struct SurveyRaster {
    QStringList files; ///< absolute, at least one; a folder of clouds stands for itself
    std::optional<CloudSurvey> cloud{};
    OGRSpatialReference reference;    ///< of the plane alone
    QString heights;                  ///< what heights count from, see HeightSystem.h
    detect::Box box;                  ///< around all tiles, in the reference system
    std::vector<detect::Box> boxes{}; ///< of each file; none of clouds
    double cells = 0.0;               ///< of all tiles together
    double cellWidth = 0.0;           ///< units of the reference system, of the first tile
    double cellHeight = 0.0;          ///< the same, down a column
    bool isPicture = false;           ///< three or more bands of bytes: colours and no heights
    QString date; ///< ISO date of the flight as name or tags tell it, empty when they do not
};

/// A reference system without its heights.
OGRSpatialReference planeOf(const OGRSpatialReference& reference);

/// Reads the head of a raster, or of all rasters in a folder as the tiles of one mosaic. Fails for what is no
/// raster, has no reference system or no place in it, and for tiles of different reference systems or kinds. Of point
/// clouds a million points are read besides; `crs` counts for clouds that name no reference system.
INSPECTIONDATA_API Result<SurveyRaster> surveyRaster(const QString& fileOrFolder, const QString& crs = {});

/// The flight date in a file's name or else in that of its folder or the one around it: "20240518", "2024-05-18",
/// "2024_5_18" or "2024年5月18日"; ISO, empty when there is none.
INSPECTIONDATA_API QString dateInName(const QString& path);

} // namespace inspection
