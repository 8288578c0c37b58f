#include "CameraMotion.h"

#include <algorithm>
#include <cmath>

namespace osgEarth {
namespace Util {
namespace {

constexpr double kEyeClearanceMetres = 2.0;
constexpr double kLongestPanRadians = 0.5; // of the globe at once

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
    : m_pose(pose), m_terrain(terrain), m_settings(settings) {}

void CameraMotion::pan(double right, double up) {
    const osg::Matrixd camera = m_pose.cameraToWorld();
    const osg::Vec3d focal = m_pose.focalWorld();
    osg::Matrixd localToWorld;
    m_pose.srs()->createLocalToWorld(m_pose.focalPoint(), localToWorld);
    const osg::Vec3d zenith(localToWorld(2, 0), localToWorld(2, 1), localToWorld(2, 2));
    const osg::Vec3d toTheRight(camera(0, 0), camera(0, 1), camera(0, 2));
    const osg::Vec3d ahead = zenith ^ toTheRight;
    const osg::Vec3d step = (toTheRight * right + ahead * up) * m_pose.range();
    if (!m_pose.srs()->isGeographic()) {
        m_pose.moveFocalPoint(focal + step, m_settings.getLockAzimuthWhilePanning());
    } else {
        // A step along the curved ground.
        const double angle = std::min(kLongestPanRadians, step.length() / focal.length());
        const osg::Vec3d axis = focal ^ step;
        if (angle == 0.0 || axis.length2() == 0.0) {
            return;
        }
        m_pose.moveFocalPoint(osg::Quat(angle, axis) * focal, m_settings.getLockAzimuthWhilePanning());
    }
    stayAboveGround();
}

void CameraMotion::rotate(double heading, double pitch) {
    m_pose.setHeading(m_pose.heading() + heading);
    m_pose.setPitch(m_pose.pitch() + pitch);
    clampToSettings(m_pose, m_settings);
    stayAboveGround();
}

void CameraMotion::zoom(double rangeFactor) {
    m_pose.setRange(m_pose.range() * rangeFactor);
    clampToSettings(m_pose, m_settings);
    stayAboveGround();
}

void CameraMotion::zoomAt(double rangeFactor, const osg::Vec3d& ray) {
    anchorFocalPoint();
    const std::optional<osg::Vec3d> ground = groundOn(ray);
    m_pose.setRange(m_pose.range() * rangeFactor);
    clampToSettings(m_pose, m_settings);
    if (ground) {
        keepOnRay(*ground, ray);
    }
    stayAboveGround();
}

void CameraMotion::keepOnRay(const osg::Vec3d& world, const osg::Vec3d& ray) {
    if (m_pose.srs()->isGeographic()) {
        turnGlobe(world, ray);
    } else {
        const osg::Vec3d eye = m_pose.eye();
        const osg::Vec3d direction = inWorld(ray);
        if (std::abs(direction.z()) > 1e-6) {
            const osg::Vec3d hit = eye + direction * ((world.z() - eye.z()) / direction.z());
            m_pose.moveFocalPoint(m_pose.focalWorld() + (world - hit), true);
        }
    }
    stayAboveGround();
}

// Keeping the heading disturbs the result a little, so the turn is repeated; it converges within a few rounds
// to well under a millimetre.
void CameraMotion::turnGlobe(const osg::Vec3d& world, const osg::Vec3d& ray) {
    constexpr int kMaxRounds = 20;
    constexpr double kCloseEnoughRadians = 1e-12;
    for (int round = 0; round < kMaxRounds; ++round) {
        const osg::Vec3d hit =
            meetShellThrough(world, m_pose.eye(), inWorld(ray), *m_pose.srs()->getEllipsoid());
        osg::Quat turn;
        turn.makeRotate(hit, world);
        m_pose.moveFocalPoint(turn * m_pose.focalWorld(), m_settings.getLockAzimuthWhilePanning());
        if ((hit / hit.length() - world / world.length()).length() < kCloseEnoughRadians) {
            return;
        }
    }
}

void CameraMotion::anchorFocalPoint() {
    const std::optional<osg::Vec3d> ground = groundOn(osg::Vec3d(0.0, 0.0, -1.0));
    if (ground && (*ground - m_pose.eye()).length() >= m_settings.getMinDistance()) {
        m_pose.refocus(*ground);
        clampToSettings(m_pose, m_settings);
    }
}

std::optional<osg::Vec3d> CameraMotion::groundOn(const osg::Vec3d& ray) const {
    const osg::Vec3d eye = m_pose.eye();
    osg::Vec3d ground;
    if (!m_terrain.intersect(eye, eye + inWorld(ray) * (eye.length() * 2.0), ground)) {
        return std::nullopt;
    }
    return ground;
}

osg::Vec3d CameraMotion::inWorld(const osg::Vec3d& ray) const {
    osg::Vec3d direction = osg::Matrixd::transform3x3(ray, m_pose.cameraToWorld());
    direction.normalize();
    return direction;
}

void CameraMotion::clampToSettings(CameraPose& pose, const EarthManipulator::Settings& settings) {
    pose.setPitch(osg::clampBetween(pose.pitch(), osg::DegreesToRadians(settings.getMinPitch()),
                                    osg::DegreesToRadians(settings.getMaxPitch())));
    pose.setRange(osg::clampBetween(pose.range(), settings.getMinDistance(), settings.getMaxDistance()));
}

void CameraMotion::stayAboveGround() {
    if (!m_settings.getTerrainAvoidanceEnabled()) {
        return;
    }
    osg::Vec3d eye;
    m_pose.srs()->transformFromWorld(m_pose.eye(), eye);
    double ground = 0.0;
    if (!m_terrain.getHeight(m_pose.srs(), eye.x(), eye.y(), &ground)) {
        return;
    }
    const double missing = ground + kEyeClearanceMetres - eye.z();
    if (missing > 0.0) {
        osg::Vec3d focal = m_pose.focalPoint();
        focal.z() += missing;
        m_pose.setFocalPoint(focal);
    }
}

} // namespace Util
} // namespace osgEarth
