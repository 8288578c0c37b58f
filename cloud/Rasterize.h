#pragma once

#include "cloud/Cloud.h"

#include <optional>

namespace cloud {

enum class Returns {
    Surface, ///< a surface model: all but noise and what is withheld
    Ground   ///< a terrain model: class 2 alone
};

struct RasterizeRequest {
    std::vector<std::string>
        clouds;                 ///< files of one survey, in any order; a folder stands for the clouds in it
    std::string out;            ///< GeoTIFF
    std::optional<double> cell; ///< in units of the reference system; proposed from the density without it
    Returns returns = Returns::Surface;
    /// The height below which so many percent of a cell's returns lie (see ReturnStore); the highest without it.
    std::optional<double> percentile;
    int gapCells = 3; ///< empty cells between two heights that are still closed; 0 closes none
    std::string crs;  ///< for clouds that name none; anything that GDAL understands
};

struct RasterizeReport {
    std::uint64_t points = 0;  ///< in the files
    std::uint64_t used = 0;    ///< not noise, not withheld, of the wanted kind
    std::uint64_t outside = 0; ///< beyond the bounds that their file claims; left out
    double cell = 0.0;         ///< units of the reference system
    int columns = 0;
    int rows = 0;
    std::int64_t measuredCells = 0;
    std::int64_t closedCells = 0; ///< small gaps
    std::int64_t emptyCells = 0;
};

/// Makes a surface model of point clouds: Float32, tiled, DEFLATE, no-data NaN, each cell the highest return in
/// it, or a percentile of the returns, which takes a scratch file of 8 bytes a point beside the output. Memory does
/// not grow with the points. Two threads read and sort in. The file appears under its name when it is complete. Fails for clouds of different reference systems or of none, without a usable point, damaged
/// ones, and where the disk is full.
Result<RasterizeReport> rasterize(const RasterizeRequest& request, const Progress& progress = {});

} // namespace cloud
