#include "CameraMotion.h"

#include <algorithm>
#include <cmath>

namespace osgEarth {
namespace Util {
namespace {

constexpr double eyeClearanceMetres = 2.0;
constexpr double longestPanRadians = 0.5; // of the globe at once

// Where the ray meets the ellipsoid that is scaled to go through the point; where it misses, the place of its
// nearest approach.
osg::Vec3d meetShellThrough(const osg::Vec3d& point, const osg::Vec3d& eye, const osg::Vec3d& direction,
                            const osg::EllipsoidModel& ellipsoid) {
    const double flattening = ellipsoid.getRadiusEquator() / ellipsoid.getRadiusPolar();
    const auto toSphere = [&](const osg::Vec3d& v) { return osg::Vec3d(v.x(), v.y(), v.z() * flattening); };
    const osg::Vec3d e = toSphere(eye);
    const osg::Vec3d d = toSphere(direction);
    const double a = d * d;
    const double b = e * d;
    const double c = e * e - toSphere(point).length2();
    const double discriminant = b * b - a * c;
    const double t = discriminant > 0.0 ? (-b - std::sqrt(discriminant)) / a : -b / a;
    return eye + direction * t;
}

} // namespace

CameraMotion::CameraMotion(CameraPose& pose, const Terrain& terrain,
                           const EarthManipulator::Settings& settings)
    : _pose(pose), _terrain(terrain), _settings(settings) {}

void CameraMotion::pan(double right, double up) {
    const osg::Matrixd camera = _pose.cameraToWorld();
    const osg::Vec3d focal = _pose.focalWorld();
    osg::Matrixd localToWorld;
    _pose.srs()->createLocalToWorld(_pose.focalPoint(), localToWorld);
    const osg::Vec3d zenith(localToWorld(2, 0), localToWorld(2, 1), localToWorld(2, 2));
    const osg::Vec3d toTheRight(camera(0, 0), camera(0, 1), camera(0, 2));
    const osg::Vec3d ahead = zenith ^ toTheRight;
    const osg::Vec3d step = (toTheRight * right + ahead * up) * _pose.range();
    if (!_pose.srs()->isGeographic()) {
        _pose.moveFocalPoint(focal + step, _settings.getLockAzimuthWhilePanning());
    } else {
        // A step along the curved ground.
        const double angle = std::min(longestPanRadians, step.length() / focal.length());
        const osg::Vec3d axis = focal ^ step;
        if (angle == 0.0 || axis.length2() == 0.0) {
            return;
        }
        _pose.moveFocalPoint(osg::Quat(angle, axis) * focal, _settings.getLockAzimuthWhilePanning());
    }
    stayAboveGround();
}

void CameraMotion::rotate(double heading, double pitch) {
    _pose.setHeading(_pose.heading() + heading);
    _pose.setPitch(_pose.pitch() + pitch);
    clampToSettings(_pose, _settings);
    stayAboveGround();
}

void CameraMotion::zoom(double rangeFactor) {
    _pose.setRange(_pose.range() * rangeFactor);
    clampToSettings(_pose, _settings);
    stayAboveGround();
}

void CameraMotion::zoomAt(double rangeFactor, const osg::Vec3d& ray) {
    anchorFocalPoint();
    const std::optional<osg::Vec3d> ground = groundOn(ray);
    _pose.setRange(_pose.range() * rangeFactor);
    clampToSettings(_pose, _settings);
    if (ground) {
        keepOnRay(*ground, ray);
    }
    stayAboveGround();
}

void CameraMotion::keepOnRay(const osg::Vec3d& world, const osg::Vec3d& ray) {
    if (_pose.srs()->isGeographic()) {
        turnGlobe(world, ray);
    } else {
        const osg::Vec3d eye = _pose.eye();
        const osg::Vec3d direction = inWorld(ray);
        if (std::abs(direction.z()) > 1e-6) {
            const osg::Vec3d hit = eye + direction * ((world.z() - eye.z()) / direction.z());
            _pose.moveFocalPoint(_pose.focalWorld() + (world - hit), true);
        }
    }
    stayAboveGround();
}

// Keeping the heading disturbs the result a little, so the turn is repeated; it converges within a few rounds
// to well under a millimetre.
void CameraMotion::turnGlobe(const osg::Vec3d& world, const osg::Vec3d& ray) {
    constexpr int maxRounds = 20;
    constexpr double closeEnoughRadians = 1e-12;
    for (int round = 0; round < maxRounds; ++round) {
        const osg::Vec3d hit =
            meetShellThrough(world, _pose.eye(), inWorld(ray), *_pose.srs()->getEllipsoid());
        osg::Quat turn;
        turn.makeRotate(hit, world);
        _pose.moveFocalPoint(turn * _pose.focalWorld(), _settings.getLockAzimuthWhilePanning());
        if ((hit / hit.length() - world / world.length()).length() < closeEnoughRadians) {
            return;
        }
    }
}

void CameraMotion::anchorFocalPoint() {
    const std::optional<osg::Vec3d> ground = groundOn(osg::Vec3d(0.0, 0.0, -1.0));
    if (ground && (*ground - _pose.eye()).length() >= _settings.getMinDistance()) {
        _pose.refocus(*ground);
        clampToSettings(_pose, _settings);
    }
}

std::optional<osg::Vec3d> CameraMotion::groundOn(const osg::Vec3d& ray) const {
    const osg::Vec3d eye = _pose.eye();
    osg::Vec3d ground;
    if (!_terrain.intersect(eye, eye + inWorld(ray) * (eye.length() * 2.0), ground)) {
        return std::nullopt;
    }
    return ground;
}

osg::Vec3d CameraMotion::inWorld(const osg::Vec3d& ray) const {
    osg::Vec3d direction = osg::Matrixd::transform3x3(ray, _pose.cameraToWorld());
    direction.normalize();
    return direction;
}

void CameraMotion::clampToSettings(CameraPose& pose, const EarthManipulator::Settings& settings) {
    pose.setPitch(osg::clampBetween(pose.pitch(), osg::DegreesToRadians(settings.getMinPitch()),
                                    osg::DegreesToRadians(settings.getMaxPitch())));
    pose.setRange(osg::clampBetween(pose.range(), settings.getMinDistance(), settings.getMaxDistance()));
}

void CameraMotion::stayAboveGround() {
    if (!_settings.getTerrainAvoidanceEnabled()) {
        return;
    }
    osg::Vec3d eye;
    _pose.srs()->transformFromWorld(_pose.eye(), eye);
    double ground = 0.0;
    if (!_terrain.getHeight(_pose.srs(), eye.x(), eye.y(), &ground)) {
        return;
    }
    const double missing = ground + eyeClearanceMetres - eye.z();
    if (missing > 0.0) {
        osg::Vec3d focal = _pose.focalPoint();
        focal.z() += missing;
        _pose.setFocalPoint(focal);
    }
}

} // namespace Util
} // namespace osgEarth
