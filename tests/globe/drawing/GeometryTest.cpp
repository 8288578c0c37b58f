#include <gtest/gtest.h>
#include <osgEarthFeatures/Feature>
#include <osgEarthSymbology/Geometry>

#include "globe/src/features/Polylines.h"
#include "globe/src/features/Triangulation.h"

#include <cmath>

using namespace osgEarth;
using namespace osgEarth::Symbology;

namespace {

osg::ref_ptr<Symbology::Polygon> unitSquare() {
    osg::ref_ptr<Symbology::Polygon> polygon = new Symbology::Polygon;
    polygon->push_back(0.0, 0.0);
    polygon->push_back(1.0, 0.0);
    polygon->push_back(1.0, 1.0);
    polygon->push_back(0.0, 1.0);
    return polygon;
}

double areaOf(const TriangleMesh& mesh) {
    double area = 0.0;
    for (std::size_t i = 0; i < mesh.indices.size(); i += 3) {
        const osg::Vec3d ab = mesh.points[mesh.indices[i + 1]] - mesh.points[mesh.indices[i]];
        const osg::Vec3d ac = mesh.points[mesh.indices[i + 2]] - mesh.points[mesh.indices[i]];
        area += (ab.x() * ac.y() - ac.x() * ab.y()) / 2.0; // negative for a clockwise triangle
    }
    return area;
}

double longestEdge(const TriangleMesh& mesh) {
    double longest = 0.0;
    for (std::size_t i = 0; i < mesh.indices.size(); ++i) {
        const std::size_t next = i % 3 == 2 ? i - 2 : i + 1;
        longest =
            std::max(longest, (mesh.points[mesh.indices[i]] - mesh.points[mesh.indices[next]]).length());
    }
    return longest;
}

} // namespace

TEST(Geometry, BoundsHoldAllPointsWithHeights) {
    osg::ref_ptr<LineString> line = new LineString;
    line->push_back(117.2, 32.1, 20.0);
    line->push_back(117.1, 32.3, -5.0);
    const Bounds bounds = line->getBounds();
    EXPECT_DOUBLE_EQ(bounds.xMin(), 117.1);
    EXPECT_DOUBLE_EQ(bounds.yMax(), 32.3);
    EXPECT_DOUBLE_EQ(bounds.zMin(), -5.0);
    EXPECT_DOUBLE_EQ(bounds.center().z(), 7.5);
}

TEST(Geometry, BoundsOfNothingAreInvalid) {
    osg::ref_ptr<Symbology::Geometry> empty = new Symbology::Geometry;
    EXPECT_FALSE(empty->getBounds().isValid());
    EXPECT_FALSE(empty->isValid());
}

TEST(Geometry, TypesSayWhenTheyAreValid) {
    osg::ref_ptr<LineString> line = new LineString;
    line->push_back(0.0, 0.0);
    EXPECT_FALSE(line->isValid());
    line->push_back(1.0, 0.0);
    EXPECT_TRUE(line->isValid());
    osg::ref_ptr<Ring> ring = new Ring(&line->asVector());
    EXPECT_FALSE(ring->isValid());
    EXPECT_TRUE(unitSquare()->isValid());
}

TEST(Geometry, ClonesAreIndependentAndKeepHoles) {
    osg::ref_ptr<Symbology::Polygon> polygon = unitSquare();
    polygon->getHoles().push_back(new Ring(&unitSquare()->asVector()));
    osg::ref_ptr<Symbology::Geometry> clone = polygon->clone();
    polygon->clear();
    EXPECT_EQ(clone->getType(), Symbology::Geometry::TYPE_POLYGON);
    EXPECT_EQ(clone->size(), 4u);
    EXPECT_EQ(clone->getTotalPointCount(), 8);
    osg::ref_ptr<Symbology::Geometry> line = clone->cloneAs(Symbology::Geometry::TYPE_LINESTRING);
    EXPECT_EQ(line->getType(), Symbology::Geometry::TYPE_LINESTRING);
}

TEST(Geometry, RingsOpenCloseAndTurn) {
    osg::ref_ptr<Symbology::Polygon> ring = unitSquare();
    EXPECT_DOUBLE_EQ(ring->getSignedArea2D(), 1.0);
    ring->rewind(Symbology::Geometry::ORIENTATION_CW);
    EXPECT_DOUBLE_EQ(ring->getSignedArea2D(), -1.0);
    ring->close();
    EXPECT_EQ(ring->size(), 5u);
    EXPECT_FALSE(ring->isOpen());
    ring->open();
    EXPECT_EQ(ring->size(), 4u);
}

TEST(Geometry, HolesAreOutside) {
    osg::ref_ptr<Symbology::Polygon> polygon = unitSquare();
    EXPECT_TRUE(polygon->contains2D(0.5, 0.5));
    EXPECT_FALSE(polygon->contains2D(1.5, 0.5));
    osg::ref_ptr<Ring> hole = new Ring;
    hole->push_back(0.4, 0.4);
    hole->push_back(0.6, 0.4);
    hole->push_back(0.5, 0.6);
    polygon->getHoles().push_back(hole);
    EXPECT_FALSE(polygon->contains2D(0.5, 0.45));
    EXPECT_TRUE(polygon->contains2D(0.2, 0.2));
}

TEST(Feature, SharesItsGeometryAndCopiesClone) {
    const SpatialReference* wgs84 = SpatialReference::get("wgs84");
    osg::ref_ptr<Symbology::Polygon> polygon = unitSquare();
    osg::ref_ptr<Features::Feature> feature = new Features::Feature(polygon, wgs84);
    EXPECT_EQ(feature->getGeometry(), polygon.get());
    EXPECT_FALSE(feature->style().isSet());
    EXPECT_EQ(feature->getFID(), 0u);
    const osg::ref_ptr<Features::Feature> copy = new Features::Feature(*feature);
    polygon->clear();
    EXPECT_EQ(copy->getGeometry()->size(), 4u);
    EXPECT_DOUBLE_EQ(copy->getExtent().east(), 1.0);
}

TEST(Triangulation, CoversAConcaveOutlineExactly) {
    const TriangleMesh mesh = triangulate({{{0, 0, 0}, {4, 0, 0}, {4, 4, 0}, {2, 1, 0}, {0, 4, 0}}});
    EXPECT_NEAR(areaOf(mesh), 10.0, 1e-5);
}

TEST(Triangulation, LeavesHolesOpen) {
    const TriangleMesh mesh = triangulate(
        {{{0, 0, 0}, {4, 0, 0}, {4, 4, 0}, {0, 4, 0}}, {{1, 1, 0}, {3, 1, 0}, {3, 3, 0}, {1, 3, 0}}});
    EXPECT_NEAR(areaOf(mesh), 12.0, 1e-5);
}

TEST(Triangulation, NeedsThreeDistinctPoints) {
    EXPECT_TRUE(triangulate({{{0, 0, 0}, {1, 0, 0}, {0, 0, 0}}}).indices.empty());
    EXPECT_TRUE(triangulate({{}}).indices.empty());
}

TEST(Triangulation, SubdivisionKeepsTheAreaAndLimitsEdges) {
    TriangleMesh mesh = triangulate({{{0, 0, 0}, {10, 0, 0}, {10, 1, 0}, {0, 7, 0}}});
    subdivide(mesh, 0.5, 100000);
    EXPECT_NEAR(areaOf(mesh), 40.0, 1e-4);
    EXPECT_LE(longestEdge(mesh), 0.5);
}

TEST(Polylines, DensifyingKeepsCornersAndLength) {
    const std::vector<osg::Vec3d> line{{0, 0, 0}, {10, 0, 5}, {10, 3, 5}};
    const std::vector<osg::Vec3d> dense = densified(line, 1.0);
    EXPECT_EQ(dense.size(), 14u);
    EXPECT_NEAR(lengthOf(dense), 13.0, 1e-12);
    EXPECT_EQ(dense[10], line[1]);
    EXPECT_DOUBLE_EQ(dense[5].z(), 2.5);
}

TEST(Polylines, RibbonHasItsWidth) {
    EXPECT_NEAR(areaOf(ribbon({{0, 0, 0}, {10, 0, 0}, {20, 0, 0}}, 3.0)), 60.0, 1e-12);
    const TriangleMesh corner = ribbon({{0, 0, 0}, {10, 0, 0}, {10, 10, 0}}, 2.0);
    EXPECT_NEAR(areaOf(corner), 40.0, 1e-9); // the mitre adds outside what it takes inside
}
