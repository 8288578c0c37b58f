#include "FormerSurfaces.h"

#include <algorithm>
#include <iterator>

namespace osgEarth {

namespace {

bool isSameTile(const TileKey& one, const TileKey& other) {
    return !(one < other) && !(other < one);
}

} // namespace

void FormerSurfaces::keep(const osg::ref_ptr<TileSurface>& surface) {
    std::list<osg::ref_ptr<TileSurface>> leaving; // when the lock has gone
    const std::lock_guard lock(m_mutex);
    m_newestFirst.push_front(surface);
    for (auto next = m_newestFirst.begin(); next != m_newestFirst.end();) {
        const auto here = next++;
        if (!(*here)->look().isPossible()) {
            leaving.splice(leaving.end(), m_newestFirst, here);
        }
    }
    if (m_newestFirst.size() > kMostSurfaces) {
        leaving.splice(leaving.end(), m_newestFirst, std::prev(m_newestFirst.end()));
    }
}

osg::ref_ptr<TileSurface> FormerSurfaces::take(const TileKey& key, const LayerLook& look) {
    const std::lock_guard lock(m_mutex);
    const auto found = std::find_if(m_newestFirst.begin(), m_newestFirst.end(),
                                    [&](const osg::ref_ptr<TileSurface>& surface) {
                                        return isSameTile(surface->mesh()->key(), key) &&
                                               surface->look() == look && !surface->mesh()->hasNews();
                                    });
    if (found == m_newestFirst.end()) {
        return nullptr;
    }
    osg::ref_ptr<TileSurface> surface = *found;
    m_newestFirst.erase(found);
    return surface;
}

} // namespace osgEarth
