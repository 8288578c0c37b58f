// Rasters that are broken, odd, or lie at odd places.
#include "LogLines.h"
#include "OffscreenGlobe.h"
#include "TestRaster.h"
#include "globe/src/terrain/RasterSource.h"

#include <osgEarth/ElevationLayer>
#include <osgEarth/ElevationQuery>
#include <osgEarth/ImageLayer>
#include <osgEarth/Terrain>

#include <gdal_priv.h>
#include <gtest/gtest.h>

#include <cmath>
#include <filesystem>
#include <fstream>
#include <limits>
#include <thread>

using namespace osgEarth;
using namespace globetest;

namespace {

constexpr float kMissing = std::numeric_limits<float>::quiet_NaN();

std::array<std::uint8_t, 4> red(double, double) {
    return {230, 20, 20, 255};
}

bool isRed(const osg::Vec4& colour) {
    return colour.r() > 0.5F && colour.g() < 0.3F && colour.b() < 0.3F;
}

bool isBareGround(const osg::Vec4& colour) {
    return colour.r() > 0.5F && colour.g() > 0.5F && colour.b() > 0.4F && colour.r() > colour.b();
}

GeoPoint degrees(double longitude, double latitude) {
    return {SpatialReference::get("wgs84"), longitude, latitude, 0.0};
}

GeoPoint inTestPlace(double x, double y) {
    return GeoPoint(SpatialReference::get("epsg:4545"), x, y, 0.0).transform(SpatialReference::get("wgs84"));
}

class BadInput : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(m_globe.isUsable()) << "these tests need a display (xvfb-run will do)";
    }
    void lookAt(const GeoPoint& point, double range) {
        m_globe.mapNode();
        m_globe.manipulator()->setViewpoint(Viewpoint("", point.x(), point.y(), 0.0, 0.0, -89.9, range));
        ASSERT_TRUE(m_globe.settle());
    }
    /// The colour in the middle of the picture, looking straight down.
    osg::Vec4 colourAt(const GeoPoint& point, double range) {
        lookAt(point, range);
        return m_globe.picture()->getColor(48U, 48U);
    }
    const Layer& layer(const std::string& name) { return *m_globe.map()->getLayerByName(name); }

    /// The layer is used as far as it goes, its status names the file, and one line in the log does so.
    void expectOneComplaint(const LogLines& log, const std::string& name, const std::string& file) {
        EXPECT_TRUE(layer(name).getStatus().isError());
        EXPECT_NE(layer(name).getStatus().message().find(file), std::string::npos)
            << layer(name).getStatus().message();
        ASSERT_EQ(log.lines().size(), 1U) << ::testing::PrintToString(log.lines());
        EXPECT_NE(log.lines()[0].find(file), std::string::npos) << log.lines()[0];
    }

    OffscreenGlobe m_globe{96, 96};
    const GeoPoint m_middle = inTestPlace(582656.0, 3797056.0);
};

} // namespace

TEST_F(BadInput, ACorruptRasterIsShownWhereItCanBeRead) {
    RasterFormat format;
    format.compression = "DEFLATE";
    format.bands = 3;
    const std::string file = writeRaster("corrupt.tif", {}, format, [](int band, int column, int row) {
        return band == 1 ? 200 + (column * 7 + row * 13) % 50 : 10;
    });
    std::fstream bytes(file, std::ios::in | std::ios::out | std::ios::binary);
    // The last tiles hold the south-east.
    const auto size = static_cast<std::streamoff>(std::filesystem::file_size(file));
    bytes.seekp(size - size / 5);
    bytes << std::string(static_cast<std::size_t>(size / 10), '\xff');
    bytes.close();

    const LogLines log;
    m_globe.addImage("corrupt", file);
    EXPECT_TRUE(layer("corrupt").getStatus().isOK());
    EXPECT_TRUE(isRed(colourAt(inTestPlace(582450.0, 3797260.0), 60.0))); // the north-west
    EXPECT_TRUE(isBareGround(colourAt(inTestPlace(582870.0, 3796850.0), 60.0)));
    EXPECT_TRUE(isBareGround(colourAt(inTestPlace(582860.0, 3796880.0), 90.0)));
    EXPECT_TRUE(layer("corrupt").getEnabled());
    expectOneComplaint(log, "corrupt", file);
}

TEST_F(BadInput, ARasterThatIsTruncatedWhileInUse) {
    const std::string green = writeColours(
        "below.tif", {}, [](double, double) { return std::array<std::uint8_t, 4>{10, 220, 10, 255}; });
    const std::string file = writeColours("shrinking.tif", {}, red);
    const LogLines log;
    m_globe.addImage("below", green);
    m_globe.addImage("shrinking", file);
    std::filesystem::resize_file(file, 4096);
    EXPECT_GT(colourAt(m_middle, 100.0).g(), 0.5F); // what lies below is still there
    EXPECT_GT(colourAt(inTestPlace(582700.0, 3797000.0), 50.0).g(), 0.5F);
    expectOneComplaint(log, "shrinking", file);
    EXPECT_TRUE(layer("below").getStatus().isOK());
}

TEST_F(BadInput, ARasterThatIsDeletedWhileInUse) {
    const std::string file = writeColours("deleted.tif", {}, red);
    const LogLines log;
    m_globe.addImage("deleted", file);
    ASSERT_TRUE(layer("deleted").getStatus().isOK());
    std::filesystem::remove(file);
    // The file that is open can still be read; the next thread that wants one of its own cannot have it.
    const auto raster = dynamic_cast<const TerrainLayer&>(layer("deleted")).raster();
    for (int round = 0; round < 1000 && layer("deleted").getStatus().isOK(); ++round) {
        std::vector<std::thread> threads;
        for (int i = 0; i < 4; ++i) {
            threads.emplace_back([&] {
                std::vector<std::uint8_t> cells;
                raster->readImage({0, 0, 512, 512, 1}, cells);
            });
        }
        for (std::thread& thread : threads) {
            thread.join();
        }
    }
    lookAt(m_middle, 100.0);
    lookAt(inTestPlace(582700.0, 3797000.0), 50.0);
    expectOneComplaint(log, "deleted", file);
}

TEST_F(BadInput, AWrongReferenceSystem) {
    const std::string raster = writeColours("referenced.tif", {}, red);
    const std::string file = scratchFolder() + "/nonsense.vrt";
    std::ofstream(file) << "<VRTDataset rasterXSize=\"512\" rasterYSize=\"512\"><SRS>EPSG:nonsense</SRS>"
                           "<GeoTransform>582400,1,0,3797312,0,-1</GeoTransform><VRTRasterBand "
                           "dataType=\"Byte\" band=\"1\"><SimpleSource><SourceFilename>"
                        << raster
                        << "</SourceFilename><SourceBand>1</SourceBand></SimpleSource></VRTRasterBand>"
                           "</VRTDataset>";
    const LogLines log;
    m_globe.addImage("nonsense", file);
    EXPECT_FALSE(layer("nonsense").getEnabled());
    EXPECT_TRUE(isBareGround(colourAt(m_middle, 100.0)));
    expectOneComplaint(log, "nonsense", file);
}

TEST_F(BadInput, ASystemWithoutACode) {
    RasterPlace place;
    place.srs = "+proj=lcc +lat_1=33.3 +lat_2=35.1 +lat_0=34.2 +lon_0=108.7 +x_0=1234 +y_0=777 +ellps=krass "
                "+towgs84=24,-123,-94,0,0,0,0 +units=m";
    place.west = 1000.0;
    place.north = 1000.0;
    const LogLines log;
    m_globe.addImage("own", writeColours("own.tif", place, red));
    // The datum is moved by a hundred metres or so; the raster is 512 m wide.
    EXPECT_TRUE(isRed(colourAt(degrees(108.7, 34.2), 100.0)));
    EXPECT_TRUE(layer("own").getStatus().isOK());
    EXPECT_TRUE(log.lines().empty());
}

TEST_F(BadInput, SixteenBitsAreStretchedToTheirRange) {
    RasterFormat format;
    format.type = "UInt16";
    const std::string file = writeRaster(
        "sixteen.tif", {}, format, [](int, int column, int) { return column < 256 ? 1000.0 : 61000.0; });
    m_globe.addImage("sixteen", file);
    EXPECT_LT(colourAt(inTestPlace(582500.0, 3797056.0), 100.0).r(), 0.05F);
    EXPECT_GT(colourAt(inTestPlace(582800.0, 3797056.0), 100.0).r(), 0.9F);
}

TEST_F(BadInput, FloatPicturesAreStretchedAndNotANumberIsClear) {
    RasterFormat format;
    format.type = "Float32";
    const std::string file = writeRaster("float.tif", {}, format, [](int, int column, int row) {
        return row < 256 ? static_cast<double>(kMissing) : column < 256 ? -0.5 : 0.5;
    });
    m_globe.addImage("float", file);
    EXPECT_LT(colourAt(inTestPlace(582500.0, 3796900.0), 100.0).r(), 0.05F);
    EXPECT_GT(colourAt(inTestPlace(582800.0, 3796900.0), 100.0).b(), 0.9F);
    EXPECT_TRUE(isBareGround(colourAt(inTestPlace(582800.0, 3797200.0), 100.0)));
}

TEST_F(BadInput, APaletteGivesTheColours) {
    RasterFormat format;
    format.prepare = [](GDALDataset& dataset) {
        GDALColorTable table;
        const GDALColorEntry entries[] = {{0, 0, 255, 255}, {230, 20, 20, 255}, {0, 0, 0, 0}};
        for (int i = 0; i < 3; ++i) {
            table.SetColorEntry(i, &entries[i]);
        }
        dataset.GetRasterBand(1)->SetColorTable(&table);
        dataset.GetRasterBand(1)->SetColorInterpretation(GCI_PaletteIndex);
    };
    const std::string file =
        writeRaster("palette.tif", {}, format, [](int, int column, int) { return column < 256 ? 0 : 1; });
    m_globe.addImage("palette", file);
    EXPECT_GT(colourAt(inTestPlace(582500.0, 3797056.0), 100.0).b(), 0.9F);
    EXPECT_LT(colourAt(inTestPlace(582500.0, 3797056.0), 100.0).r(), 0.1F);
    EXPECT_TRUE(isRed(colourAt(inTestPlace(582800.0, 3797056.0), 100.0)));
}

TEST_F(BadInput, AlphaLetsTheGroundShow) {
    const std::string file = writeColours("alpha.tif", {}, [](double x, double) {
        return std::array<std::uint8_t, 4>{230, 20, 20, static_cast<std::uint8_t>(x < 582656.0 ? 0 : 255)};
    });
    m_globe.addImage("alpha", file);
    EXPECT_TRUE(isBareGround(colourAt(inTestPlace(582500.0, 3797056.0), 100.0)));
    EXPECT_TRUE(isRed(colourAt(inTestPlace(582800.0, 3797056.0), 100.0)));
}

TEST_F(BadInput, AMaskLetsTheGroundShow) {
    RasterFormat format;
    format.bands = 3;
    format.prepare = [](GDALDataset& dataset) {
        CPLSetThreadLocalConfigOption("GDAL_TIFF_INTERNAL_MASK", "YES");
        ASSERT_EQ(dataset.CreateMaskBand(GMF_PER_DATASET), CE_None);
        CPLSetThreadLocalConfigOption("GDAL_TIFF_INTERNAL_MASK", nullptr);
        std::vector<std::uint8_t> east(512, 0);
        std::fill(east.begin() + 256, east.end(), std::uint8_t{255});
        for (int row = 0; row < 512; ++row) {
            ASSERT_EQ(dataset.GetRasterBand(1)->GetMaskBand()->RasterIO(GF_Write, 0, row, 512, 1, east.data(),
                                                                        512, 1, GDT_Byte, 0, 0, nullptr),
                      CE_None);
        }
    };
    const std::string file =
        writeRaster("masked.tif", {}, format, [](int band, int, int) { return band == 1 ? 230 : 20; });
    m_globe.addImage("masked", file);
    EXPECT_TRUE(isBareGround(colourAt(inTestPlace(582500.0, 3797056.0), 100.0)));
    EXPECT_TRUE(isRed(colourAt(inTestPlace(582800.0, 3797056.0), 100.0)));
}

TEST_F(BadInput, HeightsThatAreNotANumberAreHoles) {
    const std::string file = writeHeights(
        "nan.tif", {}, [](double x, double) { return x < 582656.0 ? 80.0 : static_cast<double>(kMissing); });
    const LogLines log;
    m_globe.addElevation("nan", file);
    ElevationQuery query(m_globe.map());
    EXPECT_NEAR(query.getElevation(inTestPlace(582600.0, 3797056.0)), 80.0, 1e-3);
    EXPECT_EQ(query.getElevation(inTestPlace(582700.0, 3797056.0)), NO_DATA_VALUE);
    lookAt(m_middle, 300.0);
    // The drawn surface goes on across the hole.
    double height = 0.0;
    const GeoPoint inHole = inTestPlace(582700.0, 3797056.0);
    ASSERT_TRUE(m_globe.mapNode()->getTerrain()->getHeight(nullptr, inHole.x(), inHole.y(), &height));
    EXPECT_NEAR(height, 80.0, 5.0);
    EXPECT_TRUE(layer("nan").getStatus().isOK());
    EXPECT_TRUE(log.lines().empty());
}

TEST_F(BadInput, DegreesBeyondTheAntimeridian) {
    RasterPlace place;
    place.srs = "EPSG:4326";
    place.west = 179.0;
    place.north = -16.0;
    place.cell = 2.0 / 512;
    m_globe.addImage("fiji", writeColours("fiji.tif", place, red));
    m_globe.addElevation("fiji heights", writeHeights("fiji_heights.tif", place, [](double x, double) {
                             return 100.0 + x; // 279 to 281
                         }));
    for (const double longitude : {179.3, 179.99, -179.99, -179.3}) {
        EXPECT_TRUE(isRed(colourAt(degrees(longitude, -17.0), 2000.0))) << longitude;
        ElevationQuery query(m_globe.map());
        const double unbroken = longitude < 0.0 ? longitude + 360.0 : longitude;
        EXPECT_NEAR(query.getElevation(degrees(longitude, -17.0)), 100.0 + unbroken, 0.01);
    }
    EXPECT_TRUE(isBareGround(colourAt(degrees(0.0, -17.0), 2000.0)));
    EXPECT_TRUE(isBareGround(colourAt(degrees(-178.0, -17.0), 2000.0)));
}

TEST_F(BadInput, AProjectionAcrossTheAntimeridian) {
    RasterPlace place;
    place.srs = "EPSG:32760"; // its zone ends at 180 degrees
    place.west = 720000.0;
    place.north = 8150000.0;
    place.cell = 400.0; // 204.8 km
    m_globe.addImage("zone", writeColours("zone60.tif", place, red));
    for (const double longitude : {179.3, 179.99, -179.99, -179.5}) {
        EXPECT_TRUE(isRed(colourAt(degrees(longitude, -17.3), 2000.0))) << longitude;
    }
    EXPECT_TRUE(isBareGround(colourAt(degrees(0.0, -17.3), 2000.0)));
    EXPECT_TRUE(isBareGround(colourAt(degrees(-177.0, -17.3), 2000.0)));
}

TEST_F(BadInput, ARasterAroundThePole) {
    RasterPlace place;
    place.srs = "EPSG:3413";
    place.cell = 1000.0;
    place.west = -256000.0;
    place.north = 256000.0;
    m_globe.addImage("ice", writeColours("ice.tif", place, red));
    m_globe.addElevation("ice heights",
                         writeHeights("ice_heights.tif", place, [](double, double) { return 30.0; }));
    ElevationQuery query(m_globe.map());
    for (const double longitude : {-170.0, -80.0, 10.0, 100.0}) {
        EXPECT_TRUE(isRed(colourAt(degrees(longitude, 89.0), 3000.0))) << longitude;
        EXPECT_NEAR(query.getElevation(degrees(longitude, 89.0)), 30.0, 1e-3) << longitude;
    }
    EXPECT_TRUE(isRed(colourAt(degrees(0.0, 89.97), 30000.0)));
    EXPECT_TRUE(isBareGround(colourAt(degrees(10.0, 85.0), 3000.0)));
}
