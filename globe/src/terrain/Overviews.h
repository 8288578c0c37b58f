// Reduced pictures of large rasters, built once and kept.
#pragma once
#include <atomic>
#include <functional>
#include <memory>
#include <string>

class GDALDataset;

namespace osgEarth {

/// Builds the overviews of one raster in the background, one raster at a time: into FILE.ovr beside the
/// raster; where that cannot be, into the user's cache folder; failing that the coarse ones only, in memory.
/// Nothing but complete overviews ever gets a name under which they would be used, and the raster itself is
/// not written to.
class OverviewBuilder {
public:
    /// The name under which GDAL finds the raster with its overviews; empty, with the cause, when there are
    /// none.
    struct Result {
        std::string openName;
        bool inMemory = false; ///< openName and openName + ".ovr" are the receiver's to remove
        std::string problem;   ///< why the overviews could not be kept on disk
    };
    /// Called once on the background thread, unless the builder is destroyed before.
    using Finished = std::function<void(const Result&)>;

    OverviewBuilder(const std::string& openName, Finished finished);
    /// Cancels; does not wait for the thread.
    ~OverviewBuilder();
    OverviewBuilder(const OverviewBuilder&) = delete;
    OverviewBuilder& operator=(const OverviewBuilder&) = delete;

    /// 0 to 1. Any thread.
    float progress() const;

private:
    class Job;
    std::shared_ptr<Job> m_job;
};

/// The name under which GDAL finds a raster with the overviews that were built earlier in the cache folder;
/// empty when there are none for the present state of its files.
std::string cachedOverviews(const std::string& openName, GDALDataset& dataset);

/// Removes a FILE.ovr that OverviewBuilder made before the raster was written anew. Those of other programs
/// are left alone.
void removeOutdatedOverviews(const std::string& file);

} // namespace osgEarth
