#include "Triangulation.h"

#include <osg/Geometry>
#include <osg/TriangleIndexFunctor>
#include <osgUtil/Tessellator>

#include <algorithm>
#include <map>
#include <set>
#include <utility>

namespace osgEarth {
namespace {

double length2D(const osg::Vec3d& a, const osg::Vec3d& b) {
    return std::hypot(b.x() - a.x(), b.y() - a.y());
}

/// Twice the signed area in x-y.
double cross2D(const osg::Vec3d& a, const osg::Vec3d& b, const osg::Vec3d& c) {
    return (b.x() - a.x()) * (c.y() - a.y()) - (c.x() - a.x()) * (b.y() - a.y());
}

std::size_t distinctPoints(const std::vector<std::vector<osg::Vec3d>>& rings) {
    std::set<std::pair<double, double>> distinct;
    for (const std::vector<osg::Vec3d>& ring : rings) {
        for (const osg::Vec3d& point : ring) {
            distinct.emplace(point.x(), point.y());
        }
    }
    return distinct.size();
}

/// The rings as one OSG polygon geometry, one primitive set per ring.
osg::ref_ptr<osg::Geometry> outlineGeometry(const std::vector<std::vector<osg::Vec3d>>& rings) {
    osg::ref_ptr<osg::Geometry> geometry = new osg::Geometry;
    osg::ref_ptr<osg::Vec3Array> vertices = new osg::Vec3Array;
    for (const std::vector<osg::Vec3d>& ring : rings) {
        const int first = static_cast<int>(vertices->size());
        for (const osg::Vec3d& point : ring) {
            vertices->push_back(osg::Vec3f(point));
        }
        geometry->addPrimitiveSet(new osg::DrawArrays(GL_POLYGON, first, static_cast<int>(ring.size())));
    }
    geometry->setVertexArray(vertices);
    return geometry;
}

struct CollectTriangles {
    TriangleMesh* mesh = nullptr;

    void operator()(unsigned a, unsigned b, unsigned c) {
        const std::vector<osg::Vec3d>& p = mesh->points;
        const double area = cross2D(p[a], p[b], p[c]);
        if (area == 0.0) {
            return;
        }
        if (area < 0.0) {
            std::swap(b, c);
        }
        mesh->indices.insert(mesh->indices.end(), {a, b, c});
    }
};

/// One round of cutting: every edge over the limit gets a point in its middle, which both neighbours share.
class EdgeSplitter {
public:
    EdgeSplitter(TriangleMesh& mesh, double longestEdge) : m_mesh(mesh), m_longestEdge(longestEdge) {}

    bool split() {
        std::vector<unsigned> before;
        before.swap(m_mesh.indices);
        for (std::size_t i = 0; i < before.size(); i += 3) {
            splitTriangle({before[i], before[i + 1], before[i + 2]});
        }
        return !m_middles.empty();
    }

private:
    struct Triangle {
        unsigned a, b, c;
    };

    bool isLong(unsigned a, unsigned b) const {
        return length2D(m_mesh.points[a], m_mesh.points[b]) > m_longestEdge;
    }

    unsigned middle(unsigned a, unsigned b) {
        const auto edge = std::minmax(a, b);
        const auto [found, isNew] = m_middles.emplace(edge, static_cast<unsigned>(m_mesh.points.size()));
        if (isNew) {
            m_mesh.points.push_back((m_mesh.points[a] + m_mesh.points[b]) * 0.5);
        }
        return found->second;
    }

    void emit(unsigned a, unsigned b, unsigned c) { m_mesh.indices.insert(m_mesh.indices.end(), {a, b, c}); }

    void splitTriangle(Triangle t) {
        const int longEdges = isLong(t.a, t.b) + isLong(t.b, t.c) + isLong(t.c, t.a);
        switch (longEdges) {
        case 0:
            emit(t.a, t.b, t.c);
            break;
        case 1:
            splitOne(turned(t, [this](const Triangle& s) { return isLong(s.a, s.b); }));
            break;
        case 2:
            splitTwo(turned(t, [this](const Triangle& s) { return !isLong(s.c, s.a); }));
            break;
        default:
            splitThree(t);
        }
    }

    template<typename Condition>
    static Triangle turned(Triangle t, Condition holds) {
        while (!holds(t)) {
            t = {t.b, t.c, t.a};
        }
        return t;
    }

    void splitOne(const Triangle& t) {
        const unsigned m = middle(t.a, t.b);
        emit(t.a, m, t.c);
        emit(m, t.b, t.c);
    }

    void splitTwo(const Triangle& t) {
        const unsigned m = middle(t.a, t.b);
        const unsigned n = middle(t.b, t.c);
        emit(m, t.b, n);
        emit(t.a, m, n);
        emit(t.a, n, t.c);
    }

    void splitThree(const Triangle& t) {
        const unsigned m = middle(t.a, t.b);
        const unsigned n = middle(t.b, t.c);
        const unsigned o = middle(t.c, t.a);
        emit(t.a, m, o);
        emit(m, t.b, n);
        emit(o, n, t.c);
        emit(m, n, o);
    }

    TriangleMesh& m_mesh;
    double m_longestEdge;
    std::map<std::pair<unsigned, unsigned>, unsigned> m_middles;
};

} // namespace

TriangleMesh triangulate(const std::vector<std::vector<osg::Vec3d>>& rings) {
    TriangleMesh mesh;
    if (distinctPoints(rings) < 3) {
        return mesh;
    }
    const osg::ref_ptr<osg::Geometry> geometry = outlineGeometry(rings);
    osg::ref_ptr<osgUtil::Tessellator> tessellator = new osgUtil::Tessellator;
    tessellator->setTessellationType(osgUtil::Tessellator::TESS_TYPE_GEOMETRY);
    tessellator->setWindingType(osgUtil::Tessellator::TESS_WINDING_ODD);
    tessellator->setTessellationNormal(osg::Vec3(0.0f, 0.0f, 1.0f));
    tessellator->retessellatePolygons(*geometry);

    const auto* vertices = dynamic_cast<const osg::Vec3Array*>(geometry->getVertexArray());
    if (!vertices) {
        return mesh;
    }
    mesh.points.assign(vertices->begin(), vertices->end());
    osg::TriangleIndexFunctor<CollectTriangles> collect;
    collect.mesh = &mesh;
    geometry->accept(collect);
    return mesh;
}

void subdivide(TriangleMesh& mesh, double longestEdge, std::size_t maxTriangles) {
    while (mesh.indices.size() / 3 < maxTriangles && EdgeSplitter(mesh, longestEdge).split()) {
    }
}

} // namespace osgEarth
