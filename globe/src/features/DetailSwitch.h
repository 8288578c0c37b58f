/// Two forms of one thing: one for near and one for far.
#pragma once

#include <osg/Group>

namespace osgEarth {
namespace Features {

/// Draws its first child while it is large on the screen, its second one while it is small. Other visitors
/// see both.
class DetailSwitch : public osg::Group {
public:
    DetailSwitch(osg::Node* fine, osg::Node* coarse);

    void traverse(osg::NodeVisitor& nv) override;
    const char* className() const override { return "DetailSwitch"; }

protected:
    ~DetailSwitch() override = default;
};

} // namespace Features
} // namespace osgEarth
