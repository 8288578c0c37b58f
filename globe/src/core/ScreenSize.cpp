#include "ScreenSize.h"

#include <osg/ValueObject>
#include <osg/View>

#include <algorithm>

namespace osgEarth {
namespace {

const char* const kPixelScaleName = "oe_pixelScale";
constexpr double kLeastDistanceMetres = 0.1;

} // namespace

void setPixelScale(osg::Camera& camera, const osg::Vec2d& scale) {
    camera.setUserValue(kPixelScaleName, scale);
}

osg::Vec2d pixelScale(const osg::Camera& camera) {
    osg::Vec2d scale(1.0, 1.0);
    camera.getUserValue(kPixelScaleName, scale);
    return scale;
}

bool isViewCamera(const osg::Camera* camera) {
    return camera && camera->getView() && camera->getView()->getCamera() == camera;
}

double pixelsInWindow(const osg::BoundingSphere& bound, osgUtil::CullVisitor& visitor) {
    const double distance = (osg::Vec3d(bound.center()) * *visitor.getModelViewMatrix()).length();
    const double pixelsPerRadian = visitor.getViewport()->height() * 0.5 *
                                   (*visitor.getProjectionMatrix())(1, 1) /
                                   pixelScale(*visitor.getCurrentCamera()).y();
    return 2.0 * static_cast<double>(bound.radius()) / std::max(distance, kLeastDistanceMetres) *
           pixelsPerRadian;
}

} // namespace osgEarth
