#include "LineOfSight.h"

namespace osgEarth {
namespace Annotation {
namespace {

constexpr int Samples = 64;
constexpr double HighestGroundMetres = 9000.0;
constexpr double SteepSine = 0.9;       // a hill that steep hides nothing for long
constexpr double ClearanceMetres = 4.0; // above the ground, for shrubs and fences in the surface model ...
constexpr double ClearancePerMetre = 0.003; // ... and for coarser tiles in the distance
constexpr double EyeMovedShare = 0.002;     // of the distance; less changes nothing that can be seen

double groundAt(const Terrain& terrain, double x, double y, double otherwise) {
    double height = 0.0;
    return terrain.getHeight(nullptr, x, y, &height) ? height : otherwise;
}

/// The ellipsoid falls off below a straight line between two points of equal height.
double curvatureRadius(const SpatialReference& srs) {
    return srs.isGeographic() ? srs.getEllipsoid()->getRadiusEquator() : 1e30;
}

// Samples lie closer together near the place: a low bank there hides as much as a mountain half-way.
bool findBlocked(const Terrain& terrain, const osg::Vec3d& eyeWorld, const osg::Vec3d& placeWorld) {
    const SpatialReference& srs = *terrain.getSRS();
    osg::Vec3d eye;
    osg::Vec3d place;
    osg::Matrixd placeToWorld;
    if (!srs.transformFromWorld(eyeWorld, eye) || !srs.transformFromWorld(placeWorld, place) ||
        !srs.createLocalToWorld(place, placeToWorld))
        return false;
    const osg::Vec3d up(placeToWorld(2, 0), placeToWorld(2, 1), placeToWorld(2, 2));
    const osg::Vec3d way = eyeWorld - placeWorld;
    const double distance = way.length();
    const double rise = way * up;
    if (distance < ClearanceMetres || rise > SteepSine * distance)
        return false;
    if (srs.isGeographic())
        eye.x() += eye.x() - place.x() > 180.0 ? -360.0 : eye.x() - place.x() < -180.0 ? 360.0 : 0.0;
    place.z() = std::max(place.z(), groundAt(terrain, place.x(), place.y(), place.z()));
    const double sag = (distance * distance - rise * rise) / (2.0 * curvatureRadius(srs));
    const double clearance = ClearanceMetres + ClearancePerMetre * distance;
    for (int i = 1; i < Samples; ++i) {
        const double t = static_cast<double>(i * i) / (Samples * Samples);
        const double height = place.z() + (eye.z() - place.z()) * t - sag * t * (1.0 - t);
        if (height > HighestGroundMetres)
            return false;
        const double x = place.x() + (eye.x() - place.x()) * t;
        const double y = place.y() + (eye.y() - place.y()) * t;
        if (groundAt(terrain, x, y, height) > height + clearance)
            return true;
    }
    return false;
}

} // namespace

bool LineOfSight::isBlocked(const Terrain& terrain, const osg::Vec3d& eyeWorld,
                            const osg::Vec3d& placeWorld) {
    const double still = EyeMovedShare * (eyeWorld - placeWorld).length();
    if (_surface != terrain.getSurfaceRevision() || _place != placeWorld ||
        (_eye - eyeWorld).length() > still) {
        _surface = terrain.getSurfaceRevision();
        _place = placeWorld;
        _eye = eyeWorld;
        _isBlocked = findBlocked(terrain, eyeWorld, placeWorld);
    }
    return _isBlocked;
}

} // namespace Annotation
} // namespace osgEarth
