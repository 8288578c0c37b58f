#pragma once

#include "workbench/inspectiondata/creation/SurveyRaster.h"

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

} // namespace inspection
