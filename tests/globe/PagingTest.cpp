// What is loaded, when it is given up, and what a change makes anew.
#include "OffscreenGlobe.h"
#include "TestRaster.h"

#include <osg/BufferObject>
#include <osg/ContextData>
#include <osg/PagedLOD>
#include <osg/Texture>
#include <osgDB/DatabasePager>
#include <osgEarth/ElevationLayer>
#include <osgEarth/ImageLayer>
#include <osgEarth/Terrain>
#include <osgEarth/TerrainEngineNode>

#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <fstream>
#include <map>
#include <random>
#include <string>
#include <unistd.h>

using namespace osgEarth;
using namespace globetest;

namespace {

double hills(double x, double y) {
    return 20.0 + 8.0 * std::sin(x / 40.0) + 5.0 * std::cos(y / 30.0);
}

std::array<std::uint8_t, 4> red(double, double) {
    return {230, 20, 20, 255};
}

std::array<std::uint8_t, 4> green(double, double) {
    return {20, 230, 20, 255};
}

// Ten kilometres a side, so that there are many places to look at.
RasterPlace wide() {
    RasterPlace place;
    place.west = 580000.0;
    place.north = 3802000.0;
    place.cell = 5.0;
    place.columns = 2000;
    place.rows = 2000;
    return place;
}

GeoPoint at(double x, double y) {
    return GeoPoint(SpatialReference::get("epsg:4545"), x, y, 0.0).transform(SpatialReference::get("wgs84"));
}

class CountTiles : public osg::NodeVisitor {
public:
    CountTiles() : osg::NodeVisitor(TRAVERSE_ALL_CHILDREN) {}
    void apply(osg::PagedLOD& tile) override {
        ++count;
        traverse(tile);
    }
    unsigned count = 0;
};

class TilesSeen : public TerrainCallback {
public:
    void onTileAdded(const TileKey& key, osg::Node*, TerrainCallbackContext&) override { ++times[key]; }
    std::map<TileKey, int> times;
};

// Keeps the latest surface of each tile.
class SurfacesSeen : public TerrainCallback {
public:
    void onTileAdded(const TileKey& key, osg::Node* node, TerrainCallbackContext&) override {
        latest[key.str()] = node;
    }
    std::map<std::string, osg::ref_ptr<osg::Node>> latest;
};

// Notes GL errors at the end of every frame.
class GLErrors : public osg::Camera::DrawCallback {
public:
    void operator()(osg::RenderInfo&) const override {
        for (GLenum error = glGetError(); error != GL_NO_ERROR; error = glGetError()) {
            ++count;
        }
    }
    mutable int count = 0;
};

double residentMegabytes() {
    long total = 0;
    long resident = 0;
    std::ifstream("/proc/self/statm") >> total >> resident;
    return static_cast<double>(resident) * static_cast<double>(sysconf(_SC_PAGESIZE)) / 1048576.0;
}

class Paging : public ::testing::Test {
protected:
    void start(unsigned maxTiles, int pixels = 256) {
        TerrainOptions options;
        options.maxResidentTiles() = maxTiles;
        m_globe = std::make_unique<OffscreenGlobe>(pixels, pixels, options);
        ASSERT_TRUE(m_globe->isUsable()) << "these tests need a display (xvfb-run will do)";
    }
    void place(const GeoPoint& point, double range, double pitch = -89.9, double heading = 0.0) {
        m_globe->mapNode();
        m_globe->manipulator()->setViewpoint(Viewpoint("", point.x(), point.y(), 0.0, heading, pitch, range));
    }
    void lookAt(const GeoPoint& point, double range) {
        place(point, range);
        ASSERT_TRUE(m_globe->settle());
    }
    unsigned residentTiles() {
        CountTiles visitor;
        m_globe->mapNode()->getTerrainEngine()->accept(visitor);
        return visitor.count;
    }
    /// Textures and vertex buffers, those included that wait to be used again.
    double graphicsMegabytes() {
        const unsigned context =
            m_globe->viewer().getCamera()->getGraphicsContext()->getState()->getContextID();
        const auto textures = osg::get<osg::TextureObjectManager>(context)->getCurrTexturePoolSize();
        const auto buffers = osg::get<osg::GLBufferObjectManager>(context)->getCurrGLBufferObjectPoolSize();
        return static_cast<double>(textures + buffers) / 1048576.0;
    }
    osg::ref_ptr<TilesSeen> watch() {
        osg::ref_ptr<TilesSeen> seen = new TilesSeen();
        m_globe->mapNode()->getTerrain()->addTerrainCallback(seen);
        return seen;
    }
    std::unique_ptr<OffscreenGlobe> m_globe;
};

} // namespace

TEST_F(Paging, MemoryStaysWithinTheLimitHoweverManyPlacesAreSeen) {
    constexpr unsigned kLimit = 150;
    constexpr int kPlaces = 24;
    start(kLimit, 128);
    m_globe->addImage("wide", writeColours("paging_wide.tif", wide(), red));
    m_globe->addElevation("hills", writeHeights("paging_hills.tif", wide(), hills));
    osg::ref_ptr<TilesSeen> seen = watch();
    double graphicsHalfWay = 0.0;
    for (int i = 0; i < kPlaces; ++i) {
        lookAt(at(581000.0 + 1500.0 * (i % 6), 3793000.0 + 1500.0 * (i / 6)), 400.0);
        // The pager gives up old tiles while frames go by, four at a time; it does not count the coarsest
        // ones.
        ASSERT_TRUE(m_globe->frameUntil([&] { return residentTiles() < kLimit + 10; }, 100))
            << residentTiles();
        graphicsHalfWay = i == kPlaces / 2 ? graphicsMegabytes() : graphicsHalfWay;
    }
    EXPECT_GT(seen->times.size(), 3U * kLimit);
    ASSERT_GT(graphicsHalfWay, 0.0);
    // What was drawn at the other places would be forty megabytes or so.
    EXPECT_LT(graphicsMegabytes(), graphicsHalfWay + 12.0);
}

TEST_F(Paging, WhatIsNoLongerWantedIsNotLoaded) {
    start(500);
    m_globe->addImage("wide", writeColours("paging_dropped.tif", wide(), red));
    lookAt(at(585000.0, 3797000.0), 3.0e6);
    osg::ref_ptr<TilesSeen> seen = watch();
    osgDB::DatabasePager* pager = m_globe->viewer().getDatabasePager();
    pager->setDatabasePagerThreadPause(true);
    place(at(581000.0, 3801000.0), 300.0);
    m_globe->frame();
    m_globe->frame();
    EXPECT_GT(pager->getFileRequestListSize(), 0U);
    place(GeoPoint(SpatialReference::get("wgs84"), -60.0, -20.0, 0.0), 300.0); // the other side of the Earth
    m_globe->frame();
    m_globe->frame();
    pager->setDatabasePagerThreadPause(false);
    ASSERT_TRUE(m_globe->settle());
    for (const auto& [key, times] : seen->times) {
        EXPECT_FALSE(key.getExtent().contains(at(581000.0, 3801000.0))) << key.str();
    }
}

TEST_F(Paging, TheGroundHasNoHolesWhileItIsLoaded) {
    start(500, 64);
    m_globe->addImage("wide", writeColours("paging_holes.tif", wide(), red));
    lookAt(at(585000.0, 3797000.0), 3.0e6);
    place(at(581000.0, 3801000.0), 300.0);
    const osgDB::DatabasePager* pager = m_globe->viewer().getDatabasePager();
    int incomplete = 0;
    for (int frame = 0; frame < 300; ++frame) {
        const osg::ref_ptr<osg::Image> picture = m_globe->picture();
        incomplete += pager->getRequestsInProgress() ? 1 : 0;
        for (unsigned y = 0; y < 64; y += 3) {
            for (unsigned x = 0; x < 64; x += 3) {
                ASSERT_GT(picture->getColor(x, y).r(), 0.2F) << "frame " << frame;
            }
        }
        if (frame > 5 && !pager->getRequestsInProgress() && pager->getFileRequestListSize() == 0) {
            break;
        }
    }
    EXPECT_GT(incomplete, 0); // or it was not seen loading
}

TEST_F(Paging, ReplacingALayerMakesOnlyItsOwnTilesAnew) {
    start(500);
    RasterPlace west;
    RasterPlace east;
    east.west += 700.0;
    m_globe->addImage("west", writeColours("paging_west.tif", west, red));
    m_globe->addImage("east", writeColours("paging_east.tif", east, red));
    lookAt(at(583000.0, 3797056.0), 2500.0);
    osg::ref_ptr<TilesSeen> seen = watch();
    m_globe->frame();
    ASSERT_TRUE(seen->times.empty());

    m_globe->map()->removeLayer(m_globe->map()->getLayerByName("east"));
    m_globe->addImage("east", writeColours("paging_east_new.tif", east, green));
    const unsigned resident = residentTiles();
    ASSERT_TRUE(m_globe->settle());
    m_globe->frame();
    EXPECT_FALSE(seen->times.empty());
    EXPECT_LT(seen->times.size(), resident);
    const GeoExtent covered(SpatialReference::get(east.srs), east.west, east.north - east.rows * east.cell,
                            east.west + east.columns * east.cell, east.north);
    for (const auto& [key, times] : seen->times) {
        EXPECT_TRUE(key.getExtent().intersects(covered)) << key.str();
        EXPECT_EQ(times, 1) << key.str();
    }
    lookAt(at(583356.0, 3797056.0), 200.0);
    EXPECT_GT(m_globe->picture()->getColor(128U, 128U).g(), 0.5F);
}

TEST_F(Paging, LayersThatComeBackFindTheirSurfacesAgain) {
    start(500, 64);
    osg::ref_ptr<SurfacesSeen> seen = new SurfacesSeen;
    m_globe->mapNode()->getTerrain()->addTerrainCallback(seen);
    m_globe->addImage("red", writeColours("paging_first.tif", {}, red));
    m_globe->addImage("green", writeColours("paging_second.tif", {}, green));
    const auto show = [this](bool isGreen) {
        dynamic_cast<ImageLayer*>(m_globe->map()->getLayerByName("green"))->setVisible(isGreen);
        ASSERT_TRUE(m_globe->settle());
        m_globe->frame();
    };
    lookAt(at(582656.0, 3797056.0), 300.0);
    show(true);
    const auto whenGreen = seen->latest;
    show(false);
    EXPECT_NE(seen->latest, whenGreen);
    EXPECT_GT(m_globe->picture()->getColor(32U, 32U).r(), 0.5F);
    show(true);
    EXPECT_EQ(seen->latest, whenGreen) << "not made anew";
    EXPECT_GT(m_globe->picture()->getColor(32U, 32U).g(), 0.5F);

    // Another layer of the same looks is not the same.
    m_globe->map()->removeLayer(m_globe->map()->getLayerByName("green"));
    m_globe->addImage("green", writeColours("paging_third.tif", {}, green));
    ASSERT_TRUE(m_globe->settle());
    m_globe->frame();
    EXPECT_NE(seen->latest, whenGreen);
}

// The sum of all revisions does not change then.
TEST_F(Paging, ALayerThatWasHiddenOnceCanStillBeRemoved) {
    start(500, 64);
    m_globe->addImage("red", writeColours("paging_hidden.tif", {}, red));
    lookAt(at(582656.0, 3797056.0), 300.0);
    auto* layer = dynamic_cast<ImageLayer*>(m_globe->map()->getLayerByName("red"));
    layer->setOpacity(0.9F);
    ASSERT_TRUE(m_globe->settle());
    m_globe->map()->removeLayer(layer);
    ASSERT_TRUE(m_globe->settle());
    EXPECT_GT(m_globe->picture()->getColor(32U, 32U).b(), 0.4F); // bare ground
}

// A survey hangs above the bare ground around it, with a slope between; that slope is the layer's as well.
TEST_F(Paging, ReplacingHeightsMakesTheirSurroundingsAnew) {
    start(500);
    const auto plateau = [](double height) { return [height](double, double) { return height; }; };
    m_globe->addElevation("heights", writeHeights("paging_low.tif", {}, plateau(5.0)));
    const GeoPoint outside = at(582350.0, 3797056.0); // 50 m west of the raster
    lookAt(outside, 500.0);
    double before = 0.0;
    ASSERT_TRUE(m_globe->mapNode()->getTerrain()->getHeight(nullptr, outside.x(), outside.y(), &before));
    m_globe->map()->removeLayer(m_globe->map()->getLayerByName("heights"));
    m_globe->addElevation("heights", writeHeights("paging_high.tif", {}, plateau(60.0)));
    ASSERT_TRUE(m_globe->settle());
    double after = 0.0;
    ASSERT_TRUE(m_globe->mapNode()->getTerrain()->getHeight(nullptr, outside.x(), outside.y(), &after));
    EXPECT_LT(before, 5.0);
    EXPECT_GT(after, 40.0);
    // Far from the raster the ground was and is flat; the view there knows nothing of the old heights either.
    const GeoPoint far = at(582400.0 - 1500.0, 3797056.0);
    lookAt(far, 500.0);
    ASSERT_TRUE(m_globe->mapNode()->getTerrain()->getHeight(nullptr, far.x(), far.y(), &after));
    EXPECT_GT(after, 1.0);
    EXPECT_LT(after, 60.0);
}

TEST_F(Paging, ThousandsOfMovesLeaveMemoryFlatAndNoGLError) {
    constexpr int kMoves = 10000;
    constexpr int kWarmUp = 2000;
    constexpr unsigned kLimit = 200;
    start(kLimit, 64);
    m_globe->addImage("wide", writeColours("paging_soak.tif", wide(), red));
    m_globe->addElevation("hills", writeHeights("paging_soak_hills.tif", wide(), hills));
    m_globe->mapNode();
    osg::ref_ptr<GLErrors> errors = new GLErrors();
    m_globe->viewer().getCamera()->setFinalDrawCallback(errors);

    std::mt19937 random(42); // NOLINT(cert-msc51-cpp): the same moves every time
    std::uniform_real_distribution<double> part(0.0, 1.0);
    unsigned mostTiles = 0;
    double megabytesAfterWarmUp = 0.0;
    double graphicsAfterWarmUp = 0.0;
    for (int move = 0; move < kMoves; ++move) {
        const GeoPoint point = at(580500.0 + 9000.0 * part(random), 3792500.0 + 9000.0 * part(random));
        place(point, 100.0 * std::pow(1.0e4, part(random)), -90.0 + 60.0 * part(random),
              360.0 * part(random));
        m_globe->frame();
        if (move % 50 == 49) {
            ASSERT_TRUE(m_globe->settle());
        }
        if (move >= kWarmUp) {
            mostTiles = std::max(mostTiles, residentTiles());
        }
        if (move == kWarmUp) {
            megabytesAfterWarmUp = residentMegabytes();
            graphicsAfterWarmUp = graphicsMegabytes();
        }
    }
    m_globe->viewer().getCamera()->setFinalDrawCallback(nullptr);
    EXPECT_EQ(errors->count, 0);
    // Tiles of one view come in addition until the next frames give up others.
    EXPECT_LT(mostTiles, 2 * kLimit);
    EXPECT_LT(graphicsMegabytes(), graphicsAfterWarmUp + 40.0);
    EXPECT_LT(residentMegabytes(), megabytesAfterWarmUp + 80.0); // a leak would be many hundreds
    std::printf(
        "%d moves: at most %u tiles; %.0f MB resident after %d moves, %.0f MB after all; graphics %.0f "
        "and %.0f MB\n",
        kMoves, mostTiles, megabytesAfterWarmUp, kWarmUp, residentMegabytes(), graphicsAfterWarmUp,
        graphicsMegabytes());
}
