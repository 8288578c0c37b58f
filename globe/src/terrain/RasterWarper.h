// Samples of a raster on the regular grid of a terrain tile.
#pragma once
#include <osgEarth/GeoData>

#include <cstdint>
#include <vector>

namespace osgEarth {
class RasterSource;

/// Points of a tile, row by row from the north-west: either pixel centres, or posts that lie on the tile's
/// edges.
struct SampleGrid {
    GeoExtent extent; // in the map's reference system
    int width = 0;
    int height = 0;
    bool onEdges = false;
    double x(double column) const;
    double y(double row) const;
};

/// RGBA of the raster at the grid's points, alpha 0 where it has none. False when nothing of it lies there.
bool warpImage(RasterSource& source, const SampleGrid& grid, std::vector<std::uint8_t>& rgba);

/// Heights at the grid's points, NaN where there are none. False when nothing lies there.
bool warpHeights(RasterSource& source, const SampleGrid& grid, std::vector<float>& heights);

/// Fills the grid's NaN posts from the raster's apron, as far as it reaches.
void fillFromApron(RasterSource& source, const SampleGrid& grid, std::vector<float>& heights);

} // namespace osgEarth
