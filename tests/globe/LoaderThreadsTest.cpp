// Tiles are read on several threads while layers come and go; no window, so that thread checkers see our code
// only.
#include "TestRaster.h"
#include "globe/src/terrain/RasterSource.h"
#include "globe/src/terrain/TileContext.h"
#include "globe/src/terrain/TileLoader.h"
#include "globe/src/terrain/TileNode.h"

#include <osgEarth/ElevationLayer>
#include <osgEarth/ElevationQuery>
#include <osgEarth/ImageLayer>
#include <osgEarth/Registry>
#include <osgEarthDrivers/gdal/GDALOptions>

#include <gtest/gtest.h>

#include <atomic>
#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <thread>

using namespace osgEarth;
using namespace globetest;

namespace {

constexpr double kMiddleX = 582656.0;
constexpr double kMiddleY = 3797056.0;

template<class Layer>
osg::ref_ptr<Layer> layer(const std::string& file) {
    Drivers::GDALOptions options;
    options.url() = file;
    return new Layer("layer", options);
}

TileKey keyAt(const Profile& profile, unsigned lod) {
    const GeoPoint middle = GeoPoint(SpatialReference::get("epsg:4545"), kMiddleX, kMiddleY, 0.0)
                                .transform(SpatialReference::get("wgs84"));
    unsigned wide = 0;
    unsigned high = 0;
    profile.getNumTiles(lod, wide, high);
    return {lod, static_cast<unsigned>((middle.x() + 180.0) / 360.0 * wide),
            static_cast<unsigned>((90.0 - middle.y()) / 180.0 * high), &profile};
}

double plateau(double, double) {
    return 70.0;
}

std::array<std::uint8_t, 4> red(double, double) {
    return {230, 20, 20, 255};
}

} // namespace

TEST(LoaderThreads, ReadTilesWhileLayersAreReplaced) {
    setenv("XDG_CACHE_HOME", scratchFolder().c_str(), 1);
    RasterPlace large; // large enough to have overviews built meanwhile
    large.columns = 5000;
    large.rows = 200;
    large.cell = 0.1;
    const std::string picture = writeColours("loader_picture.tif", {}, red);
    const std::string heights = writeHeights("loader_heights.tif", {}, plateau);
    const std::string narrow = writeHeights("loader_narrow.tif", large, plateau);

    osg::ref_ptr<Map> map = new Map();
    map->addLayer(layer<ImageLayer>(picture));
    map->addLayer(layer<ElevationLayer>(heights));
    const auto context =
        std::make_shared<TileContext>(osg::ref_ptr<const Profile>(map->getProfile()), TerrainOptions());
    context->setLayers(*map);
    osg::ref_ptr<osgDB::ReadFileCallback> loader = context->readerOptions()->getReadFileCallback();

    std::atomic<bool> isDone{false};
    std::atomic<int> quads{0};
    std::atomic<int> wrong{0};
    std::vector<std::thread> threads;
    for (unsigned t = 0; t < 3; ++t) {
        threads.emplace_back([&, t] {
            for (unsigned i = 0; !isDone || i < 4; ++i) {
                const TileKey key = keyAt(*map->getProfile(), 6 + (i * 5 + t) % 12);
                auto children = loader->readNode(TileLoader::childrenName(key), nullptr);
                const osg::Node* node = children.getNode();
                const osg::Group* quad = node ? node->asGroup() : nullptr;
                wrong += !quad || quad->getNumChildren() != 4 ? 1 : 0;
                wrong += !loader->readNode(TileLoader::surfaceName(key), nullptr).getNode() ? 1 : 0;
                ++quads;
            }
        });
    }
    threads.emplace_back([&] {
        ElevationQuery query(map);
        while (!isDone) {
            const float height =
                query.getElevation(GeoPoint(SpatialReference::get("epsg:4545"), kMiddleX, kMiddleY, 0.0));
            wrong += height == NO_DATA_VALUE || std::abs(height - 70.0F) < 0.01F ? 0 : 1;
        }
    });
    for (int round = 0; round < 12; ++round) {
        osg::ref_ptr<ElevationLayer> added = layer<ElevationLayer>(round % 2 == 0 ? narrow : heights);
        map->addLayer(added);
        context->setLayers(*map);
        const int before = quads;
        while (quads < before + 3) {
            std::this_thread::yield();
        }
        EXPECT_LE(added->getPreparation(), 1.0F);
        EXPECT_TRUE(added->getStatus().isOK());
        map->removeLayer(added);
        context->setLayers(*map);
    }
    isDone = true;
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(wrong, 0);
    EXPECT_GE(quads, 36);
    EXPECT_TRUE(context->hasChangedSince(1, keyAt(*map->getProfile(), 14).getExtent()));

    // A request that outlives its terrain is answered with nothing.
    const std::string name = TileLoader::childrenName(keyAt(*map->getProfile(), 10));
    osg::ref_ptr<osgDB::ReadFileCallback> late;
    {
        const auto gone =
            std::make_shared<TileContext>(osg::ref_ptr<const Profile>(map->getProfile()), TerrainOptions());
        late = gone->readerOptions()->getReadFileCallback();
    }
    EXPECT_EQ(late->readNode(name, nullptr).getNode(), nullptr);
}

TEST(LoaderThreads, ReportAFailureOnceHoweverManyMeetIt) {
    const std::string file = writeColours("loader_lost.tif", {}, red);
    osg::ref_ptr<ImageLayer> lost = layer<ImageLayer>(file);
    lost->open();
    std::filesystem::resize_file(file, 1000);
    std::vector<std::thread> threads;
    std::atomic<int> failures{0};
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([&] {
            std::vector<std::uint8_t> cells;
            failures += lost->raster()->readImage({0, 0, 512, 512, 2}, cells) ? 0 : 1;
            failures += lost->getStatus().isError() ? 1 : 0;
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(failures, 8);
    EXPECT_NE(lost->getStatus().message().find(file), std::string::npos);
}
