#pragma once

#include <osg/BoundingSphere>
#include <osg/Camera>
#include <osg/Matrixd>
#include <osg/Polytope>

#include <optional>

namespace inspection {

/// How large things are in a camera's picture. The thread that runs the frames.
class ViewGeometry {
public:
    ViewGeometry() = default;
    explicit ViewGeometry(const osg::Camera& camera);

    /// Device pixels for each metre at the sphere's nearest point; nothing when the sphere (world
    /// coordinates) is not in the picture. What hides it is not looked at.
    std::optional<double> pixelsPerMetre(const osg::BoundingSphere& bound) const;

    bool operator==(const ViewGeometry& other) const;
    bool operator!=(const ViewGeometry& other) const { return !(*this == other); }

private:
    osg::Matrixd m_view;
    osg::Matrixd m_projection;
    double m_heightPixels = 0.0;
};

} // namespace inspection
