#include "ScreenSpace.h"
#include "../core/ScreenSize.h"

#include <osgUtil/CullVisitor>

#include <cmath>

namespace osgEarth {
namespace Annotation {
namespace {

constexpr double kDepthRangeMetres = 1e9; // beyond any eye distance

} // namespace

ScreenSpace::ScreenSpace() {
    setCullingActive(false);
} // its size in the world is not known before culling

ScreenSpace::~ScreenSpace() = default;

osg::BoundingSphere ScreenSpace::computeBound() const {
    return {osg::Vec3(), 0.0f};
}

std::vector<osg::Drawable*> drawablesOf(osg::Group& group) {
    std::vector<osg::Drawable*> drawables;
    for (unsigned i = 0; i < group.getNumChildren(); ++i) {
        if (osg::Drawable* drawable = group.getChild(i)->asDrawable()) {
            drawables.push_back(drawable);
        } else if (osg::Group* inner = group.getChild(i)->asGroup()) {
            for (unsigned j = 0; j < inner->getNumChildren(); ++j) {
                if (osg::Drawable* drawable = inner->getChild(j)->asDrawable()) {
                    drawables.push_back(drawable);
                }
            }
        }
    }
    return drawables;
}

osg::BoundingBox ScreenSpace::contentBox() {
    osg::BoundingBox box;
    for (const osg::Drawable* drawable : drawablesOf(*this)) {
        box.expandBy(drawable->getBoundingBox());
    }
    return box;
}

void ScreenSpace::traverse(osg::NodeVisitor& nv) {
    osgUtil::CullVisitor* cull = nv.asCullVisitor();
    if (!cull) {
        osg::Group::traverse(nv);
        return;
    }
    const osg::Matrixd toEye = *cull->getModelViewMatrix();
    const osg::Vec4d clip = osg::Vec4d(0.0, 0.0, 0.0, 1.0) * toEye * *cull->getProjectionMatrix();
    const osg::BoundingBox box = contentBox();
    if (clip.w() <= 0.0 || !box.valid()) {
        return;
    }
    const double width = cull->getViewport()->width();
    const double height = cull->getViewport()->height();
    const osg::Vec2d scale = pixelScale(*cull->getCurrentCamera());
    // Whole pixels keep letters crisp; a pick picture has no letters and needs the exact place.
    double x = (clip.x() / clip.w() + 1.0) * 0.5 * width;
    double y = (clip.y() / clip.w() + 1.0) * 0.5 * height;
    if (scale == osg::Vec2d(1.0, 1.0)) {
        x = std::round(x);
        y = std::round(y);
    }
    if (x + box.xMax() * scale.x() < 0.0 || x + box.xMin() * scale.x() > width ||
        y + box.yMax() * scale.y() < 0.0 || y + box.yMin() * scale.y() > height) {
        return;
    }

    const double depth =
        std::min(toEye.getTrans().length() / kDepthRangeMetres, 1.0); // sorts labels among themselves
    const osg::CullSettings::ComputeNearFarMode nearFarMode = cull->getComputeNearFarMode();
    cull->setComputeNearFarMode(osg::CullSettings::DO_NOT_COMPUTE_NEAR_FAR);
    cull->pushProjectionMatrix(new osg::RefMatrix(osg::Matrixd::ortho(0.0, width, 0.0, height, -2.0, 2.0)));
    cull->pushModelViewMatrix(new osg::RefMatrix(osg::Matrixd::scale(scale.x(), scale.y(), 1.0) *
                                                 osg::Matrixd::translate(x, y, -depth)),
                              osg::Transform::ABSOLUTE_RF);
    osg::Group::traverse(nv);
    cull->popModelViewMatrix();
    cull->popProjectionMatrix();
    cull->setComputeNearFarMode(nearFarMode);
}

} // namespace Annotation
} // namespace osgEarth
