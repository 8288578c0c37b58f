// A raster file as terrain layers need it: where it lies, and its cells at any power-of-two reduction.
#pragma once
#include "Footprint.h"
#include "Overviews.h"
#include "RasterBands.h"

#include <osg/ref_ptr>
#include <osgEarth/GeoData>
#include <osgEarth/Status>

#include <array>
#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

class GDALDataset;

namespace osgEarth {
class HeightApron;
class HeightBlocks;

/// One raster opened through GDAL. Every method may be called from any thread; each reading thread borrows a
/// data set of its own from a pool. The overviews that a large raster lacks are built in the background;
/// until then a distant view of it is rough.
class RasterSource {
public:
    /// Opens a file, or all rasters of a folder as one. Null on failure, with the cause in the status.
    static std::shared_ptr<RasterSource> open(const std::string& location, Status& status);
    ~RasterSource();
    RasterSource(const RasterSource&) = delete;
    RasterSource& operator=(const RasterSource&) = delete;

    const SpatialReference* srs() const { return _srs.get(); }
    int columns() const { return _columns; }
    int rows() const { return _rows; }
    /// Extent in the raster's own system, and where that is on the Earth.
    const GeoExtent& extent() const { return _extent; }
    const Footprint& footprint() const { return _footprint; }
    /// Height of a cell in degrees of latitude.
    double resolutionDegrees() const { return _footprint.height() / _rows; }

    /// Position in the raster's system to fractional cell coordinates; (0, 0) is the outer corner of the
    /// first cell.
    void toCells(double x, double y, double& column, double& row) const;
    /// What must be added to an x of the raster's system that lies on the other side of the antimeridian.
    double turn(double x) const;

    /// RGBA, 4 bytes a cell, row by row from the top. False when the file cannot be read.
    bool readImage(const CellWindow& window, std::vector<std::uint8_t>& rgba);
    /// Heights of the first band; NaN where there is no data.
    bool readHeights(const CellWindow& window, std::vector<float>& heights);
    /// Full-resolution heights from a cache of blocks.
    HeightBlocks& heightBlocks() { return *_heightBlocks; }
    /// The continuation of the heights where there are none.
    HeightApron& heightApron() { return *_heightApron; }

    /// Null as long as everything that was asked for could be read, else the first failure, which does not
    /// change any more.
    const Status* failure() const { return _hasFailed ? &_failure : nullptr; }
    /// Rises when the raster looks different, because its overviews have become ready.
    int revision() const { return _revision; }
    /// How much of the overviews is ready, 0 to 1; 1 also when none are wanted.
    float preparation() const;

private:
    class Borrowed;

    explicit RasterSource(std::string location);
    Status inspect(GDALDataset& dataset);
    void prepareOverviews(std::unique_ptr<GDALDataset> first);
    void useOverviews(const OverviewBuilder::Result& result);
    template<typename Read>
    bool read(const Read& readFrom);
    void noteFailure(const std::string& what);
    void warnOnce(const std::string& message);

    const std::string _location;
    std::string _mosaic; // the VRT made for a folder
    osg::ref_ptr<const SpatialReference> _srs;
    int _columns = 0;
    int _rows = 0;
    std::array<double, 6> _toWorld{};
    std::array<double, 6> _toCells{};
    GeoExtent _extent;
    Footprint _footprint;
    RasterBands _bands;

    std::mutex _poolMutex; // guards what follows
    std::string _openName; // what GDAL opens: the location, or a VRT in its place
    std::vector<std::unique_ptr<GDALDataset>> _idle;
    std::string _inMemory; // overviews to be removed

    std::mutex _failureMutex; // guards writing what follows
    Status _failure;
    std::atomic<bool> _hasFailed{false};
    bool _hasWarned = false;

    std::atomic<int> _revision{0};
    std::unique_ptr<HeightBlocks> _heightBlocks;
    std::unique_ptr<HeightApron> _heightApron;
    std::unique_ptr<OverviewBuilder> _overviews; // null when none are wanted
};

} // namespace osgEarth
