// One terrain tile in the scene: its surface, and its four children once they are near enough to matter.
#pragma once
#include "TileContext.h"
#include "TileMesh.h"

#include <osg/Group>
#include <osg/PagedLOD>

#include <memory>

namespace osgEarth {

/// A surface as the pager hands it over.
class TileSurface : public osg::Group {
public:
    /// Makes it of these layers, in the calling thread.
    TileSurface(const TileKey& key, const LayerStack& layers, const TerrainOptions& options);
    TileMesh* mesh() const { return m_mesh.get(); }
    const LayerLook& look() const { return m_look; }
    /// The latest revision of the layers that it shows.
    int revision() const { return m_revision; }
    /// While it is not in the scene.
    void setRevision(int revision) { m_revision = revision; }

private:
    osg::ref_ptr<TileMesh> m_mesh;
    LayerLook m_look;
    int m_revision;
};

/// Holds a tile's present surface. A surface that the pager adds takes the place of the one before, which is kept for
/// when the layers are again as they were.
class TileSurfaceSlot : public osg::Group {
public:
    TileSurfaceSlot(TileSurface* surface, std::shared_ptr<TileContext> context);
    using osg::Group::addChild;
    bool addChild(osg::Node* child) override;
    TileMesh* mesh() const { return m_surface->mesh(); }
    /// Of the layers that the surface shows.
    int revision() const { return m_surface->revision(); }

    osg::ref_ptr<osg::Referenced> pendingRequest; // for the pager's use

private:
    std::shared_ptr<TileContext> m_context;
    osg::ref_ptr<TileSurface> m_surface;
};

/// The first child is the surface, the second the group of the four children, which the database pager reads
/// when the tile grows large on the screen and drops when it has not been seen for a while. The surface is
/// drawn until all four are there.
class TileNode : public osg::PagedLOD {
public:
    /// Builds the surface in the calling thread.
    TileNode(const TileKey& key, const std::shared_ptr<TileContext>& context);

    const TileKey& key() const { return m_key; }
    TileMesh* mesh() const { return m_slot->mesh(); }
    /// Called when the tile, with the children it may have brought along, becomes part of the scene.
    void enterScene();
    /// Whether the view is so near that this tile would be passed over for finer ones. For tiles that are not
    /// in the scene yet.
    bool isMuchTooCoarseFor(const TileView& view);
    /// Gives a tile that is not in the scene yet its four children.
    void bringAlong(osg::Group* quad) { osg::PagedLOD::addChild(quad); }

    using osg::PagedLOD::addChild;
    bool addChild(osg::Node* child) override;
    void traverse(osg::NodeVisitor& nv) override;
    osg::BoundingSphere computeBound() const override;

protected:
    ~TileNode() override;

private:
    void cull(osgUtil::CullVisitor& visitor);
    void request(const std::string& name, osg::NodePath& path, float priority,
                 osg::ref_ptr<osg::Referenced>& pending, osgUtil::CullVisitor& visitor);
    bool isBeyondHorizon(const osg::Vec3d& eye) const;
    double horizonCeiling() const;
    bool canBeRefined();
    float sizeInPixels(const osg::Vec3d& eyeWorld, float pixelsPerRadian) const;

    TileKey m_key;
    GeoExtent m_extent;
    std::shared_ptr<TileContext> m_context;
    osg::ref_ptr<TileSurfaceSlot> m_slot;
    std::vector<osg::Vec3d> m_horizonPoints; // in units of the ellipsoid's radii
    int m_revisionChecked = -1;
    bool m_canBeRefined = false;
    bool m_isOutdated = false;
};

} // namespace osgEarth
