// Surfaces that tiles showed before the layers changed.
#pragma once
#include "TileNode.h"

#include <list>
#include <mutex>

namespace osgEarth {

/// Keeps the surfaces that others took the place of, so that who goes back and forth between two sets of layers waits
/// for the first time only. Bounded; those that were kept longest go first. Thread safe.
class FormerSurfaces {
public:
    /// A surface that is not in the scene any more.
    void keep(const osg::ref_ptr<TileSurface>& surface);
    /// A kept surface of that tile that looks like this, for the caller alone; null when there is none.
    osg::ref_ptr<TileSurface> take(const TileKey& key, const LayerLook& look);

private:
    static constexpr std::size_t kMostSurfaces = 256; // some screens full, about 100 MB

    std::mutex m_mutex;
    std::list<osg::ref_ptr<TileSurface>> m_newestFirst;
};

} // namespace osgEarth
