/// Things of constant size on the screen.
#pragma once

#include <osg/BoundingBox>
#include <osg/Group>

#include <vector>

namespace osgEarth {
namespace Annotation {

/// Draws its children, which are in pixels right and up, about the place on the screen where the local origin
/// is. Nothing is drawn while that place and the children's box around it are out of the viewport.
class ScreenSpace : public osg::Group {
public:
    ScreenSpace();

    void traverse(osg::NodeVisitor& nv) override;
    osg::BoundingSphere computeBound() const override;

protected:
    ~ScreenSpace() override;

private:
    osg::BoundingBox contentBox();
};

/// The drawables among a group's children and grandchildren.
std::vector<osg::Drawable*> drawablesOf(osg::Group& group);

} // namespace Annotation
} // namespace osgEarth
