#include <osgEarth/TileKey>

#include <tuple>

namespace osgEarth {

GeoExtent TileKey::getExtent() const {
    if (!valid()) {
        return {};
    }
    unsigned wide = 0;
    unsigned high = 0;
    m_profile->getNumTiles(m_lod, wide, high);
    const GeoExtent& whole = m_profile->getExtent();
    // Each edge is computed from its own index, so that neighbours share it to the last bit.
    const auto column = [&](unsigned i) { return whole.west() + whole.width() * i / wide; };
    const auto row = [&](unsigned i) { return whole.north() - whole.height() * i / high; };
    return {m_profile->getSRS(), column(m_x), row(m_y + 1), column(m_x + 1), row(m_y)};
}

TileKey TileKey::createChildKey(unsigned quadrant) const {
    return {m_lod + 1, m_x * 2 + (quadrant & 1U), m_y * 2 + (quadrant >> 1U), m_profile.get()};
}

std::string TileKey::str() const {
    return std::to_string(m_lod) + "/" + std::to_string(m_x) + "/" + std::to_string(m_y);
}

bool TileKey::operator<(const TileKey& rhs) const {
    return std::tie(m_lod, m_x, m_y) < std::tie(rhs.m_lod, rhs.m_x, rhs.m_y);
}

} // namespace osgEarth
