#pragma once

#include "cloud/GapCloser.h"
#include "cloud/HighestGrid.h"
#include "cloud/Rasterize.h"
#include "detect/StagedOutput.h"

#include <ogr_spatialref.h>

namespace cloud {

/// Where the grid of a surface model lies: north up, in units of its reference system.
struct SurfaceGrid {
    OGRSpatialReference reference;
    std::string heightUnit; ///< as GeoTIFFs name it
    double cell = 0.0;
    double west = 0.0;  ///< the first column's western border, in whole cells from the system's zero
    double south = 0.0; ///< the last row's southern border, likewise
    int columns = 0;
    int rows = 0;
};

/// Writes the heights as a tiled GeoTIFF and closes small gaps on the way; counts the cells into `report`.
Status writeSurface(const SurfaceGrid& surface, HighestGrid& heights, const GapCloser& gaps,
                    const detect::StagedOutput& output, RasterizeReport& report, const Progress& progress);

} // namespace cloud
