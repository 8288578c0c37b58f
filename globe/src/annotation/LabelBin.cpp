#include "LabelBin.h"
#include "../core/ScreenSize.h"

#include <osgText/Text>
#include <osgUtil/RenderStage>

#include <algorithm>
#include <atomic>
#include <map>
#include <mutex>
#include <set>
#include <vector>

namespace osgEarth {
namespace Annotation {
namespace {

constexpr float kGapPixels = 2.0f;  // between labels
constexpr double kSmallScale = 0.5; // of the icon of a label without its text
constexpr double kFadedAlpha = 0.6;

unsigned nextNumber() {
    static std::atomic<unsigned> number{0};
    return number++;
}

osg::BoundingBox boxOnScreen(const osgUtil::RenderLeaf& leaf) {
    const osg::BoundingBox& box = leaf._drawable->getBoundingBox();
    osg::BoundingBox screen;
    screen.expandBy(osg::Vec3d(box._min) * *leaf._modelview);
    screen.expandBy(osg::Vec3d(box._max) * *leaf._modelview);
    return screen;
}

bool overlap(const osg::BoundingBox& a, const osg::BoundingBox& b) {
    return a.xMin() < b.xMax() + kGapPixels && b.xMin() < a.xMax() + kGapPixels &&
           a.yMin() < b.yMax() + kGapPixels && b.yMin() < a.yMax() + kGapPixels;
}

} // namespace

Label::Label() : number(nextNumber()) {}

/// A label of the present picture.
struct LabelBin::Candidate {
    Label* label = nullptr;
    osg::BoundingBox box; // pixels
    float distance = 0.0f;
    std::vector<osgUtil::RenderLeaf*> leaves;

    bool operator<(const Candidate& other) const {
        if (label->priority != other.label->priority) {
            return label->priority > other.label->priority;
        }
        if (label->isShown != other.label->isShown) {
            return label->isShown;
        }
        if (distance != other.distance) {
            return distance < other.distance;
        }
        return label->number < other.label->number;
    }
};

void LabelBin::install(osg::StateSet* stateSet, int binNumber) {
    static std::once_flag registered;
    std::call_once(registered, [] { addRenderBinPrototype(kName, new LabelBin); });
    // osgText would put letters into a bin of its own.
    stateSet->setRenderBinDetails(binNumber, kName, osg::StateSet::OVERRIDE_RENDERBIN_DETAILS);
}

LabelBin::LabelBin() = default;

LabelBin::LabelBin(const LabelBin& rhs, const osg::CopyOp& op) : osgUtil::RenderBin(rhs, op) {}

void LabelBin::sortImplementation() {
    copyLeavesFromStateGraphListToRenderLeafList();
    std::map<Label*, Candidate> byLabel;
    for (osgUtil::RenderLeaf* leaf : _renderLeafList) {
        auto* label = dynamic_cast<Label*>(const_cast<osg::Referenced*>(leaf->_drawable->getUserData()));
        if (!label || !label->competes) {
            continue;
        }
        Candidate& candidate = byLabel[label];
        candidate.label = label;
        candidate.box.expandBy(boxOnScreen(*leaf));
        candidate.distance = leaf->_depth;
        candidate.leaves.push_back(leaf);
    }
    std::vector<Candidate> candidates;
    candidates.reserve(byLabel.size());
    for (auto& entry : byLabel) {
        candidates.push_back(std::move(entry.second));
    }
    if (isViewCamera(getStage()->getCamera())) {
        std::sort(candidates.begin(), candidates.end());
        std::vector<const osg::BoundingBox*> taken;
        for (Candidate& candidate : candidates) {
            candidate.label->isShown =
                std::none_of(taken.begin(), taken.end(), [&candidate](const osg::BoundingBox* box) {
                    return overlap(*box, candidate.box);
                });
            if (candidate.label->isShown) {
                taken.push_back(&candidate.box);
            }
        }
    }
    shrinkHidden(candidates);
    std::stable_sort(
        _renderLeafList.begin(), _renderLeafList.end(),
        [](const osgUtil::RenderLeaf* a, const osgUtil::RenderLeaf* b) { return a->_depth > b->_depth; });
}

// An icon is flat, so the scale of its third axis is free to tell the shader how much to fade it.
void LabelBin::shrinkHidden(const std::vector<Candidate>& candidates) {
    std::set<const osgUtil::RenderLeaf*> dropped;
    for (const Candidate& candidate : candidates) {
        if (candidate.label->isShown) {
            continue;
        }
        for (osgUtil::RenderLeaf* leaf : candidate.leaves) {
            if (dynamic_cast<const osgText::TextBase*>(leaf->getDrawable())) {
                dropped.insert(leaf);
            } else {
                leaf->_modelview = new osg::RefMatrix(
                    osg::Matrixd::scale(kSmallScale, kSmallScale, kFadedAlpha) * *leaf->_modelview);
            }
        }
    }
    _renderLeafList.erase(
        std::remove_if(_renderLeafList.begin(), _renderLeafList.end(),
                       [&dropped](const osgUtil::RenderLeaf* leaf) { return dropped.count(leaf) != 0; }),
        _renderLeafList.end());
}

} // namespace Annotation
} // namespace osgEarth
