/// Cameras and sizes on the screen during a cull traversal.
#pragma once

#include <osg/BoundingSphere>
#include <osg/Camera>
#include <osg/Vec2d>
#include <osgUtil/CullVisitor>

namespace osgEarth {

/// Pixels of a camera's picture per pixel of the window it stands for, where those differ (picking); 1 for
/// others.
void setPixelScale(osg::Camera& camera, const osg::Vec2d& scale);
osg::Vec2d pixelScale(const osg::Camera& camera);

/// Whether the camera is a view's own one, and not one for shadows, depth or picks.
bool isViewCamera(const osg::Camera* camera);

/// Diameter of a sphere in the visitor's present space, in pixels of the window: what a pick shows is decided
/// as for the window's own picture.
double pixelsInWindow(const osg::BoundingSphere& bound, osgUtil::CullVisitor& visitor);

} // namespace osgEarth
