#include "SightLine.h"

#include <algorithm>
#include <cmath>

namespace osgEarth {
namespace {

constexpr int kSamples = 64;
constexpr double kHighestGroundMetres = 9000.0;
constexpr double kSteepSine = 0.9;           // a hill that steep hides nothing for long
constexpr double kClearanceMetres = 4.0;     // for shrubs and fences in the surface model ...
constexpr double kClearancePerMetre = 0.003; // ... and for coarser tiles in the distance

/// Heights along a way: neighbouring points mostly lie on one tile.
class Ground {
public:
    Ground(const TileIndex& tiles, const Profile& profile) : m_tiles(tiles), m_profile(profile) {}

    bool isHigher(double x, double y, double height) {
        if (!m_tile.valid() || !m_tile->contains(x, y)) {
            m_tile = m_tiles.finestAt(m_profile, x, y);
        }
        return m_tile.valid() && m_tile->highestMetres() > height &&
               m_tile->heightBetweenPosts(x, y) > height;
    }
    double heightAt(double x, double y, double otherwise) {
        m_tile = m_tiles.finestAt(m_profile, x, y);
        return m_tile.valid() ? m_tile->heightBetweenPosts(x, y) : otherwise;
    }

private:
    const TileIndex& m_tiles;
    const Profile& m_profile;
    osg::ref_ptr<TileMesh> m_tile;
};

} // namespace

// Samples lie closer together near the place: a low bank there hides as much as a mountain half-way. The
// straight line sags towards the ellipsoid, which falls off below it.
bool isHiddenByGround(const TileIndex& tiles, const Profile& profile, const osg::Vec3d& eyeWorld,
                      const osg::Vec3d& placeWorld) {
    const SpatialReference& srs = *profile.getSRS();
    osg::Vec3d eye;
    osg::Vec3d place;
    osg::Matrixd placeToWorld;
    if (!srs.transformFromWorld(eyeWorld, eye) || !srs.transformFromWorld(placeWorld, place) ||
        !srs.createLocalToWorld(place, placeToWorld)) {
        return false;
    }
    const osg::Vec3d up(placeToWorld(2, 0), placeToWorld(2, 1), placeToWorld(2, 2));
    const double distance = (eyeWorld - placeWorld).length();
    const double rise = (eyeWorld - placeWorld) * up;
    if (distance < kClearanceMetres || rise > kSteepSine * distance) {
        return false;
    }
    if (srs.isGeographic()) {
        eye.x() -= 360.0 * std::round((eye.x() - place.x()) / 360.0);
    }
    Ground ground(tiles, profile);
    const double from = std::max(place.z(), ground.heightAt(place.x(), place.y(), place.z())) +
                        kClearanceMetres + kClearancePerMetre * distance;
    const double sag = srs.isGeographic() ? (distance * distance - rise * rise) /
                                                (2.0 * srs.getEllipsoid()->getRadiusEquator())
                                          : 0.0;
    for (int i = 1; i < kSamples; ++i) {
        const double t = static_cast<double>(i * i) / (kSamples * kSamples);
        const double height = from + (eye.z() - place.z()) * t - sag * t * (1.0 - t);
        if (height > kHighestGroundMetres) {
            return false;
        }
        if (ground.isHigher(place.x() + (eye.x() - place.x()) * t, place.y() + (eye.y() - place.y()) * t,
                            height)) {
            return true;
        }
    }
    return false;
}

} // namespace osgEarth
