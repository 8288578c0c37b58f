// What a user's motions do to a camera over the ground.
#pragma once
#include "CameraPose.h"

#include <osgEarth/Terrain>
#include <osgEarthUtil/EarthManipulator>

#include <optional>

namespace osgEarth {
namespace Util {

/// Moves a pose within the limits of the settings and never below the ground. Rays are directions in the
/// camera's frame (x right, y up, z backwards), so they stay with the pointer while the camera moves.
/// Short-lived: it refers to what it was made with.
class CameraMotion {
public:
    CameraMotion(CameraPose& pose, const Terrain& terrain, const EarthManipulator::Settings& settings);

    /// Moves the focal point by parts of the range, to the right and up the screen.
    void pan(double right, double up);
    /// Turns about the focal point, in radians.
    void rotate(double heading, double pitch);
    void zoom(double rangeFactor);
    /// Zooms about the middle and keeps the ground that is on the ray there.
    void zoomAt(double rangeFactor, const osg::Vec3d& ray);
    /// Turns the globe, or moves the map, until the point is on the ray.
    void keepOnRay(const osg::Vec3d& world, const osg::Vec3d& ray);

    /// Puts the focal point where the line of sight meets the ground, without moving the camera. Motions
    /// about the middle of the picture need it there.
    void anchorFocalPoint();
    /// World coordinates of the ground on a ray, if there is any.
    std::optional<osg::Vec3d> groundOn(const osg::Vec3d& ray) const;

    /// Keeps pitch and range within the settings.
    static void clampToSettings(CameraPose& pose, const EarthManipulator::Settings& settings);

private:
    osg::Vec3d inWorld(const osg::Vec3d& ray) const;
    void turnGlobe(const osg::Vec3d& world, const osg::Vec3d& ray);
    void stayAboveGround();

    CameraPose& m_pose;
    const Terrain& m_terrain;
    const EarthManipulator::Settings& m_settings;
};

} // namespace Util
} // namespace osgEarth
