#include "workbench/inspection/scene/ViewGeometry.h"

#include <osg/Viewport>

#include <algorithm>

namespace inspection {

namespace {
constexpr double kLeastDistanceMetres = 0.5;
} // namespace

ViewGeometry::ViewGeometry(const osg::Camera& camera)
    : m_view(camera.getViewMatrix()), m_projection(camera.getProjectionMatrix()),
      m_widthPixels(camera.getViewport() ? camera.getViewport()->width() : 0.0),
      m_heightPixels(camera.getViewport() ? camera.getViewport()->height() : 0.0) {
    osg::Polytope sides;
    sides.setToUnitFrustum(false, false); // near and far follow the scene only while it is culled
    sides.transformProvidingInverse(m_projection);
    m_sides = sides.getPlaneList();
}

std::optional<ScreenScale> ViewGeometry::scaleOf(const osg::BoundingSphere& bound) const {
    const osg::Vec3d centre = osg::Vec3d(bound.center()) * m_view;
    for (const osg::Plane& side : m_sides) {
        if (side.distance(centre) < -double{bound.radius()}) {
            return std::nullopt;
        }
    }
    const auto scaleAt = [this](double metres) {
        return m_heightPixels / 2.0 * m_projection(1, 1) / std::max(kLeastDistanceMetres, metres);
    };
    const double distance = centre.length();
    return ScreenScale{scaleAt(distance - double{bound.radius()}), scaleAt(distance)};
}

std::optional<osg::Vec2d> ViewGeometry::pixelOf(const osg::Vec3d& world) const {
    const osg::Vec3d eye = world * m_view;
    if (eye.z() >= 0.0) {
        return std::nullopt;
    }
    const osg::Vec3d clip = eye * m_projection; // divided by its fourth coordinate
    return osg::Vec2d((clip.x() + 1.0) / 2.0 * m_widthPixels, (clip.y() + 1.0) / 2.0 * m_heightPixels);
}

bool ViewGeometry::operator==(const ViewGeometry& other) const {
    return m_view == other.m_view && m_projection == other.m_projection &&
           m_widthPixels == other.m_widthPixels && m_heightPixels == other.m_heightPixels;
}

} // namespace inspection
