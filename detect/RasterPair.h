#pragma once

#include "detect/Resampler.h"

namespace detect {

/// How two rasters lie to each other; worked out once, then shared by all threads.
struct PairLayout {
    std::string oldPath;
    std::string newPath;
    Grid oldGrid;
    /// Cells of the old raster to compare: the overlap, cut to the requested window. Never empty.
    CellWindow overlap;
    /// Tile or strip of the old raster, in cells.
    int tileColumns = 0;
    int tileRows = 0;
};

/// Fails for rasters that cannot be used and for two that do not meet.
std::variant<PairLayout, Failure> layOutPair(const Request& request);

/// The two rasters as seen by one thread: both on the old raster's grid, metres, NaN where there is no
/// height. Where the grids fall together, cells are handed on untouched.
class PairReader {
public:
    static std::variant<PairReader, Failure> open(const PairLayout& layout);

    /// Both fill packed rows for a window of old cells inside the overlap.
    std::optional<Failure> readOld(const CellWindow& window, float* heights);
    std::optional<Failure> readNew(const CellWindow& window, const Shift& shift, float* heights);

private:
    friend std::variant<PairLayout, Failure> layOutPair(const Request& request);
    struct Offset {
        int columns = 0;
        int rows = 0;
    };

    PairReader(RasterSource oldSource, RasterSource newSource, Resampler resampler);
    static std::variant<PairReader, Failure> open(const std::string& oldPath, const std::string& newPath);
    static std::optional<Offset> commonGrid(const Grid& oldGrid, const Grid& newGrid);
    CellWindow overlap() const;

    RasterSource m_old;
    RasterSource m_new;
    Resampler m_resampler;
    /// New column = old column + offset, when both share one grid.
    std::optional<Offset> m_offset;
};

} // namespace detect
