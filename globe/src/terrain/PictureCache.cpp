#include "PictureCache.h"

namespace osgEarth {

bool standsInFor(const SampleGrid& wholeGrid, const SampleGrid& partGrid) {
    const GeoExtent& whole = wholeGrid.extent;
    const GeoExtent& part = partGrid.extent;
    const double slack = part.width() * 1e-6; // edges are computed from either side
    return whole.width() > part.width() * 1.5 && whole.west() <= part.west() + slack &&
           whole.south() <= part.south() + slack && whole.east() >= part.east() - slack &&
           whole.north() >= part.north() - slack;
}

PictureCache::Picture* PictureCache::find(const SampleGrid& grid) {
    const auto found = std::find_if(m_newestFirst.begin(), m_newestFirst.end(),
                                    [&](const Picture& picture) { return isSameGrid(picture.grid, grid); });
    if (found == m_newestFirst.end()) {
        return nullptr;
    }
    m_newestFirst.splice(m_newestFirst.begin(), m_newestFirst, found);
    return &m_newestFirst.front();
}

void PictureCache::insert(Picture picture) {
    m_newestFirst.remove_if([&](const Picture& other) { return isSameGrid(picture.grid, other.grid); });
    if (!picture.rgba.empty()) {
        for (const Picture& other : m_newestFirst) {
            const PictureNews news = other.news.lock();
            if (news && standsInFor(picture.grid, other.grid)) {
                *news = true;
            }
        }
    }
    m_newestFirst.push_front(std::move(picture));
    dropOldest(false, kMostDrawn);
    dropOldest(true, kMostEmpty);
}

void PictureCache::dropOldest(bool isEmpty, int mostKept) {
    int kept = 0;
    m_newestFirst.remove_if(
        [&](const Picture& picture) { return picture.rgba.empty() == isEmpty && ++kept > mostKept; });
}

bool PictureCache::magnified(const SampleGrid& grid, std::vector<std::uint8_t>& rgba) const {
    const Picture* best = nullptr;
    for (const Picture& picture : m_newestFirst) {
        const bool isFiner = !best || picture.grid.extent.width() < best->grid.extent.width();
        if (isFiner && !picture.rgba.empty() && standsInFor(picture.grid, grid)) {
            best = &picture;
        }
    }
    if (!best) {
        return false;
    }
    const SampleGrid& from = best->grid;
    rgba.assign(static_cast<std::size_t>(grid.width) * static_cast<std::size_t>(grid.height) * 4, 0);
    std::uint8_t* out = rgba.data();
    for (int row = 0; row < grid.height; ++row) {
        const double y = (from.extent.north() - grid.y(row)) / from.extent.height() * from.height;
        for (int column = 0; column < grid.width; ++column, out += 4) {
            const double x = (grid.x(column) - from.extent.west()) / from.extent.width() * from.width;
            mixColours(best->rgba, neighboursAt(x, y, from.width, from.height), out);
        }
    }
    return true;
}

} // namespace osgEarth
