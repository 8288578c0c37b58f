// Where a camera stands: what it looks at, and from where.
#pragma once
#include <osg/Matrixd>
#include <osg/Vec3d>
#include <osgEarth/SpatialReference>
#include <osgEarth/Viewpoint>

namespace osgEarth {
namespace Util {

/// Focal point in the map's reference system, heading, pitch and range about it. No roll. A value class.
class CameraPose {
public:
    CameraPose(const SpatialReference* srs, const osg::Vec3d& focalPoint, double headingRadians,
               double pitchRadians, double rangeMetres);

    const SpatialReference* srs() const { return m_srs.get(); }
    const osg::Vec3d& focalPoint() const { return m_focalPoint; }
    osg::Vec3d focalWorld() const;
    double heading() const { return m_heading; }
    double pitch() const { return m_pitch; }
    double range() const { return m_range; }
    void setFocalPoint(const osg::Vec3d& point) { m_focalPoint = point; }
    void setHeading(double radians);
    void setPitch(double radians) { m_pitch = radians; }
    void setRange(double metres) { m_range = metres; }

    /// The camera's axes and place in the world: x right, y up, z backwards.
    osg::Matrixd cameraToWorld() const;
    osg::Vec3d eye() const { return cameraToWorld().getTrans(); }
    Viewpoint viewpoint() const;

    /// Moves the focal point and keeps its height. With a locked azimuth the heading stays, otherwise the
    /// camera keeps its direction in space.
    void moveFocalPoint(const osg::Vec3d& world, bool lockAzimuth);
    /// Looks at another point on the line of sight: eye and direction stay, only what is in the middle
    /// changes.
    void refocus(const osg::Vec3d& world);
    /// The pose whose camera stands as the matrix says and looks at the point.
    static CameraPose fromCamera(const SpatialReference* srs, const osg::Matrixd& cameraToWorld,
                                 const osg::Vec3d& focalWorld);

private:
    osg::ref_ptr<const SpatialReference> m_srs;
    osg::Vec3d m_focalPoint;
    double m_heading; // clockwise from north, -pi to pi
    double m_pitch;   // -pi/2 straight down, 0 horizontal
    double m_range;
};

} // namespace Util
} // namespace osgEarth
