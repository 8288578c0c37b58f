#pragma once

#include "workbench/inspectiondata/creation/SurveyRaster.h"

#include <functional>
#include <memory>

class GDALDataset;

namespace inspection {

/// What is read of a raster's tiles.
enum class TileValues {
    AsStored, ///< colours; heights as the files have them
    Metres    ///< heights in metres, NaN where there is none
};

/// The raster of a survey: its one file, or all its tiles as one virtual raster, written to `file` (VRT) unless that is
/// empty. Fails when a tile cannot be read, with nothing written.
Result<std::shared_ptr<GDALDataset>> openMosaic(const SurveyRaster& raster, TileValues values,
                                                const QString& file = {});

/// Whether all tiles of a surface model hold metres and declare their holes, so that a virtual raster of the files
/// themselves says the same to everybody.
bool areInMetres(const SurveyRaster& surface);

/// Writes the heights of all tiles in metres as one tiled GeoTIFF. Fails when they cannot be read or the file cannot be
/// written, or on the user's stop; then there is no file.
Status writeMosaic(const SurveyRaster& surface, const QString& file,
                   const std::function<bool(double fraction)>& progress);

} // namespace inspection
