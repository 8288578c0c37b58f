// A raster that may take any time to answer, such as the tiles of a server.
#pragma once
#include "PictureCache.h"

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace osgEarth {

/// Opens and reads its raster on two threads of its own, so that nobody else ever waits for it. What cannot
/// be had is tried again, after 5 seconds at first and 5 minutes at last; one read in all while nothing is
/// answered. Any thread.
class DistantRaster {
public:
    enum class Use { Pictures, Heights };

    /// Whatever RasterSource opens. Where it is a GDAL_WMS description with a cache, what lies there is shown
    /// at once while the server does not answer.
    explicit DistantRaster(const std::string& location, Use use = Use::Pictures);
    /// Does not wait for reads that have begun.
    ~DistantRaster();
    DistantRaster(const DistantRaster&) = delete;
    DistantRaster& operator=(const DistantRaster&) = delete;

    /// RGBA at the grid's points as far as it is here, else cut out of a coarser picture; false when there is
    /// neither. Reads nothing: what lacks is asked for, and `news` told when it has come. A picture whose news
    /// nobody holds any more is not fetched.
    bool image(const SampleGrid& grid, std::vector<std::uint8_t>& rgba, const PictureNews& news);

    /// Null until it is open. As heights: its heights are those that have come, see RasterSource::serveHeights().
    std::shared_ptr<RasterSource> raster() const;
    /// Rises when it has been opened, and when it has answered for the first time.
    int revision() const;
    bool hasAnswered() const;
    /// Pictures and heights that have come so far, and whether others are waited for.
    int arrivals() const;
    bool isLoading() const;
    /// What keeps it from being shown at present, as GDAL says it; addresses may stand in it. Empty when all
    /// is well.
    std::string trouble() const;

private:
    class Loader;
    std::shared_ptr<Loader> m_loader; // shared with the threads
};

} // namespace osgEarth
