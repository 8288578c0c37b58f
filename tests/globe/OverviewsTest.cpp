// Overviews of large rasters: where they go, and what must never happen to them.
#include "LogLines.h"
#include "OffscreenGlobe.h"
#include "TestRaster.h"

#include <osgEarth/ElevationLayer>
#include <osgEarth/ElevationQuery>
#include <osgEarth/ImageLayer>
#include <osgEarthDrivers/gdal/GDALOptions>

#include <gdal_priv.h>
#include <gtest/gtest.h>

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <thread>

using namespace osgEarth;
using namespace globetest;
namespace fs = std::filesystem;

namespace {

// Large by its width only, and so made in no time.
RasterPlace longAndNarrow() {
    RasterPlace place;
    place.columns = 9000;
    place.rows = 40;
    place.cell = 0.5;
    return place;
}

double slope(double x, double) {
    return (x - 582400.0) * 0.01;
}

osg::ref_ptr<ElevationLayer> open(const std::string& file) {
    Drivers::GDALOptions options;
    options.url() = file;
    osg::ref_ptr<ElevationLayer> layer = new ElevationLayer("large", options);
    layer->open();
    return layer;
}

bool waitUntilPrepared(const TerrainLayer& layer) {
    float before = 0.0F;
    for (int i = 0; i < 60000; ++i) {
        const float now = layer.getPreparation();
        if (now < before) {
            return false;
        }
        before = now;
        if (now >= 1.0F && layer.getAppearanceRevision() > 0) {
            return true;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return false;
}

int overviewsOf(const std::string& file) {
    const std::unique_ptr<GDALDataset> dataset(GDALDataset::Open(file.c_str(), GDAL_OF_RASTER));
    return dataset ? dataset->GetRasterBand(1)->GetOverviewCount() : -1;
}

std::string contentOf(const std::string& file) {
    std::ifstream in(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), {}};
}

std::vector<std::string> filesBeside(const std::string& file) {
    std::vector<std::string> names;
    const std::string prefix = fs::path(file).filename().string();
    for (const auto& entry : fs::directory_iterator(fs::path(file).parent_path())) {
        const std::string name = entry.path().filename().string();
        if (name.rfind(prefix, 0) == 0 && name != prefix) {
            names.push_back(name);
        }
    }
    return names;
}

// In an archive, beside which nothing can be written.
std::string zipped(const std::string& file) {
    const std::string inside = "/vsizip/" + file + ".zip/" + fs::path(file).filename().string();
    VSILFILE* out = VSIFOpenL(inside.c_str(), "wb");
    const std::string content = contentOf(file);
    EXPECT_EQ(VSIFWriteL(content.data(), 1, content.size(), out), content.size());
    VSIFCloseL(out);
    return inside;
}

class Overviews : public ::testing::Test {
protected:
    // The user's own cache is left alone. The program that is killed has inherited the folder.
    void SetUp() override {
        if (!std::getenv("CORRIDOR_TEST_KILLED")) {
            setenv("XDG_CACHE_HOME", (scratchFolder() + "/cache").c_str(), 1);
        }
    }
    static std::size_t cachedFiles() {
        const fs::path folder = scratchFolder() + "/cache/corridor/overviews";
        return fs::exists(folder)
                   ? static_cast<std::size_t>(std::distance(fs::directory_iterator(folder), {}))
                   : 0;
    }
};

} // namespace

TEST_F(Overviews, AreBuiltOnceBesideTheRasterWhichIsNotTouched) {
    const std::string file = writeHeights("beside.tif", longAndNarrow(), slope);
    const std::string before = contentOf(file);
    const auto written = fs::last_write_time(file);
    {
        const auto layer = open(file);
        ASSERT_TRUE(layer->getStatus().isOK());
        ASSERT_TRUE(waitUntilPrepared(*layer));
    }
    EXPECT_EQ(filesBeside(file), std::vector<std::string>{"beside.tif.ovr"});
    EXPECT_GE(overviewsOf(file), 5);
    EXPECT_EQ(contentOf(file), before);
    EXPECT_EQ(fs::last_write_time(file), written);
    EXPECT_EQ(cachedFiles(), 0U);

    const auto built = fs::last_write_time(file + ".ovr");
    const auto again = open(file);
    EXPECT_EQ(again->getPreparation(), 1.0F);
    EXPECT_EQ(again->getAppearanceRevision(), 0);
    EXPECT_EQ(fs::last_write_time(file + ".ovr"), built);
}

TEST_F(Overviews, TheLayerIsInUseWhileTheyAreBuilt) {
    RasterPlace place = longAndNarrow();
    place.rows = 2000;
    const std::string file = writeHeights("meanwhile.tif", place, slope);
    osg::ref_ptr<Map> map = new Map();
    const auto layer = open(file);
    map->addLayer(layer);
    ElevationQuery query(map);
    const GeoPoint point(SpatialReference::get("epsg:4545"), 583000.0, 3797000.0, 0.0);
    EXPECT_NEAR(query.getElevation(point), 6.0, 1e-3);
    EXPECT_LT(layer->getPreparation(), 1.0F);
    ASSERT_TRUE(waitUntilPrepared(*layer));
    EXPECT_NEAR(query.getElevation(point), 6.0, 1e-3);
}

TEST_F(Overviews, GoToTheCacheWhenNothingCanBeWrittenBesideTheRaster) {
    const std::string file = zipped(writeHeights("packed.tif", longAndNarrow(), slope));
    const std::size_t before = cachedFiles();
    {
        const auto layer = open(file);
        ASSERT_TRUE(layer->getStatus().isOK()) << layer->getStatus().message();
        ASSERT_TRUE(waitUntilPrepared(*layer));
    }
    EXPECT_EQ(cachedFiles(), before + 2);
    const auto again = open(file);
    EXPECT_EQ(again->getPreparation(), 1.0F);
    EXPECT_EQ(again->getAppearanceRevision(), 0);
    osg::ref_ptr<Map> map = new Map();
    map->addLayer(again);
    const GeoPoint point(SpatialReference::get("epsg:4545"), 583000.0, 3797305.0, 0.0);
    EXPECT_NEAR(ElevationQuery(map).getElevation(point), 6.0, 1e-3);
    EXPECT_EQ(cachedFiles(), before + 2);
}

TEST_F(Overviews, StayInMemoryWhenNothingCanBeWrittenAtAll) {
    const std::string blocked = scratchFolder() + "/no_folder";
    std::ofstream(blocked) << "a file where the cache folder should be";
    setenv("XDG_CACHE_HOME", blocked.c_str(), 1);
    const std::string file = zipped(writeHeights("nowhere.tif", longAndNarrow(), slope));
    const LogLines log;
    const auto layer = open(file);
    ASSERT_TRUE(waitUntilPrepared(*layer));
    EXPECT_TRUE(layer->getStatus().isOK());
    ASSERT_EQ(log.lines().size(), 1U) << ::testing::PrintToString(log.lines());
    EXPECT_NE(log.lines()[0].find(file), std::string::npos);
}

TEST_F(Overviews, OfARasterThatWasWrittenAnewAreBuiltAnew) {
    const std::string file = writeHeights("epochs.tif", longAndNarrow(), slope);
    ASSERT_TRUE(waitUntilPrepared(*open(file)));
    const std::string old = contentOf(file + ".ovr");
    const auto higher = [](double x, double y) { return slope(x, y) + 50.0; };
    fs::rename(writeHeights("newer_epoch.tif", longAndNarrow(), higher), file);
    fs::last_write_time(file, fs::last_write_time(file + ".ovr") + std::chrono::seconds(2));
    ASSERT_TRUE(waitUntilPrepared(*open(file)));
    EXPECT_NE(contentOf(file + ".ovr"), old);
}

TEST_F(Overviews, MadeByOthersAreUsedAndLeftAlone) {
    const std::string file = writeHeights("foreign.tif", longAndNarrow(), slope);
    {
        const std::unique_ptr<GDALDataset> dataset(GDALDataset::Open(file.c_str(), GDAL_OF_RASTER));
        int levels[] = {2, 4, 8};
        ASSERT_EQ(dataset->BuildOverviews("NEAREST", 3, levels, 0, nullptr, nullptr, nullptr), CE_None);
    }
    const std::string theirs = contentOf(file + ".ovr");
    fs::last_write_time(file, fs::last_write_time(file + ".ovr") + std::chrono::seconds(2));
    const auto layer = open(file);
    EXPECT_EQ(layer->getPreparation(), 1.0F);
    EXPECT_EQ(contentOf(file + ".ovr"), theirs);
}

TEST_F(Overviews, AreNotLeftHalfBuiltByALayerThatIsClosed) {
    RasterPlace place = longAndNarrow();
    place.rows = 4000;
    const std::string file = writeHeights("closed.tif", place, slope);
    {
        const auto layer = open(file);
        while (layer->getPreparation() == 0.0F) {
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
        EXPECT_FALSE(fs::exists(file + ".ovr"));
    }
    // Whoever comes next waits for its turn, and then nothing is left of the first attempt.
    ASSERT_TRUE(waitUntilPrepared(*open(writeHeights("next.tif", longAndNarrow(), slope))));
    EXPECT_TRUE(filesBeside(file).empty()) << ::testing::PrintToString(filesBeside(file));
}

TEST_F(Overviews, AreNotUsedWhenTheProgramWasKilledMeanwhile) {
    ::testing::FLAGS_gtest_death_test_style = "threadsafe";
    const char* shared = std::getenv("CORRIDOR_TEST_KILLED");
    RasterPlace place = longAndNarrow();
    place.rows = 4000;
    const std::string file = shared ? shared : writeHeights("killed.tif", place, slope);
    setenv("CORRIDOR_TEST_KILLED", file.c_str(), 1);
    EXPECT_EXIT(
        {
            const auto layer = open(file);
            while (layer->getPreparation() == 0.0F) {
                std::this_thread::sleep_for(std::chrono::milliseconds(1));
            }
            std::raise(SIGKILL);
        },
        ::testing::KilledBySignal(SIGKILL), "");
    unsetenv("CORRIDOR_TEST_KILLED");
    EXPECT_FALSE(fs::exists(file + ".ovr"));
    EXPECT_EQ(overviewsOf(file), 0);
    const std::vector<std::string> leftovers = filesBeside(file);
    EXPECT_FALSE(leftovers.empty());
    for (const std::string& name : leftovers) {
        const fs::path path = fs::path(file).parent_path() / name;
        fs::last_write_time(path, fs::last_write_time(path) - std::chrono::hours(2));
    }
    ASSERT_TRUE(waitUntilPrepared(*open(file)));
    EXPECT_EQ(filesBeside(file), std::vector<std::string>{"killed.tif.ovr"});
}

// Columns of black and white cells: single cells are one or the other, and their mean is grey.
TEST_F(Overviews, MakeADistantViewExactOnceTheyAreReady) {
    RasterPlace place;
    place.columns = 8192;
    place.rows = 8192;
    place.west -= 3840.0;
    place.north += 3840.0;
    RasterFormat format;
    format.compression = "LZW";
    const std::string file = writeRaster("stripes.tif", place, format,
                                         [](int, int column, int) { return column % 2 == 0 ? 0 : 255; });
    OffscreenGlobe globe(96, 96);
    ASSERT_TRUE(globe.isUsable()) << "this test needs a display (xvfb-run will do)";
    globe.addImage("stripes", file);
    const auto& layer = dynamic_cast<const ImageLayer&>(*globe.map()->getLayerAt(0));
    const GeoPoint middle = GeoPoint(SpatialReference::get("epsg:4545"), 582656.0, 3797056.0, 0.0)
                                .transform(SpatialReference::get("wgs84"));
    globe.mapNode();
    globe.manipulator()->setViewpoint(Viewpoint("", middle.x(), middle.y(), 0.0, 0.0, -89.9, 12000.0));
    ASSERT_TRUE(globe.settle());
    ASSERT_TRUE(waitUntilPrepared(layer));
    ASSERT_TRUE(globe.settle());
    EXPECT_NEAR(globe.picture()->getColor(48U, 48U).r(), 0.5F, 0.05F);
    EXPECT_NEAR(globe.picture()->getColor(30U, 60U).r(), 0.5F, 0.05F);
}
