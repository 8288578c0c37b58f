#include <osgEarth/TileKey>

#include <tuple>

namespace osgEarth {

GeoExtent TileKey::getExtent() const {
    if (!valid()) {
        return {};
    }
    unsigned wide = 0;
    unsigned high = 0;
    _profile->getNumTiles(_lod, wide, high);
    const GeoExtent& whole = _profile->getExtent();
    // Each edge is computed from its own index, so that neighbours share it to the last bit.
    const auto column = [&](unsigned i) { return whole.west() + whole.width() * i / wide; };
    const auto row = [&](unsigned i) { return whole.north() - whole.height() * i / high; };
    return {_profile->getSRS(), column(_x), row(_y + 1), column(_x + 1), row(_y)};
}

TileKey TileKey::createChildKey(unsigned quadrant) const {
    return {_lod + 1, _x * 2 + (quadrant & 1U), _y * 2 + (quadrant >> 1U), _profile.get()};
}

TileKey TileKey::createParentKey() const {
    return _lod == 0 ? TileKey() : TileKey(_lod - 1, _x / 2, _y / 2, _profile.get());
}

std::string TileKey::str() const {
    return std::to_string(_lod) + "/" + std::to_string(_x) + "/" + std::to_string(_y);
}

bool TileKey::operator<(const TileKey& rhs) const {
    return std::tie(_lod, _x, _y) < std::tie(rhs._lod, rhs._x, rhs._y);
}

} // namespace osgEarth
