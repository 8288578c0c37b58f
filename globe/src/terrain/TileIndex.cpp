#include "TileIndex.h"

namespace osgEarth {

void TileIndex::insert(TileMesh* mesh) {
    const TileKey& key = mesh->key();
    const std::lock_guard lock(_mutex);
    auto& slot = _meshes[indexOf(key.getLOD(), key.getTileX(), key.getTileY())];
    if (!slot.valid()) {
        ++_countAtLevel.at(key.getLOD());
    }
    slot = mesh;
    ++_revision;
}

void TileIndex::remove(const TileMesh* mesh) {
    const TileKey& key = mesh->key();
    const std::lock_guard lock(_mutex);
    const auto found = _meshes.find(indexOf(key.getLOD(), key.getTileX(), key.getTileY()));
    if (found != _meshes.end() && found->second == mesh) {
        --_countAtLevel.at(key.getLOD());
        _meshes.erase(found);
    }
}

osg::ref_ptr<TileMesh> TileIndex::finestAt(const Profile& profile, double x, double y) const {
    const GeoExtent& whole = profile.getExtent();
    if (!whole.bounds().contains(x, y)) {
        return nullptr;
    }
    const std::lock_guard lock(_mutex);
    for (std::size_t level = _countAtLevel.size(); level-- > 0;) {
        if (_countAtLevel.at(level) == 0) {
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
        const auto found = _meshes.find(indexOf(lod, tileX, tileY));
        if (found != _meshes.end()) {
            return found->second;
        }
    }
    return nullptr;
}

} // namespace osgEarth
