#pragma once

#include <osg/BoundingSphere>
#include <osg/Camera>
#include <osg/Matrixd>
#include <osg/Polytope>
#include <osg/Vec2d>

#include <optional>

namespace inspection {

/// Device pixels for each metre of something in a picture.
struct ScreenScale {
    double nearest = 0.0; ///< at its nearest point
    double centre = 0.0;
};

/// How large things are in a camera's picture. The thread that runs the frames.
class ViewGeometry {
public:
    ViewGeometry() = default;
    explicit ViewGeometry(const osg::Camera& camera);

    /// The scale of a sphere in world coordinates; nothing when it is not in the picture. What hides it is
    /// not looked at.
    std::optional<ScreenScale> scaleOf(const osg::BoundingSphere& bound) const;

    /// Where a place in world coordinates is in the picture, device pixels from the lower left; nothing behind the eye.
    std::optional<osg::Vec2d> pixelOf(const osg::Vec3d& world) const;

    bool operator==(const ViewGeometry& other) const;
    bool operator!=(const ViewGeometry& other) const { return !(*this == other); }

private:
    osg::Matrixd m_view;
    osg::Matrixd m_projection;
    osg::Polytope::PlaneList m_sides; ///< of the picture, in eye coordinates; the inside is in front
    double m_widthPixels = 0.0;
    double m_heightPixels = 0.0;
};

} // namespace inspection
