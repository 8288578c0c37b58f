/// Which of the labels that compete for a place on the screen keep their text.
#pragma once

#include <osg/Drawable>
#include <osgUtil/RenderBin>

namespace osgEarth {
namespace Annotation {

/// What the drawables of one label have in common; it is their user data. Written by the thread that runs the
/// frames, except for `isShown`, which belongs to the view's own cull traversal.
class Label : public osg::Referenced {
public:
    Label();

    const unsigned number; ///< in the order of creation
    float priority = 0.0f;
    bool competes = true;
    bool isShown = false; ///< in the latest picture of the view
};

/// Draws labels from back to front. Where they would overlap, the higher priority keeps its text; then the
/// one that had its text in the last picture, so that nothing flickers while the view moves; then the nearer
/// one. The others show their icon alone, small and faded. Pick pictures follow the view's decisions.
class LabelBin : public osgUtil::RenderBin {
public:
    /// For state sets; ready after the first call of `install`.
    static constexpr const char* kName = "oe_LabelBin";
    /// Puts what a state set draws into a bin of labels with that number.
    static void install(osg::StateSet* stateSet, int binNumber);

    LabelBin();
    LabelBin(const LabelBin& rhs, const osg::CopyOp& op);
    osg::Object* cloneType() const override { return new LabelBin; }
    osg::Object* clone(const osg::CopyOp& op) const override { return new LabelBin(*this, op); }
    bool isSameKindAs(const osg::Object* object) const override {
        return dynamic_cast<const LabelBin*>(object) != nullptr;
    }
    const char* className() const override { return "LabelBin"; }

    void sortImplementation() override;

protected:
    ~LabelBin() override = default;

private:
    struct Candidate;
    void shrinkHidden(const std::vector<Candidate>& candidates);
};

} // namespace Annotation
} // namespace osgEarth
