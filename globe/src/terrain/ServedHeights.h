// Heights of a raster that may take any time to answer.
#pragma once
#include "RasterBands.h"

#include <memory>
#include <vector>

namespace osgEarth {
class RasterSource;

/// Keeps blocks of heights that have come from a server, 64 MB of them, and fetches what lacks on a thread of its own.
/// Until a block has come, a coarser one stands in for it, in the end the whole raster reduced to some hundred cells a
/// side. What cannot be had is tried again, after 5 seconds at first and 5 minutes at last. Any thread.
class ServedHeights {
public:
    enum class Lacking { Ask, Ignore };

    /// Fetches the whole, reduced, and waits for that; null when it cannot be read. The raster is not kept open.
    static std::unique_ptr<ServedHeights> start(const std::shared_ptr<RasterSource>& source);
    /// Does not wait for a read that has begun.
    ~ServedHeights();
    ServedHeights(const ServedHeights&) = delete;
    ServedHeights& operator=(const ServedHeights&) = delete;

    /// The heights of the window as far as they have come, reduced as it says; NaN where there is no data. Waits for nothing.
    void heights(const CellWindow& window, Lacking lacking, std::vector<float>& heights);
    /// Whether blocks that were asked for have not come yet.
    bool isLoading() const;
    /// Rises when blocks have come, once for many.
    int revision() const;

private:
    class Loader;
    explicit ServedHeights(std::shared_ptr<Loader> loader);
    std::shared_ptr<Loader> m_loader; // shared with the thread
};

} // namespace osgEarth
