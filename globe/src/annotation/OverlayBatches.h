/// Overlays that are small on the screen, drawn many at a time.
#pragma once

#include "ThumbnailAtlas.h"

#include <osg/Vec3d>
#include <osgEarth/ObjectIndex>
#include <osgUtil/CullVisitor>

#include <array>
#include <map>
#include <mutex>
#include <utility>

namespace osgEarth {
namespace Annotation {

/// What is drawn in place of a small overlay.
struct OverlayQuad {
    std::array<osg::Vec3d, 4> corners; ///< counter-clockwise from the lower left, in the overlay's space
    osg::ref_ptr<ThumbnailAtlas::Thumbnail> picture;
    float alpha = 1.0f;
};

/// A draw call for every overlay would cost far more than the few pixels that most of them cover. During a
/// cull traversal small overlays are put as quads into one drawable for each state they inherit and page of
/// the atlas. Traversals of different visitors may run at once.
class OverlayBatches : public osg::Referenced {
public:
    /// The one of the process; it lives as long as somebody holds it.
    static osg::ref_ptr<OverlayBatches> shared();

    ThumbnailAtlas& atlas() { return *m_atlas; }

    /// Adds a quad in the state that the visitor's present node inherits. An id of
    /// OSGEARTH_OBJECTID_EMPTY leaves the one that is inherited. Quads keep a least size on the screen, so
    /// that nothing vanishes in the distance.
    void add(osgUtil::CullVisitor& visitor, const OverlayQuad& quad, ObjectID id, double sizePixels);

protected:
    OverlayBatches();
    ~OverlayBatches() override;

private:
    class Batch;
    class Traversal;

    Batch& batchFor(osgUtil::CullVisitor& visitor, unsigned page, bool hasIds);
    osg::StateSet* stateFor(unsigned page, bool hasIds);

    osg::ref_ptr<ThumbnailAtlas> m_atlas;
    std::mutex m_mutex; // guards the states
    std::map<std::pair<unsigned, bool>, osg::ref_ptr<osg::StateSet>> m_states;
};

} // namespace Annotation
} // namespace osgEarth
