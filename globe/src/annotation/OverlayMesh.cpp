#include "OverlayMesh.h"
#include "../features/GroundSampler.h"
#include "../features/LocalPlane.h"
#include "GroundBias.h"

#include <osg/Geometry>
#include <osg/Texture2D>
#include <osgEarth/VirtualProgram>

#include <algorithm>
#include <map>
#include <mutex>
#include <tuple>

namespace osgEarth {
namespace Annotation {
namespace {

constexpr double kCellMetres = 1.0;
constexpr unsigned kMaxCells = 32;    // on a side
constexpr unsigned kMinFarCells = 16; // where the globe's curvature shows
constexpr double kFarMetres = 10000.0;

const char* const kTexCoordSource =
    "out vec2 oe_ImageOverlay_tc;\n"
    "void oe_ImageOverlay_vertex(inout vec4 vertex) { oe_ImageOverlay_tc = gl_MultiTexCoord0.st; }\n";
const char* const kColorSource = "in vec2 oe_ImageOverlay_tc;\n"
                                 "uniform sampler2D oe_ImageOverlay_tex;\n"
                                 "void oe_ImageOverlay_color(inout vec4 color) { color *= "
                                 "texture(oe_ImageOverlay_tex, oe_ImageOverlay_tc); }\n";

osg::ref_ptr<osg::StateSet> newOverlayState(bool draped) {
    osg::ref_ptr<osg::StateSet> stateSet = new osg::StateSet;
    installGroundState(stateSet);
    VirtualProgram* program = VirtualProgram::getOrCreate(stateSet);
    program->setFunction("oe_ImageOverlay_vertex", kTexCoordSource, ShaderComp::LOCATION_VERTEX_MODEL);
    program->setFunction("oe_ImageOverlay_color", kColorSource, ShaderComp::LOCATION_FRAGMENT_COLORING);
    stateSet->addUniform(new osg::Uniform("oe_ImageOverlay_tex", 0));
    if (!draped) {
        stateSet->setMode(GL_DEPTH_TEST, osg::StateAttribute::OFF);
    }
    return stateSet;
}

/// The inner state set of all overlays of a kind; it lives as long as one of them.
osg::ref_ptr<osg::StateSet> overlayState(bool draped) {
    static std::mutex mutex;
    static osg::observer_ptr<osg::StateSet> states[2];
    const std::lock_guard<std::mutex> lock(mutex);
    osg::ref_ptr<osg::StateSet> stateSet;
    if (!states[draped].lock(stateSet)) {
        stateSet = newOverlayState(draped);
        states[draped] = stateSet;
    }
    return stateSet;
}

/// Indices and texture coordinates of a grid; what equal grids share.
struct GridTopology : public osg::Referenced {
    osg::ref_ptr<osg::DrawElementsUShort> triangles = new osg::DrawElementsUShort(GL_TRIANGLES);
    osg::ref_ptr<osg::Vec2Array> texCoords = new osg::Vec2Array;
};

osg::ref_ptr<GridTopology> newTopology(unsigned columns, unsigned rows, bool topDown) {
    osg::ref_ptr<GridTopology> grid = new GridTopology;
    for (unsigned row = 0; row <= rows; ++row) {
        for (unsigned column = 0; column <= columns; ++column) {
            const float v = static_cast<float>(row) / static_cast<float>(rows);
            grid->texCoords->push_back(
                osg::Vec2f(static_cast<float>(column) / static_cast<float>(columns), topDown ? 1.0f - v : v));
        }
    }
    for (unsigned row = 0; row < rows; ++row) {
        for (unsigned column = 0; column < columns; ++column) {
            const auto corner = static_cast<GLushort>(row * (columns + 1) + column);
            const auto above = static_cast<GLushort>(corner + columns + 1);
            for (GLushort index :
                 {corner, static_cast<GLushort>(corner + 1), static_cast<GLushort>(above + 1), corner,
                  static_cast<GLushort>(above + 1), above}) {
                grid->triangles->push_back(index);
            }
        }
    }
    // Buffers of their own, so that no single overlay's buffer is kept alive by the others.
    grid->texCoords->setBinding(osg::Array::BIND_PER_VERTEX);
    grid->texCoords->setVertexBufferObject(new osg::VertexBufferObject);
    grid->triangles->setElementBufferObject(new osg::ElementBufferObject);
    return grid;
}

osg::ref_ptr<GridTopology> topology(unsigned columns, unsigned rows, bool topDown) {
    static std::mutex mutex;
    static std::map<std::tuple<unsigned, unsigned, bool>, osg::observer_ptr<GridTopology>> grids;
    const std::lock_guard<std::mutex> lock(mutex);
    osg::observer_ptr<GridTopology>& slot = grids[{columns, rows, topDown}];
    osg::ref_ptr<GridTopology> grid;
    if (!slot.lock(grid)) {
        grid = newTopology(columns, rows, topDown);
        slot = grid;
    }
    return grid;
}

unsigned cellsAlong(double metres) {
    const unsigned least = metres > kFarMetres ? kMinFarCells : 1u;
    return std::clamp(static_cast<unsigned>(std::ceil(std::min(metres, 1e6) / kCellMetres)), least,
                      kMaxCells);
}

/// Bilinear between the corners; u from left to right, v from bottom to top.
osg::Vec2d at(const OverlayShape& shape, double u, double v) {
    return (shape.lowerLeft * (1.0 - u) + shape.lowerRight * u) * (1.0 - v) +
           (shape.upperLeft * (1.0 - u) + shape.upperRight * u) * v;
}

/// Positions of one overlay's grid on the map.
class OverlayGrid {
public:
    OverlayGrid(MapNode& mapNode, const OverlayShape& shape)
        : m_mapSRS(mapNode.getMapSRS()), m_shape(shape), m_ground(mapNode) {}

    /// False when the corners cannot be put on the map.
    bool measure() {
        if (!toMap(0.5, 0.5, m_anchor)) {
            return false;
        }
        m_anchor.z() = heightAt(m_anchor);
        m_plane = std::make_unique<LocalPlane>(m_mapSRS.get(), m_anchor);
        m_columns = cellsAlong(std::max(edge(0.0, 0.0, 1.0, 0.0), edge(0.0, 1.0, 1.0, 1.0)));
        m_rows = cellsAlong(std::max(edge(0.0, 0.0, 0.0, 1.0), edge(1.0, 0.0, 1.0, 1.0)));
        return true;
    }

    unsigned columns() const { return m_columns; }
    unsigned rows() const { return m_rows; }
    const LocalPlane& plane() const { return *m_plane; }
    double deviationMetres() const { return m_deviationMetres; }

    osg::ref_ptr<osg::Vec3Array> vertices() {
        osg::ref_ptr<osg::Vec3Array> result = new osg::Vec3Array;
        std::vector<double> heights;
        for (unsigned row = 0; row <= m_rows; ++row) {
            for (unsigned column = 0; column <= m_columns; ++column) {
                osg::Vec3d point;
                toMap(static_cast<double>(column) / m_columns, static_cast<double>(row) / m_rows, point);
                point.z() = heightAt(point);
                heights.push_back(point.z());
                result->push_back(m_plane->toFrame(m_plane->toPlane(point)));
            }
        }
        if (m_shape.draped) {
            measureDeviation(heights);
        }
        return result;
    }

private:
    bool toMap(double u, double v, osg::Vec3d& out) const {
        static const osg::ref_ptr<const SpatialReference> wgs84 = SpatialReference::get("wgs84");
        const osg::Vec2d lonLat = at(m_shape, u, v);
        return wgs84->transform(osg::Vec3d(lonLat.x(), lonLat.y(), 0.0), m_mapSRS.get(), out);
    }

    double heightAt(const osg::Vec3d& point) {
        return m_shape.draped ? m_ground.heightAt(point.x(), point.y()) : 0.0;
    }

    double edge(double u0, double v0, double u1, double v1) const {
        osg::Vec3d from;
        osg::Vec3d to;
        toMap(u0, v0, from);
        toMap(u1, v1, to);
        const osg::Vec3d way = m_plane->toPlane(to) - m_plane->toPlane(from);
        return std::hypot(way.x(), way.y());
    }

    /// Looks at the middle of every third cell.
    void measureDeviation(const std::vector<double>& heights) {
        for (unsigned cell = 0; cell < m_columns * m_rows; cell += 3) {
            const unsigned column = cell % m_columns;
            const unsigned row = cell / m_columns;
            const unsigned corner = row * (m_columns + 1) + column;
            const double between = (heights[corner] + heights[corner + 1] + heights[corner + m_columns + 1] +
                                    heights[corner + m_columns + 2]) /
                                   4.0;
            osg::Vec3d middle;
            toMap((column + 0.5) / m_columns, (row + 0.5) / m_rows, middle);
            m_deviationMetres = std::max(m_deviationMetres, heightAt(middle) - between);
        }
    }

    osg::ref_ptr<const SpatialReference> m_mapSRS;
    const OverlayShape& m_shape;
    GroundSampler m_ground;
    osg::Vec3d m_anchor;
    std::unique_ptr<LocalPlane> m_plane;
    unsigned m_columns = 1;
    unsigned m_rows = 1;
    double m_deviationMetres = 0.0;
};

osg::ref_ptr<osg::Texture2D> overlayTexture(osg::Image& image) {
    osg::ref_ptr<osg::Texture2D> texture = new osg::Texture2D(&image);
    texture->setResizeNonPowerOfTwoHint(false);
    texture->setFilter(osg::Texture::MIN_FILTER, osg::Texture::LINEAR_MIPMAP_LINEAR);
    texture->setFilter(osg::Texture::MAG_FILTER, osg::Texture::LINEAR);
    texture->setWrap(osg::Texture::WRAP_S, osg::Texture::CLAMP_TO_EDGE);
    texture->setWrap(osg::Texture::WRAP_T, osg::Texture::CLAMP_TO_EDGE);
    return texture;
}

} // namespace

OverlayMesh overlayMesh(MapNode& mapNode, const OverlayShape& shape, osg::Image& image) {
    OverlayGrid grid(mapNode, shape);
    if (!grid.measure()) {
        return {};
    }
    const osg::ref_ptr<GridTopology> shared =
        topology(grid.columns(), grid.rows(), image.getOrigin() == osg::Image::TOP_LEFT);
    const osg::Vec4 color(1.0f, 1.0f, 1.0f, shape.alpha);
    const osg::ref_ptr<osg::Vec3Array> vertices = grid.vertices();

    osg::ref_ptr<osg::Geometry> geometry = new osg::Geometry;
    geometry->setUseDisplayList(false);
    geometry->setUseVertexBufferObjects(true);
    geometry->setVertexArray(vertices);
    geometry->setTexCoordArray(0, shared->texCoords);
    geometry->setColorArray(new osg::Vec4Array(1, &color), osg::Array::BIND_OVERALL);
    geometry->addPrimitiveSet(shared->triangles);
    geometry->setUserData(shared); // the shared grid lives as long as one user
    geometry->setStateSet(overlayState(shape.draped));

    OverlayMesh mesh;
    mesh.node = new osg::MatrixTransform(grid.plane().frameToWorld());
    mesh.node->getOrCreateStateSet()->setTextureAttributeAndModes(0, overlayTexture(image));
    setGroundBias(mesh.node->getOrCreateStateSet(), grid.deviationMetres());
    mesh.node->addChild(geometry);
    const std::size_t last = vertices->size() - 1;
    const std::size_t columns = grid.columns();
    const std::array<std::size_t, 4> corners = {0, columns, last, last - columns};
    for (std::size_t i = 0; i < corners.size(); ++i) {
        mesh.corners[i] = osg::Vec3d((*vertices)[corners[i]]) * grid.plane().frameToWorld();
    }
    return mesh;
}

} // namespace Annotation
} // namespace osgEarth
