#pragma once

#include "detect/heights/Grid.h"

#include <ogr_geometry.h>

#include <memory>
#include <string>
#include <vector>

namespace detect {

/// Ground that somebody has marked: the features of a vector file, or the cells of a raster that hold something
/// other than zero and no-data. In any reference system; one that tells none is taken for the old raster's. Safe
/// to use from several threads.
class GroundMask {
public:
    /// Fails for a file that is neither, or cannot be brought into the reference system of the grid.
    static Result<std::shared_ptr<const GroundMask>> open(const std::string& path, const Grid& grid);

    /// Puts NaN in the place of the heights of marked cells (those whose middles lie in a marked area; all that a
    /// line touches); packed rows for a window of the grid.
    void hide(const CellWindow& window, float* heights) const;

private:
    struct Feature {
        std::unique_ptr<OGRGeometry> inCells; ///< x column, y row
        OGREnvelope extent;
    };

    Status read(const std::string& path, const Grid& grid);
    void add(const OGRGeometry& geometry, OGRCoordinateTransformation* toGrid, const Affine& mapToCell);

    std::vector<Feature> m_features;
};

} // namespace detect
