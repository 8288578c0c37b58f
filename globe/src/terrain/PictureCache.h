// Pictures of terrain tiles that were read already.
#pragma once
#include "RasterWarper.h"

#include <atomic>
#include <cstdint>
#include <list>
#include <memory>
#include <vector>

namespace osgEarth {

/// Becomes true when a picture has come.
using PictureNews = std::shared_ptr<std::atomic<bool>>;

/// Whether a picture of the one grid can stand in for one of the other, because it covers more than that.
bool standsInFor(const SampleGrid& whole, const SampleGrid& part);

/// The latest pictures of one raster, 24 MB of them with tiles of 256 pixels. Not thread safe.
class PictureCache {
public:
    struct Picture {
        SampleGrid grid;
        std::vector<std::uint8_t> rgba;        ///< as warpImage gives it; empty where the raster has nothing
        bool isComplete = true;                ///< false while only a part could be had
        std::weak_ptr<std::atomic<bool>> news; ///< of an empty one: told when a coarser one has come
    };

    /// The picture of exactly this grid, or null.
    Picture* find(const SampleGrid& grid);
    /// Replaces the one of the same grid.
    void insert(Picture picture);
    /// Cuts the grid out of the finest picture that covers more than it. False when there is none.
    bool magnified(const SampleGrid& grid, std::vector<std::uint8_t>& rgba) const;

private:
    static constexpr int kMostDrawn = 96;
    static constexpr int kMostEmpty = 2000;

    void dropOldest(bool isEmpty, int mostKept);

    std::list<Picture> m_newestFirst;
};

} // namespace osgEarth
