// What all tiles of one terrain share.
#pragma once
#include "LayerStack.h"
#include "TileIndex.h"

#include <osg/Node>
#include <osg/Polytope>
#include <osgDB/Options>
#include <osgEarth/TerrainOptions>
#include <osgUtil/CullVisitor>

#include <atomic>
#include <functional>
#include <memory>
#include <mutex>
#include <utility>
#include <vector>

namespace osgEarth {
class FormerSurfaces;

/// From where a view saw the terrain in its latest frame. World coordinates.
struct TileView {
    osg::Vec3d eye;
    osg::Polytope frustum; ///< without near and far planes
    float pixelsPerRadian = 0.0F;
};

/// Layers in use, options, the index of loaded tiles, and the measure of refinement. Thread safe except where
/// said.
class TileContext : public std::enable_shared_from_this<TileContext> {
public:
    TileContext(const osg::ref_ptr<const Profile>& profile, const TerrainOptions& options);
    ~TileContext();

    const Profile* profile() const { return m_profile.get(); }
    const TerrainOptions& options() const { return m_options; }
    const std::shared_ptr<TileIndex>& index() const { return m_index; }
    FormerSurfaces& formerSurfaces() { return *m_formerSurfaces; }

    std::shared_ptr<const LayerStack> layers() const;
    int revision() const { return m_revision; }
    /// Replaces the layers; tiles within the differences are made anew when they are next seen. Where the new ones compare
    /// nothing, compared pictures go at once. On the thread that runs the frames.
    void setLayers(const Map& map);
    /// Whether layers within the extent have changed since the revision.
    bool hasChangedSince(int revision, const GeoExtent& extent) const;

    /// Reader options that make the database pager build tiles of this terrain.
    osg::ref_ptr<osgDB::Options> readerOptions();

    /// Pixels on the screen that a tile needs to be refined.
    float refinementPixels() const;
    /// Screen pixels per radian for a cull traversal. Cameras other than a view's own (shadow, depth and pick
    /// cameras) see the terrain as the view's camera does.
    float pixelsPerRadian(const osgUtil::CullVisitor& visitor);
    /// Whether the traversal is the one of a view's own camera, which alone decides what is loaded.
    static bool isViewCamera(const osgUtil::CullVisitor& visitor);

    /// Notes the view at the beginning of its cull traversal.
    void noteView(osgUtil::CullVisitor& visitor);
    /// The latest view, or null before the first frame.
    std::shared_ptr<const TileView> view() const;

    /// Notes tiles that entered the scene; the terrain announces them in its update traversal.
    void tileEntered(TileMesh* mesh);
    std::vector<osg::ref_ptr<TileMesh>> takeEnteredTiles();
    /// Called for every tile that enters, on the thread that runs the frames; set and called on that thread
    /// only.
    void setEnteredCallback(std::function<void()> callback) { m_enteredCallback = std::move(callback); }

private:
    struct Change {
        int revision;
        GeoExtent extent;
    };

    osg::ref_ptr<const Profile> m_profile;
    TerrainOptions m_options;
    std::shared_ptr<TileIndex> m_index;
    std::unique_ptr<FormerSurfaces> m_formerSurfaces;
    std::atomic<int> m_revision{0};
    std::atomic<float> m_viewPixelsPerRadian{0.0F};
    std::function<void()> m_enteredCallback;
    mutable std::mutex m_mutex; // guards what follows
    std::shared_ptr<const LayerStack> m_layers;
    std::shared_ptr<const TileView> m_view;
    std::vector<Change> m_changes;
    std::vector<osg::ref_ptr<TileMesh>> m_entered;
};

} // namespace osgEarth
