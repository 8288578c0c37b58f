// Raster layers and elevation questions, against the values that were written.
#include "TestRaster.h"

#include <osgEarth/ElevationLayer>
#include <osgEarth/ElevationQuery>
#include <osgEarth/ImageLayer>
#include <osgEarth/Map>
#include <osgEarthDrivers/gdal/GDALOptions>

#include <gtest/gtest.h>

#include <atomic>
#include <cmath>
#include <filesystem>
#include <fstream>
#include <limits>
#include <thread>

using namespace osgEarth;
using namespace globetest;

namespace {

ElevationLayer* elevation(const std::string& file) {
    Drivers::GDALOptions options;
    options.url() = file;
    return new ElevationLayer("elevation", options);
}

ImageLayer* image(const std::string& name, const std::string& file) {
    Drivers::GDALOptions options;
    options.url() = file;
    return new ImageLayer(name, options);
}

double plane(double x, double y) {
    return 400.0 + (x - 582400.0) * 0.05 + (y - 3796800.0) * 0.02;
}

GeoPoint at(double x, double y) {
    return {SpatialReference::get("epsg:4545"), x, y, 0.0};
}

} // namespace

TEST(ElevationQuery, InterpolatesBetweenCells) {
    osg::ref_ptr<Map> map = new Map();
    map->addLayer(elevation(writeHeights("plane.tif", {}, plane)));
    ElevationQuery query(map);
    for (double d = 0.0; d < 400.0; d += 37.3) {
        const double x = 582410.2 + d;
        const double y = 3796850.7 + d * 0.9;
        EXPECT_NEAR(query.getElevation(at(x, y)), plane(x, y), 1e-3);
    }
}

TEST(ElevationQuery, TakesPointsInAnySystem) {
    osg::ref_ptr<Map> map = new Map();
    map->addLayer(elevation(writeHeights("plane2.tif", {}, plane)));
    ElevationQuery query(map);
    const GeoPoint geographic = at(582600.0, 3797000.0).transform(SpatialReference::get("wgs84"));
    ASSERT_TRUE(geographic.isValid());
    EXPECT_NEAR(query.getElevation(geographic), plane(582600.0, 3797000.0), 1e-3);
    const GeoPoint relative(SpatialReference::get("wgs84"), geographic.x(), geographic.y());
    EXPECT_NEAR(query.getElevation(relative), plane(582600.0, 3797000.0), 1e-3);
}

TEST(ElevationQuery, IsNeverCoarserThanAskedFor) {
    osg::ref_ptr<Map> map = new Map();
    map->addLayer(elevation(writeHeights("plane3.tif", {}, plane)));
    ElevationQuery query(map);
    double resolution = 0.0;
    EXPECT_NEAR(query.getElevation(at(582600.0, 3797000.0), 0.1, &resolution), plane(582600.0, 3797000.0),
                1e-3);
    EXPECT_GT(resolution, 0.0);
    EXPECT_LT(resolution, 0.1);
}

TEST(ElevationQuery, SaysNoDataWhereThereIsNone) {
    osg::ref_ptr<Map> map = new Map();
    ElevationQuery query(map);
    EXPECT_EQ(query.getElevation(at(582600.0, 3797000.0)), NO_DATA_VALUE);
    const auto holed = [](double x, double y) { return x < 582500.0 ? -9999.0 : plane(x, y); };
    map->addLayer(elevation(writeHeights("holed.tif", {}, holed)));
    EXPECT_EQ(query.getElevation(at(582450.0, 3797000.0)), NO_DATA_VALUE);
    EXPECT_NEAR(query.getElevation(at(582600.0, 3797000.0)), plane(582600.0, 3797000.0), 1e-3);
    EXPECT_EQ(query.getElevation(at(500000.0, 3797000.0)), NO_DATA_VALUE);
    EXPECT_EQ(query.getElevation(GeoPoint()), NO_DATA_VALUE);
    EXPECT_EQ(query.getElevation(GeoPoint(SpatialReference::get("wgs84"), -71.0, 0.0, 0.0)), NO_DATA_VALUE);
    map = nullptr;
    EXPECT_EQ(query.getElevation(at(582600.0, 3797000.0)), NO_DATA_VALUE);
}

TEST(ElevationQuery, PassesOverNanCells) {
    const auto holed = [](double x, double y) {
        return x < 582500.0 ? std::numeric_limits<double>::quiet_NaN() : plane(x, y);
    };
    osg::ref_ptr<Map> map = new Map();
    map->addLayer(elevation(writeHeights("nan.tif", {}, holed, std::numeric_limits<double>::quiet_NaN())));
    ElevationQuery query(map);
    EXPECT_EQ(query.getElevation(at(582450.0, 3797000.0)), NO_DATA_VALUE);
    EXPECT_NEAR(query.getElevation(at(582501.1, 3797000.0)), plane(582501.1, 3797000.0), 0.05);
}

TEST(ElevationQuery, AsksTheLastLayerWithData) {
    osg::ref_ptr<Map> map = new Map();
    map->addLayer(elevation(writeHeights("below.tif", {}, [](double, double) { return 100.0; })));
    ElevationQuery query(map);
    EXPECT_NEAR(query.getElevation(at(582600.0, 3797000.0)), 100.0, 1e-4);
    const auto half = [](double x, double) { return x < 582600.0 ? 200.0 : -9999.0; };
    osg::ref_ptr<ElevationLayer> above = elevation(writeHeights("above.tif", {}, half));
    map->addLayer(above);
    EXPECT_NEAR(query.getElevation(at(582500.0, 3797000.0)), 200.0, 1e-4);
    EXPECT_NEAR(query.getElevation(at(582700.0, 3797000.0)), 100.0, 1e-4);
    map->removeLayer(above);
    EXPECT_NEAR(query.getElevation(at(582500.0, 3797000.0)), 100.0, 1e-4);
}

TEST(ElevationQuery, AnswersInBulk) {
    osg::ref_ptr<Map> map = new Map();
    map->addLayer(elevation(writeHeights("bulk.tif", {}, plane)));
    ElevationQuery query(map);
    std::vector<osg::Vec3d> points = {{582500.0, 3797000.0, 1.0}, {582600.0, 3797100.0, 2.0}};
    ASSERT_TRUE(query.getElevations(points, SpatialReference::get("epsg:4545"), false));
    EXPECT_NEAR(points[0].z(), plane(582500.0, 3797000.0) + 1.0, 1e-3);
    EXPECT_NEAR(points[1].z(), plane(582600.0, 3797100.0) + 2.0, 1e-3);
    std::vector<osg::Vec3d> outside = {{0.0, 0.0, 7.0}};
    EXPECT_FALSE(query.getElevations(outside, SpatialReference::get("epsg:4545")));
    EXPECT_EQ(outside[0].z(), 7.0);
}

TEST(ElevationQuery, ServesSeveralThreadsWithAnObjectEach) {
    osg::ref_ptr<Map> map = new Map();
    map->addLayer(elevation(writeHeights("threads.tif", {}, plane)));
    std::atomic<int> wrong{0};
    std::vector<std::thread> threads;
    for (int t = 0; t < 6; ++t) {
        threads.emplace_back([&, t] {
            ElevationQuery query(map);
            for (int i = 0; i < 500; ++i) {
                const double x = 582410.0 + (i * 7 + t) % 480;
                const double y = 3796830.0 + (i * 13) % 450;
                wrong += std::abs(query.getElevation(at(x, y)) - plane(x, y)) > 1e-3 ? 1 : 0;
            }
        });
    }
    for (auto& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(wrong, 0);
}

TEST(Layers, KeepAnErrorThatNamesTheFileAndTheCause) {
    osg::ref_ptr<Map> map = new Map();
    const std::string text = scratchFolder() + "/text.tif";
    std::ofstream(text) << "not a raster";
    RasterPlace unreferenced;
    unreferenced.srs = "";
    const std::string noSrs = writeHeights("nosrs.tif", unreferenced, plane);
    const std::string missing = scratchFolder() + "/missing.tif";
    for (const std::string& file : {missing, text, noSrs, std::string()}) {
        osg::ref_ptr<ElevationLayer> layer = elevation(file);
        map->addLayer(layer);
        EXPECT_TRUE(layer->getStatus().isError()) << file;
        EXPECT_FALSE(layer->getEnabled());
        EXPECT_FALSE(layer->getStatus().message().empty());
        EXPECT_EQ(layer->getStatus().message().find('\n'), std::string::npos);
        EXPECT_NE(layer->getStatus().message().find(file), std::string::npos);
    }
    EXPECT_EQ(map->getNumLayers(), 4U);
    ElevationQuery query(map);
    EXPECT_EQ(query.getElevation(at(582600.0, 3797000.0)), NO_DATA_VALUE);
}

TEST(Layers, SurviveATruncatedFile) {
    const std::string file = writeHeights("truncated.tif", {}, plane);
    std::filesystem::resize_file(file, 200000);
    osg::ref_ptr<Map> map = new Map();
    map->addLayer(elevation(file));
    ElevationQuery query(map);
    EXPECT_EQ(query.getElevation(at(582600.0, 3796810.0)), NO_DATA_VALUE);
}

TEST(Layers, TakeAFolderAsOneRaster) {
    const std::string folder = scratchFolder() + "/folder";
    std::filesystem::create_directory(folder);
    RasterPlace east;
    east.west += east.columns * east.cell;
    writeHeights("folder/west.tif", {}, plane);
    writeHeights("folder/east.tif", east, plane);
    std::ofstream(folder + "/readme.txt") << "not a raster";
    osg::ref_ptr<Map> map = new Map();
    osg::ref_ptr<ElevationLayer> layer = elevation(folder);
    map->addLayer(layer);
    ASSERT_TRUE(layer->getStatus().isOK()) << layer->getStatus().message();
    ElevationQuery query(map);
    EXPECT_NEAR(query.getElevation(at(582500.0, 3797000.0)), plane(582500.0, 3797000.0), 1e-3);
    EXPECT_NEAR(query.getElevation(at(583300.0, 3797000.0)), plane(583300.0, 3797000.0), 1e-3);
    EXPECT_NEAR(query.getElevation(at(582912.0, 3797000.0)), plane(582912.0, 3797000.0), 1e-3); // the seam
}

TEST(Layers, StandInTheOrderTheyWereAdded) {
    osg::ref_ptr<Map> map = new Map();
    const std::string file = writeColours(
        "green.tif", {}, [](double, double) { return std::array<std::uint8_t, 4>{0, 255, 0, 255}; });
    const int before = map->getDataModelRevision();
    osg::ref_ptr<ImageLayer> first = image("first", file);
    osg::ref_ptr<ImageLayer> last = image("last", file);
    map->addLayer(last);
    map->insertLayer(first, 0);
    EXPECT_GT(map->getDataModelRevision(), before);
    EXPECT_EQ(map->getLayerAt(0), first);
    EXPECT_EQ(map->getLayerByName("last"), last);
    EXPECT_EQ(map->getLayerAt(2), nullptr);
    EXPECT_EQ(map->getLayerByName("none"), nullptr);
    std::vector<osg::ref_ptr<ElevationLayer>> elevations;
    map->getLayers(elevations);
    EXPECT_TRUE(elevations.empty());
    map->removeLayer(first);
    EXPECT_EQ(map->getNumLayers(), 1U);
}
