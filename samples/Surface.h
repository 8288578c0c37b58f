#pragma once

#include "samples/Vegetation.h"

namespace samples {

/// Everything that stands on the site, drawn once for a seed and the same on every machine. Not movable: its
/// parts refer to each other. Safe to read from any thread.
struct Scene {
    explicit Scene(std::uint64_t seed)
        : site(seed), ground(site), cover(site, ground), buildings(placeBuildings(site, ground)),
          changes(planChanges(site, ground, cover, buildings)),
          trees(plantTrees(site, ground, cover, buildings, changes)) {}
    Scene(const Scene&) = delete;
    Scene& operator=(const Scene&) = delete;

    /// In the order of making: each knows those before it.
    Site site;
    Ground ground;
    LandCover cover;
    std::vector<Building> buildings;
    std::vector<Change> changes;
    std::vector<Tree> trees;
};

/// The grid of the rasters: rows from north to south, cell centres in site coordinates.
struct RasterFrame {
    int columns = 0;
    int rows = 0;
    double cellMetres = 0.0;

    double x(int column) const { return (column + 0.5) * cellMetres; }
    double y(int row) const { return Extent::kHeightMetres - (row + 0.5) * cellMetres; }
    /// First and one-past-last column (row) whose centre lies in the closed interval, cut to the frame.
    std::pair<int, int> columnRange(double xMin, double xMax) const;
    std::pair<int, int> rowRange(double yMin, double yMax) const;
};

/// The true surface of one epoch: what a perfect survey would measure and see. Eight bytes for each cell.
struct Surface {
    explicit Surface(const RasterFrame& theFrame)
        : frame(theFrame), height(theFrame.columns, theFrame.rows), cells(theFrame.columns, theFrame.rows) {}

    RasterFrame frame;
    /// Metres above sea level, of what lies uppermost: ground, plants, roof or crown.
    Grid<float> height;
    /// What that is.
    Grid<SurfaceCell> cells;
};

/// The surface of the first epoch. Uses all processors; the result does not depend on their number.
Surface composeSurface(const Scene& scene, const RasterFrame& frame);

/// dZ of one change on the cells of a window of the frame.
struct ChangeWindow {
    int firstColumn = 0;
    int firstRow = 0;
    Grid<float> dz; ///< metres, 0 where nothing changed
};

/// Turns the first epoch's surface into the second's and tells what each change (in their order) did to it. A
/// window is larger than its change by the ground that the works have worn.
std::vector<ChangeWindow> applyChanges(const Scene& scene, Surface& surface);

} // namespace samples
