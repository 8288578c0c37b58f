#pragma once

#include "detect/HeightFile.h"
#include "detect/heights/Grid.h"

namespace detect {

/// Writes dZ as a height file on the old raster's grid, block rows from the top down. Whoever staged it moves it
/// to its place, after close().
class DifferenceRaster {
public:
    /// `output` must live longer.
    static Result<DifferenceRaster> create(const StagedOutput& output, const Grid& grid,
                                           const CellWindow& overlap, int threads);

    /// `dz` holds packed rows for `window`, in cells of the old raster.
    Status write(const CellWindow& window, const std::vector<float>& dz);
    /// Ends the writing and looks whether all was written.
    Status close() { return m_file.close(); }

private:
    DifferenceRaster(HeightFile file, const CellWindow& overlap)
        : m_file(std::move(file)), m_overlap(overlap) {}

    HeightFile m_file;
    CellWindow m_overlap;
};

} // namespace detect
