/// Polygons as triangles.
#pragma once

#include <osg/Vec3d>

#include <vector>

namespace osgEarth {

/// Triangles over shared points; three indices each, counter-clockwise seen from +z.
struct TriangleMesh {
    std::vector<osg::Vec3d> points;
    std::vector<unsigned> indices;
};

/// Triangles of the area that an odd number of the rings encloses: concave outlines, holes and self-crossings
/// are allowed. Rings lie in the x-y plane with heights in z; where rings cross, heights are interpolated.
/// Empty for fewer than three distinct points.
TriangleMesh triangulate(const std::vector<std::vector<osg::Vec3d>>& rings);

/// Cuts edges at their middle until none is longer than the limit in x-y, or the mesh reaches about
/// `maxTriangles`. Neighbours stay joined.
void subdivide(TriangleMesh& mesh, double longestEdge, std::size_t maxTriangles);

} // namespace osgEarth
