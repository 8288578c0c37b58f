#include "Pictures.h"
#include "TestGlobe.h"
#include "tests/globe/TestRaster.h"

#include <gtest/gtest.h>
#include <osg/Geometry>
#include <osg/NodeVisitor>
#include <osg/Transform>
#include <osgEarth/ElevationLayer>
#include <osgEarth/Map>
#include <osgEarthAnnotation/FeatureNode>
#include <osgEarthDrivers/gdal/GDALOptions>
#include <osgEarthSymbology/AltitudeSymbol>
#include <osgEarthSymbology/LineSymbol>
#include <osgEarthSymbology/PolygonSymbol>
#include <osgEarthSymbology/RenderSymbol>

using namespace drawingtest;
using namespace osgEarth;
using namespace osgEarth::Symbology;
using osgEarth::Annotation::FeatureNode;
using osgEarth::Features::Feature;

namespace {

constexpr double kHalf = 0.001;

osg::ref_ptr<Symbology::Polygon> rectangle(double half = kHalf) {
    osg::ref_ptr<Symbology::Polygon> polygon = new Symbology::Polygon;
    polygon->push_back(kLon - half, kLat - half);
    polygon->push_back(kLon + half, kLat - half);
    polygon->push_back(kLon + half, kLat + half);
    polygon->push_back(kLon - half, kLat + half);
    return polygon;
}

Style fillStyle(const Color& color, AltitudeSymbol::Technique technique = AltitudeSymbol::TECHNIQUE_DRAPE) {
    Style style;
    style.getOrCreate<PolygonSymbol>()->fill()->color() = color;
    style.getOrCreate<AltitudeSymbol>()->clamping() = AltitudeSymbol::CLAMP_TO_TERRAIN;
    style.getOrCreate<AltitudeSymbol>()->technique() = technique;
    style.getOrCreate<AltitudeSymbol>()->verticalOffset() = 0.1;
    return style;
}

Style lineStyle(const Color& color, float width) {
    Style style;
    style.getOrCreate<LineSymbol>()->stroke()->color() = color;
    style.getOrCreate<LineSymbol>()->stroke()->width() = width;
    style.getOrCreate<LineSymbol>()->stroke()->widthUnits() = Units::PIXELS;
    style.getOrCreate<AltitudeSymbol>()->clamping() = AltitudeSymbol::CLAMP_TO_TERRAIN;
    style.getOrCreate<AltitudeSymbol>()->technique() = AltitudeSymbol::TECHNIQUE_GPU;
    return style;
}

osg::ref_ptr<FeatureNode> nodeOf(TestGlobe& globe, Symbology::Geometry* geometry, const Style& style) {
    osg::ref_ptr<FeatureNode> node =
        new FeatureNode(new Feature(geometry, globe.mapNode()->getMapSRS()), style);
    globe.mapNode()->addChild(node);
    return node;
}

bool isRed(const osg::Vec3i& p) {
    return p.x() > 230 && p.y() < 20 && p.z() < 20;
}
bool isCyan(const osg::Vec3i& p) {
    return p.x() < 20 && p.y() > 230 && p.z() > 230;
}

/// Metres above the ellipsoid of everything that a node draws.
std::vector<double> heightsOfVertices(osg::Node& node, const SpatialReference& srs) {
    class Visitor : public osg::NodeVisitor {
    public:
        explicit Visitor(const SpatialReference& srs) : NodeVisitor(TRAVERSE_ALL_CHILDREN), m_srs(srs) {}
        void apply(osg::Geometry& geometry) override {
            const osg::Matrixd toWorld = osg::computeLocalToWorld(getNodePath());
            for (const osg::Vec3& vertex : dynamic_cast<osg::Vec3Array&>(*geometry.getVertexArray())) {
                osg::Vec3d place;
                m_srs.transformFromWorld(osg::Vec3d(vertex) * toWorld, place);
                heights.push_back(place.z());
            }
        }
        std::vector<double> heights;

    private:
        const SpatialReference& m_srs;
    };
    Visitor visitor(srs);
    node.accept(visitor);
    return visitor.heights;
}

osg::Vec3i pixelAt(TestGlobe& globe, const osg::Image& image, double east, double north) {
    const osg::Vec2d position = globe.windowPosition(kLon + east, kLat + north);
    return pixel(image, static_cast<int>(position.x()), static_cast<int>(position.y()));
}

} // namespace

TEST(FeatureNode, DrawsNothingUntilItHasAMapNode) {
    osg::ref_ptr<FeatureNode> node =
        new FeatureNode(new Feature(rectangle(), SpatialReference::get("wgs84")), fillStyle(Color::Red));
    EXPECT_EQ(node->getNumChildren(), 0u);
    TestGlobe globe;
    node->setMapNode(globe.mapNode());
    EXPECT_EQ(node->getNumChildren(), 1u); // at once
}

TEST(FeatureNode, FillsAConcavePolygonWithAHoleOnTheTerrain) {
    TestGlobe globe;
    osg::ref_ptr<Symbology::Polygon> polygon = rectangle();
    polygon->insert(polygon->begin() + 3, osg::Vec3d(kLon, kLat + 0.0003, 0.0)); // a notch from the north
    osg::ref_ptr<Ring> hole = new Ring;
    hole->push_back(kLon - 0.0006, kLat - 0.0006);
    hole->push_back(kLon - 0.0002, kLat - 0.0006);
    hole->push_back(kLon - 0.0004, kLat - 0.0002);
    polygon->getHoles().push_back(hole);
    nodeOf(globe, polygon, fillStyle(Color::Red));
    globe.look(900.0);
    globe.settle();
    const osg::ref_ptr<osg::Image> image = globe.picture();
    keep(*image, "feature-concave");
    EXPECT_TRUE(isRed(pixelAt(globe, *image, 0.0008, -0.0005)));
    EXPECT_TRUE(isRed(pixelAt(globe, *image, -0.0008, 0.0005)));
    EXPECT_TRUE(isRed(pixelAt(globe, *image, 0.0, 0.0001)));
    EXPECT_FALSE(isRed(pixelAt(globe, *image, 0.0, 0.0008)));      // notch
    EXPECT_FALSE(isRed(pixelAt(globe, *image, -0.0004, -0.0005))); // hole
    EXPECT_FALSE(isRed(pixelAt(globe, *image, 0.0012, 0.0)));      // outside
}

TEST(FeatureNode, OfAreasOnTheGroundTheLaterOneCoversTheEarlierFromEverySide) {
    TestGlobe globe;
    Style lower = fillStyle(Color::Red);
    lower.getOrCreate<RenderSymbol>()->depthOffset()->minBias() = Distance(100.0, Units::METERS);
    Style upper = fillStyle(Color::Cyan, AltitudeSymbol::TECHNIQUE_GPU);
    nodeOf(globe, rectangle(), lower);
    nodeOf(globe, rectangle(kHalf / 2.0), upper);
    for (const auto& [range, pitch, lat] :
         {std::tuple(900.0, -90.0, kLat), {700.0, -25.0, kLat + 0.001}, {700.0, -25.0, kLat - 0.001}}) {
        globe.look(range, pitch, kLon, lat);
        globe.settle();
        const osg::ref_ptr<osg::Image> image = globe.picture();
        EXPECT_TRUE(isCyan(pixelAt(globe, *image, 0.0, 0.0))) << pitch << " from " << lat;
        EXPECT_TRUE(isCyan(pixelAt(globe, *image, 0.0, 0.0004))) << pitch << " from " << lat;
        EXPECT_TRUE(isRed(pixelAt(globe, *image, 0.0008, 0.0))) << pitch << " from " << lat;
    }
}

TEST(FeatureNode, ATranslucentFillOnAFoldOfTheGroundColoursEveryPixelOnce) {
    TestGlobe globe;
    Style style = fillStyle(Color(1.0f, 0.0f, 0.0f, 0.5f));
    // Seen from low, so strongly lifted that the slope behind a crest shows, too.
    style.getOrCreate<RenderSymbol>()->depthOffset()->minBias() = Distance(2000.0, Units::METERS);
    globe.look(900.0, -4.0, kLon, kLat - 0.004);
    globe.settle();
    const osg::ref_ptr<osg::Image> before = globe.picture();
    nodeOf(globe, rectangle(6.0 * kHalf), style);
    globe.settle();
    const osg::ref_ptr<osg::Image> after = globe.picture();
    int coloured = 0;
    for (int y = 0; y < after->t(); ++y) {
        for (int x = 0; x < after->s(); ++x) {
            const int green = pixel(*before, x, y).y();
            coloured += pixel(*after, x, y).y() < green - 20 ? 1 : 0;
            EXPECT_GE(pixel(*after, x, y).y(), green / 2 - 3) << x << ' ' << y;
        }
    }
    keep(*after, "feature-fold");
    EXPECT_GT(coloured, 1000);
}

TEST(FeatureNode, RisesWithTerrainThatComesLaterAlsoFromOutsideTheView) {
    constexpr double kPlaceLon = kLon + 0.05; // no ground there yet
    constexpr double kPlateauMetres = 300.0;
    TestGlobe globe;
    osg::ref_ptr<Symbology::Polygon> polygon = new Symbology::Polygon;
    for (const auto& [east, north] : {std::pair(-1.0, -1.0), {1.0, -1.0}, {1.0, 1.0}, {-1.0, 1.0}}) {
        polygon->push_back(kPlaceLon + east * kHalf / 4.0, kLat + north * kHalf / 4.0);
    }
    nodeOf(globe, polygon, fillStyle(Color::Red));
    globe.frame();

    // Fifty metres above the plateau that is about to come, over its southern part, the bare globe is far
    // below the picture.
    osg::Matrixd frame;
    globe.mapNode()->getMapSRS()->createLocalToWorld(osg::Vec3d(kPlaceLon, kLat, kPlateauMetres), frame);
    globe.viewer().getCamera()->setViewMatrix(
        osg::Matrixd::inverse(frame) *
        osg::Matrixd::lookAt(osg::Vec3d(0.0, -100.0, 30.0), osg::Vec3d(), osg::Vec3d(0.0, 0.0, 1.0)));
    globe.frame();
    const globetest::RasterPlace place{"EPSG:4326", kPlaceLon - 0.005, kLat + 0.005, 0.0001, 100, 100};
    Drivers::GDALOptions options;
    options.url() = globetest::writeHeights("plateau", place, [](double, double) { return kPlateauMetres; });
    const osg::ref_ptr<ElevationLayer> plateau = new ElevationLayer("plateau", options);
    globe.mapNode()->getMap()->addLayer(plateau);
    globe.settle();
    const osg::ref_ptr<osg::Image> image = globe.picture();
    globe.mapNode()->getMap()->removeLayer(plateau);
    keep(*image, "feature-plateau");
    EXPECT_TRUE(isRed(pixel(*image, image->s() / 2, image->t() / 2)));
}

TEST(FeatureNode, WhatReachesBeyondTheRimOfASurveyStaysAsHighAsAtTheRim) {
    constexpr double kPlaceLon = kLon + 0.05;
    constexpr double kPlateauMetres = 300.0;
    TestGlobe globe;
    const globetest::RasterPlace place{"EPSG:4326", kPlaceLon - 0.005, kLat + 0.005, 0.0001, 100, 100};
    Drivers::GDALOptions options;
    options.url() = globetest::writeHeights("rim", place, [](double, double) { return kPlateauMetres; });
    const osg::ref_ptr<ElevationLayer> plateau = new ElevationLayer("rim", options);
    globe.mapNode()->getMap()->addLayer(plateau);

    const osg::ref_ptr<LineString> line = new LineString;
    line->push_back(kPlaceLon, kLat);
    line->push_back(kPlaceLon + 0.0051, kLat); // ten metres beyond
    const osg::ref_ptr<FeatureNode> node = nodeOf(globe, line, lineStyle(Color::Red, 3.0F));
    node->setMapNode(globe.mapNode());
    globe.mapNode()->getMap()->removeLayer(plateau);
    const std::vector<double> heights = heightsOfVertices(*node, *globe.mapNode()->getMapSRS());
    ASSERT_FALSE(heights.empty());
    for (const double height : heights) {
        EXPECT_NEAR(height, kPlateauMetres, 2.0);
    }
}

TEST(FeatureNode, EveryTechniqueHugsTheTerrain) {
    for (const auto technique : {AltitudeSymbol::TECHNIQUE_MAP, AltitudeSymbol::TECHNIQUE_SCENE,
                                 AltitudeSymbol::TECHNIQUE_GPU, AltitudeSymbol::TECHNIQUE_DRAPE}) {
        TestGlobe globe;
        nodeOf(globe, rectangle(), fillStyle(Color::Red, technique));
        globe.look(700.0, -30.0);
        globe.settle();
        const osg::ref_ptr<osg::Image> image = globe.picture();
        keep(*image, "feature-technique-" + std::to_string(technique));
        for (const double part : {-0.9, -0.5, 0.0, 0.5, 0.9}) {
            EXPECT_TRUE(isRed(pixelAt(globe, *image, part * kHalf, part * kHalf)))
                << technique << " " << part;
        }
    }
}

TEST(FeatureNode, LinesHaveTheirWidthInPixelsAtAnyDistance) {
    TestGlobe globe;
    osg::ref_ptr<LineString> line = new LineString;
    line->push_back(kLon, kLat - 0.005);
    line->push_back(kLon, kLat + 0.005);
    nodeOf(globe, line, lineStyle(Color::Red, 5.0f));
    for (const double range : {400.0, 2000.0}) {
        globe.look(range);
        globe.settle();
        const osg::ref_ptr<osg::Image> image = globe.picture();
        keep(*image, "line-" + std::to_string(static_cast<int>(range)));
        int width = 0;
        for (int x = 0; x < image->s(); ++x) {
            width += isRed(pixel(*image, x, image->t() / 2));
        }
        EXPECT_NEAR(width, 5, 1) << range;
    }
}

TEST(FeatureNode, LinearWidthUnitsMakeARibbonOnTheGround) {
    TestGlobe globe;
    osg::ref_ptr<LineString> line = new LineString;
    line->push_back(kLon, kLat - 0.002);
    line->push_back(kLon, kLat + 0.002);
    Style style = lineStyle(Color::Red, 40.0f);
    style.get<LineSymbol>()->stroke()->widthUnits() = Units::METERS;
    nodeOf(globe, line, style);
    globe.look(1000.0);
    globe.settle();
    const osg::ref_ptr<osg::Image> image = globe.picture();
    int width = 0;
    for (int x = 0; x < image->s(); ++x) {
        width += isRed(pixel(*image, x, image->t() / 2));
    }
    const double metresPerDegreeEast = 94500.0; // at 32 degrees
    const double expected = globe.windowPosition(kLon + 20.0 / metresPerDegreeEast, kLat).x() -
                            globe.windowPosition(kLon - 20.0 / metresPerDegreeEast, kLat).x();
    EXPECT_NEAR(width, expected, 2.0);
}

TEST(FeatureNode, FillAndLineDrawTogetherWithTheOutlineClosedAndOnTop) {
    TestGlobe globe;
    Style style = fillStyle(Color::Red);
    style.getOrCreate<LineSymbol>()->stroke()->color() = Color::Cyan;
    style.getOrCreate<LineSymbol>()->stroke()->width() = 5.0f;
    nodeOf(globe, rectangle(), style);
    globe.look(900.0);
    globe.settle();
    const osg::ref_ptr<osg::Image> image = globe.picture();
    keep(*image, "feature-outline");
    EXPECT_TRUE(isRed(pixelAt(globe, *image, 0.0, 0.0)));
    for (const osg::Vec2d& edge :
         {osg::Vec2d(kHalf, 0.0), osg::Vec2d(-kHalf, 0.0), osg::Vec2d(0.0, kHalf), osg::Vec2d(0.0, -kHalf)}) {
        EXPECT_TRUE(isCyan(pixelAt(globe, *image, edge.x(), edge.y()))) << edge.x() << " " << edge.y();
    }
}

TEST(FeatureNode, ChangesOfGeometryShowAfterInit) {
    TestGlobe globe;
    const osg::ref_ptr<Symbology::Polygon> polygon = rectangle(0.0002);
    const osg::ref_ptr<FeatureNode> node = nodeOf(globe, polygon, fillStyle(Color::Red));
    globe.look(900.0);
    globe.settle();
    polygon->asVector() = rectangle(kHalf)->asVector();
    EXPECT_FALSE(isRed(pixelAt(globe, *globe.picture(), 0.0008, 0.0)));
    node->init();
    EXPECT_TRUE(isRed(pixelAt(globe, *globe.picture(), 0.0008, 0.0)));
    polygon->clear();
    node->dirty();
    EXPECT_FALSE(isRed(pixelAt(globe, *globe.picture(), 0.0, 0.0)));
}

TEST(FeatureNode, RestylingShowsAtOnceUnlessTheFeatureHasAStyleOfItsOwn) {
    TestGlobe globe;
    const osg::ref_ptr<FeatureNode> node = nodeOf(globe, rectangle(), fillStyle(Color::Red));
    globe.look(900.0);
    globe.settle();
    node->setStyle(fillStyle(Color::Cyan));
    EXPECT_TRUE(isCyan(pixelAt(globe, *globe.picture(), 0.0, 0.0)));
    node->setFeature(new Feature(rectangle(), globe.mapNode()->getMapSRS(), fillStyle(Color::Red)));
    EXPECT_TRUE(isRed(pixelAt(globe, *globe.picture(), 0.0, 0.0)));
    node->getFeature()->style() = fillStyle(Color::Cyan);
    node->init();
    EXPECT_TRUE(isCyan(pixelAt(globe, *globe.picture(), 0.0, 0.0)));
}

TEST(FeatureNode, VerticalOffsetLiftsTheFeature) {
    TestGlobe globe;
    Style style = fillStyle(Color::Red);
    style.get<AltitudeSymbol>()->verticalOffset() = 100.0;
    nodeOf(globe, rectangle(0.0002), style);
    globe.look(1200.0, -20.0);
    globe.settle();
    const osg::ref_ptr<osg::Image> image = globe.picture();
    const osg::Vec2d lifted = globe.windowPosition(kLon, kLat, 100.0);
    EXPECT_TRUE(isRed(pixel(*image, static_cast<int>(lifted.x()), static_cast<int>(lifted.y()))));
    EXPECT_FALSE(isRed(pixelAt(globe, *image, 0.0, 0.0)));
}

TEST(FeatureNode, WithoutAltitudeSymbolItStaysAtItsOwnHeight) {
    TestGlobe globe;
    osg::ref_ptr<Symbology::Polygon> polygon = rectangle(0.0002);
    const double height = groundHeight(kLon, kLat) + 150.0;
    for (osg::Vec3d& point : *polygon) {
        point.z() = height;
    }
    Style style;
    style.getOrCreate<PolygonSymbol>()->fill()->color() = Color::Red;
    nodeOf(globe, polygon, style);
    globe.look(1200.0, -20.0);
    globe.settle();
    const osg::ref_ptr<osg::Image> image = globe.picture();
    const osg::Vec2d above = globe.windowPosition(kLon, kLat, 150.0);
    EXPECT_TRUE(isRed(pixel(*image, static_cast<int>(above.x()), static_cast<int>(above.y()))));
}

TEST(FeatureNode, DegenerateShapesDrawNothing) {
    TestGlobe globe;
    osg::ref_ptr<Symbology::Polygon> two = new Symbology::Polygon;
    two->push_back(kLon, kLat);
    two->push_back(kLon + kHalf, kLat);
    two->push_back(kLon, kLat);
    const osg::ref_ptr<FeatureNode> node = nodeOf(globe, two, fillStyle(Color::Red));
    osg::ref_ptr<LineString> one = new LineString;
    one->push_back(kLon, kLat);
    nodeOf(globe, one, lineStyle(Color::Red, 5.0f));
    globe.look(900.0);
    globe.settle();
    EXPECT_EQ(count(*globe.picture(), isRed), 0);
}

TEST(FeatureNode, ConstructorTakesTheFeaturesStyleWhenItsOwnIsEmpty) {
    const osg::ref_ptr<Feature> feature =
        new Feature(rectangle(), SpatialReference::get("wgs84"), fillStyle(Color::Red));
    const osg::ref_ptr<FeatureNode> node = new FeatureNode(feature);
    EXPECT_TRUE(node->getStyle().has<PolygonSymbol>());
    EXPECT_EQ(node->getFeature(), feature.get());
    node->getFeatures().push_back(feature);
    EXPECT_EQ(node->getFeature(), nullptr);
}
