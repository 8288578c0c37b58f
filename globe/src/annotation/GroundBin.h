/// The order in which things that lie on the ground cover each other.
#pragma once

#include <osgUtil/RenderBin>

namespace osgEarth {
namespace Annotation {

/// Draws in the order of the scene: what was added later covers what was added before, however the ground
/// slopes. Such things leave the depth to the terrain; so that steep ground does not show a translucent fill
/// through itself, every drawable colours a pixel once, which a stencil keeps. Without one, as in pick
/// pictures, it does so more than once.
class GroundBin : public osgUtil::RenderBin {
public:
    /// Puts what a state set draws into the bin of the ground: within the annotations' bin, below overlays
    /// and labels.
    static void install(osg::StateSet* stateSet);

    GroundBin();
    GroundBin(const GroundBin& rhs, const osg::CopyOp& op);
    osg::Object* cloneType() const override { return new GroundBin; }
    osg::Object* clone(const osg::CopyOp& op) const override { return new GroundBin(*this, op); }
    bool isSameKindAs(const osg::Object* object) const override {
        return dynamic_cast<const GroundBin*>(object) != nullptr;
    }
    const char* className() const override { return "GroundBin"; }

    void sortImplementation() override;
    void drawImplementation(osg::RenderInfo& info, osgUtil::RenderLeaf*& previous) override;

protected:
    ~GroundBin() override = default;
};

} // namespace Annotation
} // namespace osgEarth
