#include "TileIndex.h"

namespace osgEarth {

void TileIndex::insert(TileMesh* mesh) {
    const TileKey& key = mesh->key();
    const std::lock_guard lock(m_mutex);
    auto& slot = m_meshes[indexOf(key.getLOD(), key.getTileX(), key.getTileY())];
    if (!slot.valid()) {
        ++m_countAtLevel.at(key.getLOD());
    }
    slot = mesh;
    ++m_revision;
}

void TileIndex::remove(const TileMesh* mesh) {
    const TileKey& key = mesh->key();
    const std::lock_guard lock(m_mutex);
    const auto found = m_meshes.find(indexOf(key.getLOD(), key.getTileX(), key.getTileY()));
    if (found != m_meshes.end() && found->second == mesh) {
        --m_countAtLevel.at(key.getLOD());
        m_meshes.erase(found);
    }
}

osg::ref_ptr<TileMesh> TileIndex::finestAt(const Profile& profile, double x, double y) const {
    const GeoExtent& whole = profile.getExtent();
    if (!whole.bounds().contains(x, y)) {
        return nullptr;
    }
    const std::lock_guard lock(m_mutex);
    for (std::size_t level = m_countAtLevel.size(); level-- > 0;) {
        if (m_countAtLevel.at(level) == 0) {
            continue;
        }
        const auto lod = static_cast<unsigned>(level);
        unsigned wide = 0;
        unsigned high = 0;
        profile.getNumTiles(lod, wide, high);
        const double column = (x - whole.west()) / whole.width() * wide;
        const double row = (whole.north() - y) / whole.height() * high;
        const unsigned tileX = std::min(static_cast<unsigned>(column), wide - 1);
        const unsigned tileY = std::min(static_cast<unsigned>(row), high - 1);
        const auto found = m_meshes.find(indexOf(lod, tileX, tileY));
        if (found != m_meshes.end()) {
            return found->second;
        }
    }
    return nullptr;
}

std::vector<osg::ref_ptr<TileMesh>> TileIndex::all() const {
    std::vector<osg::ref_ptr<TileMesh>> meshes;
    const std::lock_guard lock(m_mutex);
    for (const auto& [place, mesh] : m_meshes) {
        meshes.push_back(mesh);
    }
    return meshes;
}

} // namespace osgEarth
