#include "TileMesh.h"

#include <osg/Texture2D>

#include <algorithm>
#include <cmath>
#include <optional>

namespace osgEarth {
namespace {

// The shading of flat ground; brighter and darker slopes lie about it. The terrain's shader divides by it.
constexpr double kFlatShade = 0.8;
constexpr double kMetresPerDegree = 111320.0;

// Light from the north-west at 45 degrees, as on printed maps. The slope is exaggerated with the spacing of
// the posts, because coarse posts flatten the relief.
double hillShade(double slopeEast, double slopeNorth, double spacingMetres) {
    const double exaggeration = osg::clampBetween(std::pow(spacingMetres / 5.0, 0.25), 1.0, 5.0);
    const osg::Vec3d light(-0.5, 0.5, std::sqrt(0.5));
    osg::Vec3d normal(-slopeEast * exaggeration, -slopeNorth * exaggeration, 1.0);
    normal.normalize();
    const double relative = std::max(0.0, normal * light) / light.z();
    return osg::clampBetween(kFlatShade * (0.4 + 0.6 * relative), 0.0, 1.0);
}

osg::ref_ptr<osg::Texture2D> textureOf(const osg::ref_ptr<osg::Image>& picture) {
    osg::ref_ptr<osg::Texture2D> texture = new osg::Texture2D(picture);
    texture->setWrap(osg::Texture::WRAP_S, osg::Texture::CLAMP_TO_EDGE);
    texture->setWrap(osg::Texture::WRAP_T, osg::Texture::CLAMP_TO_EDGE);
    texture->setFilter(osg::Texture::MIN_FILTER, osg::Texture::LINEAR_MIPMAP_LINEAR);
    texture->setFilter(osg::Texture::MAG_FILTER, osg::Texture::LINEAR);
    // No anisotropic filtering: a software renderer takes three times as long for a frame with it.
    texture->setUnRefImageDataAfterApply(true);
    texture->setResizeNonPowerOfTwoHint(false);
    return texture;
}

// The posts of the outer edge of a square of `n` times `n`, clockwise from the north-west.
std::vector<int> edgeOf(int n) {
    std::vector<int> ring;
    for (int i = 0; i < n - 1; ++i) {
        ring.push_back(i); // north edge, going east
    }
    for (int i = 0; i < n - 1; ++i) {
        ring.push_back(i * n + n - 1); // east edge, going south
    }
    for (int i = n - 1; i > 0; --i) {
        ring.push_back((n - 1) * n + i); // south edge, going west
    }
    for (int i = n - 1; i > 0; --i) {
        ring.push_back(i * n); // west edge, going north
    }
    return ring;
}

} // namespace

// Heights and local positions of the posts and of one more ring around them, which the slopes at the edges
// need.
struct TileMesh::Surface {
    Surface(const GeoExtent& extent, int posts, const LayerStack& layers, double verticalScale,
            const osg::Matrixd& worldToLocal);

    std::size_t index(int column, int row) const {
        return static_cast<std::size_t>((row + 1) * side + column + 1);
    }
    float heightAt(int column, int row) const { return heights[index(column, row)]; }
    const osg::Vec3d& positionAt(int column, int row) const { return positions[index(column, row)]; }
    osg::Vec3 normalAt(int column, int row) const;
    double shadeAt(int column, int row) const;

    int side;
    SampleGrid grid;
    bool isGeographic;
    std::vector<float> heights;
    std::vector<bool> measured;
    std::vector<osg::Vec3d> positions;
};

TileMesh::Surface::Surface(const GeoExtent& extent, int posts, const LayerStack& layers, double verticalScale,
                           const osg::Matrixd& worldToLocal)
    : side(posts + 2), isGeographic(extent.getSRS()->isGeographic()) {
    const double stepX = extent.width() / (posts - 1);
    const double stepY = extent.height() / (posts - 1);
    grid = {GeoExtent(extent.getSRS(), extent.west() - stepX, extent.south() - stepY, extent.east() + stepX,
                      extent.north() + stepY),
            side, side, true};
    LayerStack::Heights composed = layers.composeHeights(grid);
    heights = std::move(composed.metres);
    measured = std::move(composed.measured);
    positions.resize(heights.size());
    for (int row = -1; row <= posts; ++row) {
        for (int column = -1; column <= posts; ++column) {
            float& height = heights[index(column, row)];
            height *= static_cast<float>(verticalScale);
            // Counted from the tile's own edges, so that neighbours compute shared posts from the same
            // numbers.
            const double x = column == 0           ? extent.west()
                             : column == posts - 1 ? extent.east()
                                                   : extent.west() + stepX * column;
            const double y = row == 0           ? extent.north()
                             : row == posts - 1 ? extent.south()
                                                : extent.north() - stepY * row;
            const double limit = isGeographic ? 90.0 : DBL_MAX;
            osg::Vec3d world;
            extent.getSRS()->transformToWorld(osg::Vec3d(x, osg::clampBetween(y, -limit, limit), height),
                                              world);
            positions[index(column, row)] = world * worldToLocal;
        }
    }
}

osg::Vec3 TileMesh::Surface::normalAt(int column, int row) const {
    const osg::Vec3d east = positionAt(column + 1, row) - positionAt(column - 1, row);
    const osg::Vec3d north = positionAt(column, row - 1) - positionAt(column, row + 1);
    osg::Vec3d normal = east ^ north;
    if (normal.normalize() == 0.0) {
        normal.set(0.0, 0.0, 1.0);
    }
    return osg::Vec3(normal);
}

double TileMesh::Surface::shadeAt(int column, int row) const {
    // What was never measured has no relief to show.
    if (!measured[index(column, row)]) {
        return kFlatShade;
    }
    const double degrees = isGeographic ? kMetresPerDegree : 1.0;
    const double latitude = isGeographic ? grid.y(row + 1) : 0.0;
    const double stepY = grid.extent.height() / (side - 1) * degrees;
    const double stepX = grid.extent.width() / (side - 1) * degrees *
                         std::max(0.05, std::cos(osg::DegreesToRadians(latitude)));
    const double slopeEast = (heightAt(column + 1, row) - heightAt(column - 1, row)) / (2.0 * stepX);
    const double slopeNorth = (heightAt(column, row - 1) - heightAt(column, row + 1)) / (2.0 * stepY);
    return hillShade(slopeEast, slopeNorth, stepY);
}

// What is drawn, vertex by vertex.
struct TileMesh::Arrays {
    osg::ref_ptr<osg::Vec3Array> vertices = new osg::Vec3Array();
    osg::ref_ptr<osg::Vec3Array> normals = new osg::Vec3Array();
    osg::ref_ptr<osg::Vec4ubArray> colours = new osg::Vec4ubArray();
    osg::ref_ptr<osg::Vec2Array> places = new osg::Vec2Array(); // in the pictures
    osg::ref_ptr<osg::DrawElementsUShort> triangles = new osg::DrawElementsUShort(GL_TRIANGLES);

    void addQuad(int upperLeft, int upperRight, int lowerLeft, int lowerRight) const {
        for (const int i : {upperLeft, lowerLeft, upperRight, upperRight, lowerLeft, lowerRight}) {
            triangles->push_back(static_cast<GLushort>(i));
        }
    }
    // Adds that vertex once more, at another position.
    void repeat(int vertex, const osg::Vec3d& position) const {
        const auto i = static_cast<std::size_t>(vertex);
        vertices->push_back(osg::Vec3(position));
        normals->push_back(osg::Vec3((*normals)[i]));
        colours->push_back(osg::Vec4ub((*colours)[i]));
        places->push_back(osg::Vec2((*places)[i]));
    }
    osg::ref_ptr<osg::Geometry> geometry() const {
        osg::ref_ptr<osg::Geometry> geometry = new osg::Geometry();
        geometry->setUseDisplayList(false);
        geometry->setUseVertexBufferObjects(true);
        geometry->setVertexArray(vertices);
        geometry->setNormalArray(normals, osg::Array::BIND_PER_VERTEX);
        geometry->setColorArray(colours, osg::Array::BIND_PER_VERTEX);
        geometry->setTexCoordArray(0, places);
        geometry->addPrimitiveSet(triangles);
        return geometry;
    }
};

TileMesh::TileMesh(const TileKey& key, const LayerStack& layers, const TerrainOptions& options)
    : m_key(key), m_extent(key.getExtent()), m_posts(options.tileSize().get()) {
    const Bounds bounds = m_extent.bounds();
    const osg::Vec3d centre(bounds.center2d().x(), bounds.center2d().y(), 0.0);
    m_extent.getSRS()->createLocalToWorld(centre, m_localToWorld);
    m_worldToLocal.invert_4x3(m_localToWorld);

    const Surface surface(m_extent, m_posts, layers, options.verticalScale().get(), m_worldToLocal);
    osg::ref_ptr<osg::Geometry> geometry = buildGeometry(surface);

    osg::StateSet* stateSet = geometry->getOrCreateStateSet();
    stateSet->setTextureAttributeAndModes(0, textureOf(layers.composeImage(m_extent, kImagePixels, m_news)));
    if (const auto compared = layers.composeComparedImage(m_extent, kImagePixels, m_news)) {
        stateSet->setTextureAttributeAndModes(kComparedUnit, textureOf(compared));
        m_wasMadeToCompare = true;
    }

    m_node = new osg::MatrixTransform(m_localToWorld);
    m_node->addChild(geometry);
}

void TileMesh::dropComparedPicture() {
    if (m_wasMadeToCompare) {
        m_node->getChild(0)->getStateSet()->removeTextureAttribute(kComparedUnit,
                                                                   osg::StateAttribute::TEXTURE);
    }
}

osg::ref_ptr<osg::Geometry> TileMesh::buildGeometry(const Surface& surface) {
    Arrays arrays;
    m_vertices = arrays.vertices;
    addPosts(surface, arrays);
    for (int row = 0; row + 1 < m_posts; ++row) {
        for (int column = 0; column + 1 < m_posts; ++column) {
            const int i = row * m_posts + column;
            arrays.addQuad(i, i + 1, i + m_posts, i + m_posts + 1);
        }
    }
    addSkirt(arrays);
    return arrays.geometry();
}

void TileMesh::addPosts(const Surface& surface, Arrays& arrays) {
    const auto last = static_cast<float>(m_posts - 1);
    m_highestMetres = -DBL_MAX;
    for (int row = 0; row < m_posts; ++row) {
        for (int column = 0; column < m_posts; ++column) {
            const float height = surface.heightAt(column, row);
            m_heights.push_back(height);
            m_highestMetres = std::max(m_highestMetres, static_cast<double>(height));
            const auto shade = static_cast<unsigned char>(std::lround(surface.shadeAt(column, row) * 255.0));
            arrays.vertices->push_back(osg::Vec3(surface.positionAt(column, row)));
            arrays.normals->push_back(surface.normalAt(column, row));
            arrays.colours->push_back(osg::Vec4ub(shade, shade, shade, 255));
            arrays.places->push_back(
                osg::Vec2(static_cast<float>(column) / last, static_cast<float>(row) / last));
            m_localBox.expandBy(surface.positionAt(column, row));
        }
    }
}

// It hangs from the edge far enough to close the gap to a coarser or finer neighbour.
void TileMesh::addSkirt(Arrays& arrays) const {
    const double lowest = *std::min_element(m_heights.begin(), m_heights.end());
    const double widthMetres = m_localBox.yMax() - m_localBox.yMin();
    const double depth = widthMetres * 0.03 + (m_highestMetres - lowest) * 0.5;
    const std::vector<int> ring = edgeOf(m_posts);
    for (const int edge : ring) {
        const osg::Vec3d position((*arrays.vertices)[static_cast<std::size_t>(edge)]);
        osg::Vec3d up = osg::Matrixd::transform3x3(position * m_localToWorld, m_worldToLocal);
        if (!m_extent.getSRS()->isGeographic()) {
            up.set(0.0, 0.0, 1.0);
        }
        up.normalize();
        arrays.repeat(edge, position - up * depth);
    }
    const int firstSkirt = m_posts * m_posts;
    const int ringSize = static_cast<int>(ring.size());
    for (int i = 0; i < ringSize; ++i) {
        const int next = (i + 1) % ringSize;
        arrays.addQuad(ring[static_cast<std::size_t>(next)], ring[static_cast<std::size_t>(i)],
                       firstSkirt + next, firstSkirt + i);
    }
}

osg::BoundingSphere TileMesh::worldBound() const {
    const osg::Vec3d centre = osg::Vec3d(m_localBox.center()) * m_localToWorld;
    return {osg::Vec3(centre), static_cast<float>((m_localBox._max - m_localBox._min).length() * 0.5 * 1.02)};
}

double TileMesh::heightBetweenPosts(double x, double y) const {
    const double last = m_posts - 1;
    const double column =
        osg::clampBetween((x - m_extent.west()) / m_extent.width() * last, 0.0, last - 1e-9);
    const double row = osg::clampBetween((m_extent.north() - y) / m_extent.height() * last, 0.0, last - 1e-9);
    const double right = column - std::floor(column);
    const double down = row - std::floor(row);
    const float* upper = &m_heights[static_cast<std::size_t>(row) * static_cast<std::size_t>(m_posts) +
                                    static_cast<std::size_t>(column)];
    const float* lower = upper + m_posts;
    return (upper[0] * (1.0 - right) + upper[1] * right) * (1.0 - down) +
           (lower[0] * (1.0 - right) + lower[1] * right) * down;
}

osg::Vec3d TileMesh::post(int column, int row) const {
    return {(*m_vertices)[static_cast<std::size_t>(row * m_posts + column)]};
}

namespace {

// Parameter along origin + t * direction where it meets a triangle's plane, if it does so within the triangle
// (a little slack, so that nothing falls between two triangles).
std::optional<double> hitTriangle(const osg::Vec3d& origin, const osg::Vec3d& direction, const osg::Vec3d& a,
                                  const osg::Vec3d& b, const osg::Vec3d& c) {
    constexpr double kSlack = 1e-6;
    const osg::Vec3d edge1 = b - a;
    const osg::Vec3d edge2 = c - a;
    const osg::Vec3d p = direction ^ edge2;
    const double determinant = edge1 * p;
    if (determinant == 0.0) {
        return std::nullopt;
    }
    const osg::Vec3d toOrigin = origin - a;
    const double u = toOrigin * p / determinant;
    const osg::Vec3d q = toOrigin ^ edge1;
    const double v = direction * q / determinant;
    if (u < -kSlack || v < -kSlack || u + v > 1.0 + kSlack) {
        return std::nullopt;
    }
    return edge2 * q / determinant;
}

} // namespace

bool TileMesh::height(double x, double y, double& out_height) const {
    if (!m_extent.bounds().contains(x, y)) {
        return false;
    }
    osg::Vec3d foot;
    osg::Vec3d above;
    m_extent.getSRS()->transformToWorld(osg::Vec3d(x, y, 0.0), foot);
    m_extent.getSRS()->transformToWorld(osg::Vec3d(x, y, 1.0), above);
    foot = foot * m_worldToLocal;
    const osg::Vec3d up = above * m_worldToLocal - foot;

    const double columns = (x - m_extent.west()) / m_extent.width() * (m_posts - 1);
    const double rows = (m_extent.north() - y) / m_extent.height() * (m_posts - 1);
    // The edges between posts are straight and meridians are not: the neighbours may hold the point as well.
    for (const int ring : {0, 1}) {
        for (int row = static_cast<int>(rows) - ring; row <= static_cast<int>(rows) + ring; ++row) {
            for (int column = static_cast<int>(columns) - ring; column <= static_cast<int>(columns) + ring;
                 ++column) {
                if (row < 0 || column < 0 || row >= m_posts - 1 || column >= m_posts - 1) {
                    continue;
                }
                const osg::Vec3d upperRight = post(column + 1, row);
                const osg::Vec3d lowerLeft = post(column, row + 1);
                auto hit = hitTriangle(foot, up, post(column, row), lowerLeft, upperRight);
                if (!hit) {
                    hit = hitTriangle(foot, up, upperRight, lowerLeft, post(column + 1, row + 1));
                }
                if (hit) {
                    out_height = *hit;
                    return true;
                }
            }
        }
    }
    // Exactly on the tile's outer edge: the nearest post decides.
    const int column = osg::clampBetween(static_cast<int>(std::lround(columns)), 0, m_posts - 1);
    const int row = osg::clampBetween(static_cast<int>(std::lround(rows)), 0, m_posts - 1);
    osg::Vec3d geodetic;
    m_extent.getSRS()->transformFromWorld(post(column, row) * m_localToWorld, geodetic);
    out_height = geodetic.z();
    return true;
}

} // namespace osgEarth
