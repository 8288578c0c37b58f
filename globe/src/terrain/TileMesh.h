// The surface of one terrain tile: a grid of posts in a local frame, with picture, relief shading and skirts.
#pragma once
#include "LayerStack.h"

#include <osg/BoundingBox>
#include <osg/Geometry>
#include <osg/MatrixTransform>
#include <osgEarth/TerrainOptions>
#include <osgEarth/TileKey>

#include <vector>

namespace osgEarth {

/// Drawn geometry and what questions about heights need. Built on a background thread, read-only afterwards but for what
/// is said.
class TileMesh : public osg::Referenced {
public:
    static constexpr int kImagePixels = 256;
    static constexpr unsigned kComparedUnit = 1; ///< texture unit of the picture that is compared

    TileMesh(const TileKey& key, const LayerStack& layers, const TerrainOptions& options);

    const TileKey& key() const { return m_key; }
    /// Whether a picture has come that was not there when it was made. Any thread.
    bool hasNews() const { return *m_news; }
    /// The drawable surface, placed in the world.
    osg::MatrixTransform* node() const { return m_node.get(); }
    /// Whether it was made with a second picture, to compare.
    bool wasMadeToCompare() const { return m_wasMadeToCompare; }
    /// On the thread that runs the frames, once it is in the scene.
    void dropComparedPicture();
    /// East-north-up frame at the tile's centre, and the surface's box in it.
    const osg::Matrixd& worldToLocal() const { return m_worldToLocal; }
    const osg::BoundingBoxd& localBox() const { return m_localBox; }
    osg::BoundingSphere worldBound() const;
    double highestMetres() const { return m_highestMetres; }

    /// Height of the drawn triangles at a position of the map's system; false off the tile.
    bool height(double x, double y, double& out_height) const;

    /// Whether a position of the map's system lies on the tile, and the height there, bilinear between the
    /// posts: as good as the triangles' and much quicker.
    bool contains(double x, double y) const { return m_extent.bounds().contains(x, y); }
    double heightBetweenPosts(double x, double y) const;

protected:
    ~TileMesh() override = default;

private:
    struct Surface; // scratch while building
    struct Arrays;
    osg::ref_ptr<osg::Geometry> buildGeometry(const Surface& surface);
    void addPosts(const Surface& surface, Arrays& arrays);
    void addSkirt(Arrays& arrays) const;
    osg::Vec3d post(int column, int row) const;

    TileKey m_key;
    GeoExtent m_extent;
    int m_posts;
    PictureNews m_news = std::make_shared<std::atomic<bool>>(false);
    bool m_wasMadeToCompare = false;
    double m_highestMetres = 0.0;
    osg::Matrixd m_localToWorld;
    osg::Matrixd m_worldToLocal;
    osg::BoundingBoxd m_localBox;
    std::vector<float> m_heights;            // of the posts, metres
    osg::ref_ptr<osg::Vec3Array> m_vertices; // posts row by row from the north-west, then the skirt
    osg::ref_ptr<osg::MatrixTransform> m_node;
};

} // namespace osgEarth
