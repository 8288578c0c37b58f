#pragma once

#include "detect/raster/GroundMask.h"
#include "detect/raster/Resampler.h"

namespace detect {

/// How two rasters lie to each other; worked out once, then shared by all threads.
struct PairLayout {
    struct Offset {
        int columns = 0;
        int rows = 0;
    };

    RasterFacts oldRaster;
    RasterFacts newRaster;
    /// New column = old column + offset, when both share one grid; then cells are handed on untouched.
    std::optional<Offset> offset;
    /// Cells of the old raster to compare: the overlap, cut to the requested window. Never empty.
    CellWindow overlap;
    std::shared_ptr<const GroundMask> unstable; ///< null for none
    std::shared_ptr<const GroundMask> ignored;
};

/// What the heights are read for: all that is marked as unstable is missing for Fit, what is to be ignored for
/// both.
enum class ReadFor { Fit, Search };

/// Fails for rasters that cannot be used and for two that do not meet.
Result<PairLayout> layOutPair(const Request& request);

/// Decoded tiles of both rasters, for all threads that read the pair.
struct SharedTiles {
    explicit SharedTiles(const PairLayout& layout);

    std::shared_ptr<TileStore> oldTiles;
    std::shared_ptr<TileStore> newTiles;
};

/// The two rasters as seen by one thread: both on the old raster's grid, metres, NaN where there is no
/// height.
class PairReader {
public:
    /// `layout` must outlive the reader. Without shared tiles every read decodes what it needs.
    static Result<PairReader> open(const PairLayout& layout, const SharedTiles* tiles = nullptr,
                                   ReadFor purpose = ReadFor::Fit);

    /// True when one of the files says that it holds nothing for this window of old cells.
    bool isEmpty(const CellWindow& window);

    /// Both fill packed rows for a window of old cells inside the overlap.
    Status readOld(const CellWindow& window, float* heights);
    Status readNew(const CellWindow& window, const Shift& shift, float* heights);

private:
    PairReader(const PairLayout& layout, ReadFor purpose, RasterSource oldSource, RasterSource newSource)
        : m_layout(&layout), m_purpose(purpose), m_old(std::move(oldSource)), m_new(std::move(newSource)) {}

    const PairLayout* m_layout;
    ReadFor m_purpose;
    RasterSource m_old;
    RasterSource m_new;
    std::optional<Resampler> m_resampler; ///< made when first needed
};

} // namespace detect
