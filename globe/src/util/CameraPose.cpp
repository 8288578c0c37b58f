#include "CameraPose.h"

#include <cmath>

namespace osgEarth {
namespace Util {
namespace {

double wrappedAngle(double radians) {
    return std::remainder(radians, 2.0 * osg::PI);
}

} // namespace

CameraPose::CameraPose(const SpatialReference* srs, const osg::Vec3d& focalPoint, double headingRadians,
                       double pitchRadians, double rangeMetres)
    : m_srs(srs), m_focalPoint(focalPoint), m_heading(wrappedAngle(headingRadians)), m_pitch(pitchRadians),
      m_range(rangeMetres) {}

void CameraPose::setHeading(double radians) {
    m_heading = wrappedAngle(radians);
}

osg::Vec3d CameraPose::focalWorld() const {
    osg::Vec3d world;
    m_srs->transformToWorld(m_focalPoint, world);
    return world;
}

osg::Matrixd CameraPose::cameraToWorld() const {
    const osg::Vec3d right(std::cos(m_heading), -std::sin(m_heading), 0.0);
    const osg::Vec3d forward(std::sin(m_heading) * std::cos(m_pitch), std::cos(m_heading) * std::cos(m_pitch),
                             std::sin(m_pitch));
    const osg::Vec3d up = right ^ forward;
    const osg::Vec3d eye = -forward * m_range;
    const osg::Matrixd cameraToLocal(right.x(), right.y(), right.z(), 0.0, up.x(), up.y(), up.z(), 0.0,
                                     -forward.x(), -forward.y(), -forward.z(), 0.0, eye.x(), eye.y(), eye.z(),
                                     1.0);
    osg::Matrixd localToWorld;
    m_srs->createLocalToWorld(m_focalPoint, localToWorld);
    return cameraToLocal * localToWorld;
}

Viewpoint CameraPose::viewpoint() const {
    Viewpoint viewpoint;
    viewpoint.focalPoint() = GeoPoint(m_srs.get(), m_focalPoint, ALTMODE_ABSOLUTE);
    viewpoint.setHeading(osg::RadiansToDegrees(m_heading));
    viewpoint.setPitch(osg::RadiansToDegrees(m_pitch));
    viewpoint.setRange(m_range);
    return viewpoint;
}

void CameraPose::moveFocalPoint(const osg::Vec3d& world, bool lockAzimuth) {
    const osg::Matrixd before = cameraToWorld();
    const double height = m_focalPoint.z();
    m_srs->transformFromWorld(world, m_focalPoint);
    m_focalPoint.z() = height;
    if (!lockAzimuth) {
        osg::Matrixd worldToLocal;
        m_srs->createWorldToLocal(m_focalPoint, worldToLocal);
        const osg::Vec3d right =
            osg::Matrixd::transform3x3(osg::Vec3d(before(0, 0), before(0, 1), before(0, 2)), worldToLocal);
        setHeading(std::atan2(-right.y(), right.x()));
    }
}

void CameraPose::refocus(const osg::Vec3d& world) {
    *this = fromCamera(m_srs.get(), cameraToWorld(), world);
}

CameraPose CameraPose::fromCamera(const SpatialReference* srs, const osg::Matrixd& cameraToWorld,
                                  const osg::Vec3d& focalWorld) {
    osg::Vec3d focalPoint;
    srs->transformFromWorld(focalWorld, focalPoint);
    osg::Matrixd worldToLocal;
    srs->createWorldToLocal(focalPoint, worldToLocal);
    const osg::Matrixd local = cameraToWorld * worldToLocal;
    // The camera's right axis tells the heading even when it looks straight down.
    const double heading = std::atan2(-local(0, 1), local(0, 0));
    // Near the vertical an arc sine would lose half of the digits.
    const double pitch = std::atan2(-local(2, 2), std::hypot(local(2, 0), local(2, 1)));
    return {srs, focalPoint, heading, pitch, (cameraToWorld.getTrans() - focalWorld).length()};
}

} // namespace Util
} // namespace osgEarth
