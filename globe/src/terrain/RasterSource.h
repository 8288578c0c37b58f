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
#include <thread>
#include <vector>

class GDALDataset;

namespace osgEarth {
class HeightApron;
class HeightBlocks;
class ServedHeights;

/// One raster opened through GDAL. Every method may be called from any thread; each reading thread borrows a
/// data set of its own from a pool. Where others may lie behind it, as behind a tile service or a virtual
/// raster, that is one that the thread has opened itself: GDAL lets all that one thread opens share those. The
/// overviews that a large raster lacks are built in the background; until then a distant view of it is rough.
class RasterSource : public std::enable_shared_from_this<RasterSource> {
public:
    enum class Log { Warnings, Nothing };

    /// Opens a file, or all rasters of a folder as one. Null on failure, with the cause in the status. With
    /// Log::Nothing nothing is logged later, either: a location may hold what only its owner may see.
    static std::shared_ptr<RasterSource> open(const std::string& location, Status& status,
                                              Log log = Log::Warnings);
    ~RasterSource();
    RasterSource(const RasterSource&) = delete;
    RasterSource& operator=(const RasterSource&) = delete;

    const SpatialReference* srs() const { return m_srs.get(); }
    int columns() const { return m_columns; }
    int rows() const { return m_rows; }
    /// Extent in the raster's own system, and where that is on the Earth.
    const GeoExtent& extent() const { return m_extent; }
    const Footprint& footprint() const { return m_footprint; }
    /// Height of a cell in degrees of latitude.
    double resolutionDegrees() const { return m_footprint.height() / m_rows; }

    /// Position in the raster's system to fractional cell coordinates; (0, 0) is the outer corner of the
    /// first cell.
    void toCells(double x, double y, double& column, double& row) const;
    /// What must be added to an x of the raster's system that lies on the other side of the antimeridian.
    double turn(double x) const;

    /// RGBA, 4 bytes a cell, row by row from the top. False when the file cannot be read.
    bool readImage(const CellWindow& window, std::vector<std::uint8_t>& rgba);
    /// Heights of the first band; NaN where there is no data. After serveHeights() those that have come, and the others
    /// are fetched.
    bool readHeights(const CellWindow& window, std::vector<float>& heights);
    /// The same, but nothing is fetched after serveHeights().
    bool knownHeights(const CellWindow& window, std::vector<float>& heights);
    /// Always from the file, however long that takes.
    bool fetchHeights(const CellWindow& window, std::vector<float>& heights);
    /// From now on nobody waits for heights: fetches them all, reduced, and lets a thread fetch others as they are wanted.
    /// False when they cannot be read. Before others use the raster.
    bool serveHeights();
    /// Whether heights are being fetched; how often some have come.
    bool isLoadingHeights() const;
    int heightArrivals() const;
    /// Full-resolution heights from a cache of blocks.
    HeightBlocks& heightBlocks() { return *m_heightBlocks; }
    /// The continuation of the heights where there are none.
    HeightApron& heightApron() { return *m_heightApron; }

    /// Null as long as everything that was asked for could be read, else the first failure, which does not
    /// change any more.
    const Status* failure() const { return m_hasFailed ? &m_failure : nullptr; }
    /// Rises when the raster looks different, because its overviews have become ready or heights have come.
    int revision() const { return m_revision + heightArrivals(); }
    /// How much of the overviews is ready, 0 to 1; 1 also when none are wanted.
    float preparation() const;

private:
    class Borrowed;
    struct Idle {
        std::unique_ptr<GDALDataset> dataset;
        std::thread::id opener;
    };

    explicit RasterSource(std::string location);
    Status inspect(GDALDataset& dataset);
    void prepareOverviews(std::unique_ptr<GDALDataset> first);
    void useOverviews(const OverviewBuilder::Result& result);
    template<typename Read>
    bool read(const Read& readFrom);
    void noteFailure(const std::string& what);
    void warnOnce(const std::string& message);

    const std::string m_location;
    std::string m_mosaic; // the VRT made for a folder
    osg::ref_ptr<const SpatialReference> m_srs;
    int m_columns = 0;
    int m_rows = 0;
    std::array<double, 6> m_toWorld{};
    std::array<double, 6> m_toCells{};
    GeoExtent m_extent;
    Footprint m_footprint;
    RasterBands m_bands;
    bool m_staysWithOpener = false; // a data set

    std::mutex m_poolMutex; // guards what follows
    std::string m_openName; // what GDAL opens: the location, or a VRT in its place
    std::vector<Idle> m_idle;
    std::string m_inMemory; // overviews to be removed

    std::mutex m_failureMutex; // guards writing what follows
    Status m_failure;
    std::atomic<bool> m_hasFailed{false};
    bool m_hasWarned = false; // also where nothing is to be logged

    std::atomic<int> m_revision{0};
    std::unique_ptr<HeightBlocks> m_heightBlocks;
    std::unique_ptr<HeightApron> m_heightApron;
    std::unique_ptr<OverviewBuilder> m_overviews;   // null when none are wanted
    std::unique_ptr<ServedHeights> m_servedHeights; // null where heights are read as they are wanted
};

} // namespace osgEarth
