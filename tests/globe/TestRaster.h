// Small rasters of known content, made on the spot.
#pragma once
#include <array>
#include <cstdint>
#include <functional>
#include <string>

class GDALDataset;

namespace globetest {

/// Where a raster lies: the outer corner of its first cell, square cells, north up.
struct RasterPlace {
    std::string srs = "EPSG:4545";
    double west = 582400.0;
    double north = 3797312.0;
    double cell = 1.0;
    int columns = 512;
    int rows = 512;
};

using HeightAt = std::function<double(double x, double y)>;
using ColourAt = std::function<std::array<std::uint8_t, 4>(double x, double y)>;

/// A folder for this run's files, removed at exit.
std::string scratchFolder();

/// Writes a GeoTIFF with the function's values at the cells' centres; returns its path, empty on failure.
std::string writeHeights(const std::string& name, const RasterPlace& place, const HeightAt& heightAt,
                         double noData = -9999.0);
std::string writeColours(const std::string& name, const RasterPlace& place, const ColourAt& colourAt);

/// What else a raster may be made of.
struct RasterFormat {
    const char* type = "Byte"; ///< by GDAL's name
    int bands = 1;
    const char* compression = "NONE";
    /// Called before the cells are written.
    std::function<void(GDALDataset&)> prepare;
};
/// Writes a tiled GeoTIFF with the function's values by band (from 1), column and row.
std::string writeRaster(const std::string& name, const RasterPlace& place, const RasterFormat& format,
                        const std::function<double(int band, int column, int row)>& valueAt);

} // namespace globetest
