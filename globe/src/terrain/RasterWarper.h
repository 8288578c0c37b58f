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

bool isSameGrid(const SampleGrid& a, const SampleGrid& b);

/// The four cells about a point and the weights of the right and lower ones.
struct Neighbours {
    std::size_t upperLeft, upperRight, lowerLeft, lowerRight;
    double fx, fy;
};

/// Of a picture with cells in rows from the top; cell centres lie at .5. Beyond the edge the edge goes on.
Neighbours neighboursAt(double column, double row, int width, int height);

/// The colour between four cells of an RGBA picture. False, and nothing written, when all are clear.
bool mixColours(const std::vector<std::uint8_t>& rgba, const Neighbours& cells, std::uint8_t* out);

/// Whether the raster can matter to the grid: they overlap, and it is not lost within one sample.
bool isWorthReading(const RasterSource& source, const SampleGrid& grid);

enum class Warped {
    Something,
    Nothing,   ///< nothing of the raster lies there
    Unreadable ///< GDAL's last error of this thread tells why
};

/// RGBA of the raster at the grid's points, alpha 0 where it has none.
Warped warpImage(RasterSource& source, const SampleGrid& grid, std::vector<std::uint8_t>& rgba);

/// Heights at the grid's points, NaN where there are none. False when nothing lies there.
bool warpHeights(RasterSource& source, const SampleGrid& grid, std::vector<float>& heights);

/// Fills the grid's NaN posts from the raster's apron, as far as it reaches.
void fillFromApron(RasterSource& source, const SampleGrid& grid, std::vector<float>& heights);

} // namespace osgEarth
