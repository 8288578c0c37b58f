#include <osgEarth/Profile>
#include <osgEarth/Registry>

#include <cmath>

namespace osgEarth {
namespace {

// Half the circumference of the sphere of WGS 84's equatorial radius.
constexpr double kMercatorHalfWidthMetres = 20037508.342789244;

bool isMercatorName(const std::string& name) {
    return name == "spherical-mercator" || name == "global-mercator";
}

// Extent of a reference system that has a natural one: the whole globe, or the Mercator square.
GeoExtent naturalExtent(const SpatialReference* srs) {
    if (srs->isGeographic()) {
        return {srs, -180.0, -90.0, 180.0, 90.0};
    }
    if (srs->isHorizEquivalentTo(SpatialReference::get("spherical-mercator"))) {
        const double half = kMercatorHalfWidthMetres;
        return {srs, -half, -half, half, half};
    }
    return {};
}

// Tiles at level 0 about as wide as high.
void suitableTiles(const GeoExtent& extent, unsigned& wide, unsigned& high) {
    const double ratio = extent.width() / extent.height();
    wide = ratio > 1.0 ? static_cast<unsigned>(std::lround(ratio)) : 1U;
    high = ratio < 1.0 ? static_cast<unsigned>(std::lround(1.0 / ratio)) : 1U;
}

} // namespace

Profile::Profile(const GeoExtent& extent, unsigned tilesWideLod0, unsigned tilesHighLod0)
    : m_extent(extent), m_tilesWide(tilesWideLod0), m_tilesHigh(tilesHighLod0) {
    if (m_tilesWide == 0 || m_tilesHigh == 0) {
        suitableTiles(m_extent, m_tilesWide, m_tilesHigh);
    }
}

const Profile* Profile::create(const std::string& srs, double xmin, double ymin, double xmax, double ymax,
                               const std::string& vsrs, unsigned tilesWideLod0, unsigned tilesHighLod0) {
    const GeoExtent extent(SpatialReference::create(srs, vsrs), xmin, ymin, xmax, ymax);
    const bool usable = extent.isValid() && extent.width() > 0.0 && extent.height() > 0.0;
    return usable ? new Profile(extent, tilesWideLod0, tilesHighLod0) : nullptr;
}

const Profile* Profile::create(const std::string& srsOrName, const std::string& vsrs, unsigned tilesWideLod0,
                               unsigned tilesHighLod0) {
    std::string srsName = srsOrName;
    if (srsOrName == "global-geodetic") {
        srsName = "wgs84";
    } else if (isMercatorName(srsOrName)) {
        srsName = "spherical-mercator";
    }
    const SpatialReference* srs = SpatialReference::create(srsName, vsrs);
    const GeoExtent extent = srs ? naturalExtent(srs) : GeoExtent();
    return extent.isValid() ? new Profile(extent, tilesWideLod0, tilesHighLod0) : nullptr;
}

const Profile* Profile::create(const ProfileOptions& options) {
    if (options.namedProfile().isSet()) {
        return create(options.namedProfile().get());
    }
    if (options.srsString().isSet() && options.bounds().isSet()) {
        const Bounds& b = options.bounds().get();
        return create(options.srsString().get(), b.xMin(), b.yMin(), b.xMax(), b.yMax());
    }
    return options.srsString().isSet() ? create(options.srsString().get()) : nullptr;
}

void Profile::getNumTiles(unsigned lod, unsigned& wide, unsigned& high) const {
    wide = m_tilesWide << lod;
    high = m_tilesHigh << lod;
}

unsigned Profile::getLevelOfDetailForHorizResolution(double resolution, int tileSize) const {
    constexpr unsigned kDeepest = 23;
    if (resolution <= 0.0 || tileSize <= 0) {
        return kDeepest;
    }
    double levelResolution = m_extent.width() / m_tilesWide / tileSize;
    unsigned lod = 0;
    while (levelResolution > resolution && lod < kDeepest) {
        levelResolution *= 0.5;
        ++lod;
    }
    return lod;
}

} // namespace osgEarth
