// The terrain as it is drawn and asked.
#include "OffscreenGlobe.h"
#include "TestRaster.h"

#include <osg/MatrixTransform>
#include <osgEarth/ElevationQuery>
#include <osgEarth/ImageLayer>
#include <osgEarth/Terrain>

#include <gtest/gtest.h>

#include <cmath>
#include <set>

using namespace osgEarth;
using namespace globetest;

namespace {

double hills(double x, double y) {
    return 420.0 + 12.0 * std::sin((x - 582400.0) / 40.0) + 9.0 * std::cos((y - 3796800.0) / 30.0);
}

std::array<std::uint8_t, 4> red(double, double) {
    return {230, 20, 20, 255};
}

GeoPoint at(double x, double y) {
    return GeoPoint(SpatialReference::get("epsg:4545"), x, y, 0.0).transform(SpatialReference::get("wgs84"));
}

Viewpoint lookingAt(double x, double y, double z, double pitch, double range) {
    const GeoPoint focal = at(x, y);
    return {"", focal.x(), focal.y(), z, 0.0, pitch, range};
}

osg::Vec4 colourAt(const osg::Image& picture, double x, double y) {
    return picture.getColor(static_cast<unsigned>(x * (picture.s() - 1)),
                            static_cast<unsigned>(y * (picture.t() - 1)));
}

bool isRed(const osg::Vec4& colour) {
    return colour.r() > 0.5F && colour.g() < 0.3F && colour.b() < 0.3F;
}

class TilesSeen : public TerrainCallback {
public:
    void onTileAdded(const TileKey& key, osg::Node* tile, TerrainCallbackContext& context) override {
        keys.insert(key);
        allHaveNodes = allHaveNodes && tile && context.getTerrain();
    }
    std::set<TileKey> keys;
    bool allHaveNodes = true;
};

class TerrainTest : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(m_globe.isUsable()) << "these tests need a display (xvfb-run will do)";
    }
    OffscreenGlobe m_globe{320, 240};
};

} // namespace

TEST_F(TerrainTest, ShowsAPictureWhereItLies) {
    m_globe.addImage("red", writeColours("red.tif", {}, red));
    m_globe.mapNode();
    m_globe.manipulator()->setViewpoint(lookingAt(582656.0, 3797056.0, 0.0, -89.9, 600.0));
    ASSERT_TRUE(m_globe.settle());
    EXPECT_TRUE(isRed(colourAt(*m_globe.picture(), 0.5, 0.5)));
    // 512 m are about as much as the window shows from 1200 m: the centre is red, the sides are bare ground.
    m_globe.manipulator()->setViewpoint(lookingAt(582656.0, 3797056.0, 0.0, -89.9, 1200.0));
    ASSERT_TRUE(m_globe.settle());
    const auto picture = m_globe.picture();
    EXPECT_TRUE(isRed(colourAt(*picture, 0.5, 0.5)));
    EXPECT_FALSE(isRed(colourAt(*picture, 0.02, 0.5)));
    EXPECT_GT(colourAt(*picture, 0.02, 0.5).r(), 0.3F);
}

TEST_F(TerrainTest, ShowsTheEarthFromSpace) {
    m_globe.mapNode();
    m_globe.manipulator()->setViewpoint(Viewpoint("", 100.0, 30.0, 0.0, 0.0, -89.9, 4.0e7));
    ASSERT_TRUE(m_globe.settle());
    const auto picture = m_globe.picture();
    EXPECT_GT(colourAt(*picture, 0.5, 0.5).r(), 0.3F);
    EXPECT_LT(colourAt(*picture, 0.02, 0.02).r(), 0.01F); // space
}

TEST_F(TerrainTest, ShowsLaterLayersOnTopAndFollowsTheMap) {
    m_globe.addImage("red", writeColours("red2.tif", {}, red));
    m_globe.mapNode();
    m_globe.manipulator()->setViewpoint(lookingAt(582656.0, 3797056.0, 0.0, -89.9, 300.0));
    ASSERT_TRUE(m_globe.settle());
    m_globe.addImage("green", writeColours("green2.tif", {}, [](double, double) {
                         return std::array<std::uint8_t, 4>{10, 220, 10, 255};
                     }));
    ASSERT_TRUE(m_globe.settle());
    EXPECT_GT(colourAt(*m_globe.picture(), 0.5, 0.5).g(), 0.5F);
    EXPECT_LT(colourAt(*m_globe.picture(), 0.5, 0.5).r(), 0.2F);
    auto* green = dynamic_cast<ImageLayer*>(m_globe.map()->getLayerByName("green"));
    ASSERT_NE(green, nullptr);
    green->setVisible(false);
    ASSERT_TRUE(m_globe.settle());
    EXPECT_TRUE(isRed(colourAt(*m_globe.picture(), 0.5, 0.5)));
    green->setVisible(true);
    green->setOpacity(0.5F);
    ASSERT_TRUE(m_globe.settle());
    const osg::Vec4 mixed = colourAt(*m_globe.picture(), 0.5, 0.5);
    EXPECT_GT(mixed.r(), 0.3F);
    EXPECT_GT(mixed.g(), 0.3F);
    m_globe.map()->removeLayer(green);
    m_globe.map()->removeLayer(m_globe.map()->getLayerByName("red"));
    ASSERT_TRUE(m_globe.settle());
    EXPECT_GT(colourAt(*m_globe.picture(), 0.5, 0.5).b(), 0.4F); // bare ground
}

TEST_F(TerrainTest, KnowsTheHeightOfTheLoadedSurface) {
    m_globe.addElevation("hills", writeHeights("hills.tif", {}, hills));
    m_globe.mapNode();
    m_globe.manipulator()->setViewpoint(lookingAt(582656.0, 3797056.0, 420.0, -60.0, 120.0));
    ASSERT_TRUE(m_globe.settle());
    const Terrain& terrain = *m_globe.mapNode()->getTerrain();
    ElevationQuery query(m_globe.map());
    for (double d = -20.0; d <= 20.0; d += 3.7) {
        double msl = 0.0;
        double hae = 0.0;
        const double x = 582656.0 + d;
        const double y = 3797056.0 - d * 0.7;
        ASSERT_TRUE(terrain.getHeight(SpatialReference::get("epsg:4545"), x, y, &msl, &hae));
        EXPECT_NEAR(msl, query.getElevation(at(x, y)), 0.1);
        EXPECT_EQ(msl, hae);
    }
    double height = 0.0;
    EXPECT_TRUE(terrain.getHeight(nullptr, -70.0, 10.0, &height));
    EXPECT_NEAR(height, 0.0, 25000.0); // a coarse tile: chords below the ellipsoid
    EXPECT_FALSE(terrain.getHeight(nullptr, 500.0, 10.0, &height));
}

TEST_F(TerrainTest, AnswersWhatIsUnderThePointer) {
    m_globe.addElevation("hills", writeHeights("hills2.tif", {}, hills));
    m_globe.mapNode();
    m_globe.manipulator()->setViewpoint(
        lookingAt(582656.0, 3797056.0, hills(582656.0, 3797056.0), -50.0, 300.0));
    ASSERT_TRUE(m_globe.settle());
    osg::Vec3d world;
    ASSERT_TRUE(
        m_globe.mapNode()->getTerrain()->getWorldCoordsUnderMouse(&m_globe.viewer(), 160.0F, 120.0F, world));
    GeoPoint point;
    ASSERT_TRUE(point.fromWorld(SpatialReference::get("wgs84"), world));
    double ground = 0.0;
    ASSERT_TRUE(m_globe.mapNode()->getTerrain()->getHeight(nullptr, point.x(), point.y(), &ground));
    EXPECT_NEAR(point.z(), ground, 0.01);
    const osg::Camera* camera = m_globe.viewer().getCamera();
    const osg::Vec3d window = world * camera->getViewMatrix() * camera->getProjectionMatrix() *
                              camera->getViewport()->computeWindowMatrix();
    EXPECT_NEAR(window.x(), 160.0, 0.01);
    EXPECT_NEAR(window.y(), 120.0, 0.01);
    m_globe.manipulator()->setViewpoint(Viewpoint("", 100.0, 30.0, 0.0, 0.0, -89.9, 4.0e7));
    m_globe.frame();
    EXPECT_FALSE(
        m_globe.mapNode()->getTerrain()->getWorldCoordsUnderMouse(&m_globe.viewer(), 2.0F, 2.0F, world));
}

TEST_F(TerrainTest, TellsOfNewTiles) {
    m_globe.addElevation("hills", writeHeights("hills3.tif", {}, hills));
    osg::ref_ptr<TilesSeen> seen = new TilesSeen();
    m_globe.mapNode()->getTerrain()->addTerrainCallback(seen);
    m_globe.manipulator()->setViewpoint(lookingAt(582656.0, 3797056.0, 420.0, -60.0, 200.0));
    ASSERT_TRUE(m_globe.settle());
    m_globe.frame();
    EXPECT_GT(seen->keys.size(), 40U);
    EXPECT_TRUE(seen->allHaveNodes);
    EXPECT_GT(seen->keys.rbegin()->getLOD(), 15U);
    const auto count = seen->keys.size();
    m_globe.mapNode()->getTerrain()->removeTerrainCallback(seen);
    m_globe.manipulator()->setViewpoint(lookingAt(582500.0, 3796900.0, 420.0, -60.0, 60.0));
    ASSERT_TRUE(m_globe.settle());
    EXPECT_EQ(seen->keys.size(), count);
}

// Level by level it would take a frame, and a wait for the pager, for each of more than fifteen levels.
TEST_F(TerrainTest, ComesDownManyLevelsAtOnceAfterAJump) {
    m_globe.addElevation("hills", writeHeights("hills4.tif", {}, hills));
    m_globe.mapNode();
    m_globe.manipulator()->setViewpoint(Viewpoint("", 100.0, 30.0, 0.0, 0.0, -89.9, 4.0e7));
    ASSERT_TRUE(m_globe.settle());
    osg::ref_ptr<TilesSeen> seen = new TilesSeen();
    m_globe.mapNode()->getTerrain()->addTerrainCallback(seen);
    m_globe.manipulator()->setViewpoint(lookingAt(582656.0, 3797056.0, 420.0, -60.0, 200.0));
    const unsigned before = m_globe.viewer().getFrameStamp()->getFrameNumber();
    ASSERT_TRUE(m_globe.settle());
    EXPECT_GT(seen->keys.rbegin()->getLOD(), 15U);
    EXPECT_LT(m_globe.viewer().getFrameStamp()->getFrameNumber() - before, 14U);
}

TEST_F(TerrainTest, GoesNoDeeperThanItsData) {
    RasterPlace coarse;
    coarse.cell = 30.0;
    m_globe.addElevation("coarse", writeHeights("coarse.tif", coarse, hills));
    osg::ref_ptr<TilesSeen> seen = new TilesSeen();
    m_globe.mapNode()->getTerrain()->addTerrainCallback(seen);
    m_globe.manipulator()->setViewpoint(lookingAt(586000.0, 3793000.0, 420.0, -60.0, 20.0));
    ASSERT_TRUE(m_globe.settle());
    m_globe.frame();
    // 32 cells of 30 m are 960 m: level 14 has tiles of 1222 m, level 15 of 611 m.
    EXPECT_GE(seen->keys.rbegin()->getLOD(), 13U);
    EXPECT_LE(seen->keys.rbegin()->getLOD(), 15U);
}

TEST_F(TerrainTest, GoesOnWithABrokenLayer) {
    m_globe.addImage("missing", scratchFolder() + "/nowhere.tif");
    m_globe.addImage("red", writeColours("red3.tif", {}, red));
    m_globe.mapNode();
    m_globe.manipulator()->setViewpoint(lookingAt(582656.0, 3797056.0, 0.0, -89.9, 300.0));
    ASSERT_TRUE(m_globe.settle());
    EXPECT_TRUE(isRed(colourAt(*m_globe.picture(), 0.5, 0.5)));
}

TEST_F(TerrainTest, IsFoundInAScene) {
    osg::ref_ptr<osg::Group> root = new osg::Group();
    EXPECT_EQ(MapNode::findMapNode(root), nullptr);
    EXPECT_EQ(MapNode::get(nullptr), nullptr);
    osg::ref_ptr<osg::Group> inner = new osg::Group();
    root->addChild(inner);
    inner->addChild(m_globe.mapNode());
    EXPECT_EQ(MapNode::findMapNode(root), m_globe.mapNode());
    EXPECT_TRUE(m_globe.mapNode()->isGeocentric());
    const double radius = m_globe.mapNode()->getBound().radius();
    osg::ref_ptr<osg::MatrixTransform> farAway =
        new osg::MatrixTransform(osg::Matrixd::translate(1e9, 0.0, 0.0));
    farAway->addChild(new osg::Geode());
    m_globe.mapNode()->addChild(farAway);
    EXPECT_EQ(m_globe.mapNode()->getBound().radius(), radius);
}
