// A raster file as terrain layers need it: where it lies, and its cells at any power-of-two reduction.
#pragma once
#include <osg/ref_ptr>
#include <osgEarth/GeoData>
#include <osgEarth/Status>

#include <array>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

class GDALDataset;

namespace osgEarth {
class HeightApron;
class HeightBlocks;

/// Cells of a raster, reduced by a step: column and row are multiples of the step (a power of two); width and
/// height count full-resolution cells.
struct CellWindow {
    int column = 0;
    int row = 0;
    int width = 0;
    int height = 0;
    int step = 1;
    int reducedWidth() const { return (width + step - 1) / step; }
    int reducedHeight() const { return (height + step - 1) / step; }
};

/// One raster opened through GDAL. Every method may be called from any thread; each reading thread borrows a
/// data set of its own from a pool.
class RasterSource : public std::enable_shared_from_this<RasterSource> {
public:
    /// Opens a file, or all rasters of a folder as one. Null on failure, with the cause in the status.
    static std::shared_ptr<RasterSource> open(const std::string& location, Status& status);
    ~RasterSource();
    RasterSource(const RasterSource&) = delete;
    RasterSource& operator=(const RasterSource&) = delete;

    const SpatialReference* srs() const { return _srs.get(); }
    int columns() const { return _columns; }
    int rows() const { return _rows; }
    /// Extent in the raster's own system, and the box around it in WGS 84 degrees.
    const GeoExtent& extent() const { return _extent; }
    const GeoExtent& geographicExtent() const { return _geographicExtent; }
    /// Height of a cell in degrees of latitude.
    double resolutionDegrees() const { return _geographicExtent.height() / _rows; }

    /// Position in the raster's system to fractional cell coordinates; (0, 0) is the outer corner of the
    /// first cell.
    void toCells(double x, double y, double& column, double& row) const;

    /// RGBA, 4 bytes a cell, row by row from the top. False when the file cannot be read.
    bool readImage(const CellWindow& window, std::vector<std::uint8_t>& rgba);
    /// Heights of the first band; NaN where there is no data.
    bool readHeights(const CellWindow& window, std::vector<float>& heights);
    /// Full-resolution heights from a cache of blocks.
    HeightBlocks& heightBlocks() { return *_heightBlocks; }
    /// The continuation of the heights where there are none.
    HeightApron& heightApron() { return *_heightApron; }

private:
    class Borrowed;
    enum class Colours { Grey, GreyAlpha, Palette, Rgb, Rgba };

    RasterSource(std::string location, std::unique_ptr<GDALDataset> first);
    Status inspect(GDALDataset& dataset);
    void inspectBands(GDALDataset& dataset);
    std::unique_ptr<GDALDataset> openAnother() const;
    bool wantsReducedCopy(const CellWindow& window) const;
    bool readImageFrom(GDALDataset& dataset, const CellWindow& window, std::vector<std::uint8_t>& rgba) const;
    bool readHeightsFrom(GDALDataset& dataset, const CellWindow& window, std::vector<float>& heights) const;
    bool readReducedImage(const CellWindow& window, std::vector<std::uint8_t>& rgba);
    bool readReducedHeights(const CellWindow& window, std::vector<float>& heights);
    CellWindow wholeReduced() const;

    std::string _location;
    std::string _openName; // the location, or the VRT made for a folder
    osg::ref_ptr<const SpatialReference> _srs;
    int _columns = 0;
    int _rows = 0;
    std::array<double, 6> _toWorld{};
    std::array<double, 6> _toCells{};
    GeoExtent _extent;
    GeoExtent _geographicExtent;

    Colours _colours = Colours::Grey;
    bool _hasMask = false;
    double _darkest = 0.0; // of sources that are not 8-bit: the values shown as black and white
    double _brightest = 255.0;
    std::vector<std::array<std::uint8_t, 4>> _palette;
    int _reducedStep = 0; // 0: small, or has overviews of its own

    std::mutex _poolMutex;
    std::vector<std::unique_ptr<GDALDataset>> _idle;
    std::mutex _reducedMutex;
    std::unique_ptr<GDALDataset> _reducedImage;
    std::unique_ptr<GDALDataset> _reducedHeights;
    std::unique_ptr<HeightBlocks> _heightBlocks;
    std::unique_ptr<HeightApron> _heightApron;
};

} // namespace osgEarth
