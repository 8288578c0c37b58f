#include "tests/support/TileServer.h"
#include "tests/support/WaitUntil.h"
#include "workbench/inspectiondata/project/BaseLayer.h"
#include "workbench/viewer/GlobeWidget.h"

#include <gtest/gtest.h>

#include <QDateTime>
#include <QDir>
#include <QDirIterator>
#include <QElapsedTimer>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>

#include <osgEarth/ImageLayer>
#include <osgEarth/Map>
#include <osgEarth/Viewpoint>
#include <osgEarthUtil/EarthManipulator>

#include <gdal_priv.h>

#include <cmath>
#include <memory>

namespace {

const QColor kRed(200, 30, 40);
const QColor kGreen(20, 180, 60);
const QColor kBlue(30, 40, 200);

class FrameCounter : public osgGA::GUIEventHandler {
public:
    bool handle(const osgGA::GUIEventAdapter& ea, osgGA::GUIActionAdapter&) override {
        frames += ea.getEventType() == osgGA::GUIEventAdapter::FRAME ? 1 : 0;
        return false;
    }
    int frames = 0;
};

bool isLike(const QColor& a, const QColor& b) {
    constexpr int kTolerance = 25; // for the haze over the ground
    return std::abs(a.red() - b.red()) < kTolerance && std::abs(a.green() - b.green()) < kTolerance &&
           std::abs(a.blue() - b.blue()) < kTolerance;
}

/// A raster of one colour over 108..110 east and 33..35 north.
std::string writeRaster(const QString& file, const QColor& colour, const char* driver = "GTiff") {
    GDALAllRegister();
    GDALDriver* memory = GetGDALDriverManager()->GetDriverByName("MEM");
    const std::unique_ptr<GDALDataset> raster(memory->Create("", 400, 400, 3, GDT_Byte, nullptr));
    double place[6] = {108.0, 0.005, 0.0, 35.0, 0.0, -0.005};
    raster->SetGeoTransform(place);
    raster->SetProjection("EPSG:4326");
    const int channels[] = {colour.red(), colour.green(), colour.blue()};
    for (int band = 1; band <= 3; ++band) {
        raster->GetRasterBand(band)->Fill(channels[band - 1]);
    }
    GDALDriver* writer = GetGDALDriverManager()->GetDriverByName(driver);
    GDALClose(writer->CreateCopy(file.toUtf8().constData(), raster.get(), FALSE, nullptr, nullptr, nullptr));
    return file.toStdString();
}

class BaseRastersTest : public ::testing::Test {
protected:
    BaseRastersTest() : m_globe(std::make_unique<GlobeWidget>()), m_counter(new FrameCounter()) {
        m_globe->getViewer()->addEventHandler(m_counter.get());
        m_globe->resize(320, 240);
        m_globe->show();
        EXPECT_TRUE(QTest::qWaitForWindowExposed(m_globe.get()));
        look(2.0e4);
    }

    void look(double rangeMetres, double lon = 109.0, double lat = 34.0) {
        m_globe->getManipulator()->setViewpoint(
            osgEarth::Viewpoint("", lon, lat, 0.0, 0.0, -89.9, rangeMetres));
        m_globe->requestRedraw();
        EXPECT_TRUE(waitUntil([this] { return m_globe->isPictureComplete(); }));
    }
    BaseRaster raster(const QString& source, float opacity = 1.0F) const {
        inspection::BaseLayer layer;
        layer.source = source;
        const auto definition = inspection::gdalDefinition(layer, m_folder.filePath("cache"));
        EXPECT_TRUE(definition);
        return {definition.value_or(QString()).toStdString(), opacity};
    }
    void show(const std::vector<BaseRaster>& rasters) {
        m_globe->map().setBaseRasters(rasters);
        m_globe->requestRedraw();
    }
    // Of a picture that is complete: each look makes the globe draw once more.
    bool shows(const std::function<bool()>& what, int mostMilliseconds = 20000) {
        return waitUntil([&] { return m_globe->isPictureComplete() && what(); }, mostMilliseconds);
    }
    QColor middle() {
        return m_globe->grabFramebuffer().pixelColor(m_globe->width() / 2, m_globe->height() / 2);
    }
    bool becomes(const QColor& colour, int mostMilliseconds = 20000) {
        return shows([&] { return isLike(middle(), colour); }, mostMilliseconds);
    }
    bool hasTrouble(const QString& words) {
        return waitUntil([&] {
            return inspection::baseLayerTrouble(
                       QString::fromStdString(m_globe->map().baseTroubles().front())) == words;
        });
    }
    QString hint() {
        return QString("middle %1, trouble %2")
            .arg(middle().name(), QString::fromStdString(m_globe->map().baseTroubles().front()));
    }

    // Removes the tiles of this content from the cache; how many there were.
    int removeTiles(const QByteArray& png) {
        int removed = 0;
        QDirIterator files(m_folder.filePath("cache"), QDir::Files, QDirIterator::Subdirectories);
        while (files.hasNext()) {
            QFile file(files.next());
            removed += file.open(QIODevice::ReadOnly) && file.readAll() == png && file.remove() ? 1 : 0;
        }
        return removed;
    }

    // The documents of map services are as old as if the program had not run for a month.
    void ageCapabilities() {
        QDirIterator files(m_folder.filePath("cache"), {"capabilities.xml"}, QDir::Files,
                           QDirIterator::Subdirectories);
        while (files.hasNext()) {
            QFile file(files.next());
            EXPECT_TRUE(file.open(QIODevice::ReadWrite));
            EXPECT_TRUE(file.setFileTime(QDateTime::currentDateTime().addDays(-30),
                                         QFileDevice::FileModificationTime));
        }
    }

    QTemporaryDir m_folder;
    std::unique_ptr<GlobeWidget> m_globe;
    osg::ref_ptr<FrameCounter> m_counter;
};

TEST_F(BaseRastersTest, TilesOfAServerAppear) {
    TileServer server(TileServer::always(kRed));
    show({raster(server.address())});
    EXPECT_TRUE(becomes(kRed)) << hint().toStdString();
    EXPECT_EQ(m_globe->map().baseTroubles(), std::vector<std::string>{""});
    EXPECT_TRUE(waitUntil([this] { return !m_globe->map().isLoading(); }));
    EXPECT_TRUE(waitUntil([this] { return m_globe->isPictureComplete(); }));
}

TEST_F(BaseRastersTest, TilesLieWhereTheirNumbersSay) {
    // North of the equator red, south of it blue.
    const QByteArray north = TileServer::tile(kRed);
    const QByteArray south = TileServer::tile(kBlue);
    TileServer server([&](const TileServer::Tile& tile) {
        return TileServer::Answer{200, tile.row < (1 << tile.level) / 2 ? north : south};
    });
    show({raster(server.address())});
    EXPECT_TRUE(becomes(kRed)) << hint().toStdString();
    show({raster(server.address("{-y}"))});
    EXPECT_TRUE(becomes(kBlue)) << hint().toStdString();
}

TEST_F(BaseRastersTest, ThePasswordIsSentAsAHeader) {
    TileServer server(TileServer::always(kRed));
    show({raster(server.address("{y}", "user:pass%20word@"))});
    EXPECT_TRUE(becomes(kRed)) << hint().toStdString();
    EXPECT_EQ(server.authorization(), "Basic " + QByteArray("user:pass word").toBase64());
}

TEST_F(BaseRastersTest, AWebMapTileServiceAppears) {
    TileServer server(TileServer::always(kGreen));
    show({raster(server.wmts())});
    EXPECT_TRUE(becomes(kGreen)) << hint().toStdString();
    show({raster(server.wmts() + ",layer=none")});
    EXPECT_TRUE(hasTrouble("不是可以识别的栅格或服务")) << hint().toStdString();
}

TEST_F(BaseRastersTest, AServerThatNeverAnswersHoldsUpNothing) {
    TileServer server(TileServer::silence());
    show({raster(server.address()), raster(server.wmts())});
    ASSERT_TRUE(waitUntil([&] { return server.silentConnections() > 0; }));

    const std::string local = writeRaster(m_folder.filePath("local.tif"), kBlue);
    ASSERT_FALSE(m_globe->map().addImagery("local", local));
    m_globe->requestRedraw();
    EXPECT_TRUE(becomes(kBlue, 5000)) << hint().toStdString();
    EXPECT_TRUE(waitUntil([this] { return m_globe->isPictureComplete(); }, 5000));
    const int before = m_counter->frames;
    m_globe->requestRedraw();
    EXPECT_TRUE(waitUntil([&] { return m_counter->frames > before; }, 2000));
    // Two threads with four connections each, and two for the capabilities.
    EXPECT_LE(server.silentConnections(), 10);

    EXPECT_GT(server.silentConnections(), 0);
    QElapsedTimer closing;
    closing.start();
    show({});
    m_globe.reset();
    EXPECT_LT(closing.elapsed(), 2000);
    EXPECT_GT(server.silentConnections(), 0) << "nothing was held up while it closed";
    EXPECT_FALSE(GlobeMap::finishLoading(0));
    server.stop();
    EXPECT_TRUE(GlobeMap::finishLoading(20000));
}

TEST_F(BaseRastersTest, AServerThatNeverAnswersIsToldAndALocalBaseRasterBesideItAppears) {
    TileServer server(TileServer::silence());
    const std::string local = writeRaster(m_folder.filePath("local.tif"), kBlue);
    show({raster(server.address()), raster(QString::fromStdString(local))});
    EXPECT_TRUE(becomes(kBlue, 8000)) << hint().toStdString();
    EXPECT_TRUE(hasTrouble("服务器没有应答")) << hint().toStdString();
}

struct BadAnswer {
    const char* name;
    TileServer::Answer answer;
    const char* trouble;
};

class BadAnswersTest : public BaseRastersTest, public ::testing::WithParamInterface<BadAnswer> {};

TEST_P(BadAnswersTest, AreToldAndWhatLiesBelowIsSeenUntilTheServerIsWell) {
    TileServer server([answer = GetParam().answer](const TileServer::Tile&) { return answer; });
    const std::string below = writeRaster(m_folder.filePath("below.tif"), kBlue);
    show({raster(server.address()), raster(QString::fromStdString(below))});
    EXPECT_TRUE(becomes(kBlue)) << hint().toStdString();
    show({raster(server.address())});
    EXPECT_TRUE(hasTrouble(QString::fromUtf8(GetParam().trouble))) << hint().toStdString();
    EXPECT_TRUE(waitUntil([this] { return m_globe->isPictureComplete(); }));
}

INSTANTIATE_TEST_SUITE_P(
    All, BadAnswersTest,
    ::testing::Values(BadAnswer{"NotFound", {404, "no"}, "服务器上没有这里的图块"},
                      BadAnswer{"Error", {500, "no"}, "服务器返回 HTTP 500"},
                      BadAnswer{"Forbidden", {403, "no"}, "服务器返回 HTTP 403"},
                      BadAnswer{"Garbage", {200, "<html>Log in</html>"}, "收到的不是图块"},
                      BadAnswer{"Truncated", {200, TileServer::tile(kRed).left(300)}, "收到的不是图块"}),
    [](const auto& info) { return std::string(info.param.name); });

TEST_F(BaseRastersTest, AServerThatIsMendedIsShown) {
    TileServer server([](const TileServer::Tile&) { return TileServer::Answer{500, {}}; });
    show({raster(server.address())});
    ASSERT_TRUE(hasTrouble("服务器返回 HTTP 500")) << hint().toStdString();
    server.setAnswers(TileServer::always(kRed));
    EXPECT_TRUE(becomes(kRed, 40000)) << hint().toStdString();
    EXPECT_EQ(m_globe->map().baseTroubles(), std::vector<std::string>{""});
}

TEST_F(BaseRastersTest, TilesThatWereSeenShowWithoutTheServer) {
    TileServer server(TileServer::always(kRed));
    const BaseRaster base = raster(server.address());
    show({base});
    ASSERT_TRUE(becomes(kRed)) << hint().toStdString();
    ASSERT_TRUE(waitUntil([this] { return !m_globe->map().isLoading(); }));
    show({});
    server.stop();
    ASSERT_TRUE(shows([this] { return !isLike(middle(), kRed); }));
    ASSERT_TRUE(waitUntil([] { return GlobeMap::finishLoading(0); }));
    show({base});
    EXPECT_TRUE(becomes(kRed)) << hint().toStdString();
}

TEST_F(BaseRastersTest, AWebMapTileServiceThatWasSeenShowsWithoutTheServer) {
    TileServer server(TileServer::always(kGreen));
    const BaseRaster base = raster(server.wmts());
    show({base});
    ASSERT_TRUE(becomes(kGreen)) << hint().toStdString();
    ASSERT_TRUE(waitUntil([this] { return !m_globe->map().isLoading(); }));
    show({});
    ASSERT_TRUE(shows([this] { return !isLike(middle(), kGreen); }));
    ASSERT_TRUE(waitUntil([] { return GlobeMap::finishLoading(0); }));
    server.stop();
    ageCapabilities();
    show({base});
    EXPECT_TRUE(becomes(kGreen)) << hint().toStdString();
    show({raster(server.wmts() + ",layer=ground")}); // never asked for before
    EXPECT_TRUE(hasTrouble("无法连接服务器")) << hint().toStdString();
}

TEST_F(BaseRastersTest, WhatAMapServiceSaysInsteadIsNotKept) {
    TileServer server(TileServer::always(kGreen));
    const BaseRaster base = raster(server.wmts());
    server.setCapabilities("<html>log in</html>");
    show({base});
    ASSERT_TRUE(hasTrouble("不是可以识别的栅格或服务")) << hint().toStdString();
    server.setCapabilities({});
    EXPECT_TRUE(becomes(kGreen, 40000)) << hint().toStdString();
}

TEST_F(BaseRastersTest, WhatOfAPictureWasSeenShowsWithoutTheServer) {
    const QByteArray coarse = TileServer::tile(kGreen);
    const QByteArray even = TileServer::tile(kRed);
    const QByteArray odd = TileServer::tile(kBlue);
    TileServer server([&](const TileServer::Tile& tile) {
        return TileServer::Answer{200, tile.level < 11 ? coarse : tile.row % 2 == 0 ? even : odd};
    });
    const BaseRaster base = raster(server.address());
    show({base});
    ASSERT_TRUE(shows([this] { return isLike(middle(), kRed) || isLike(middle(), kBlue); }));
    ASSERT_TRUE(waitUntil([this] { return !m_globe->map().isLoading(); }));
    show({});
    ASSERT_TRUE(waitUntil([this] { return m_globe->isPictureComplete(); }));
    ASSERT_TRUE(waitUntil([] { return GlobeMap::finishLoading(0); }));
    server.stop();
    EXPECT_GT(removeTiles(odd), 0); // every fine picture lacks some now
    show({base});
    const auto share = [this](const QColor& colour) {
        const QImage picture = m_globe->grabFramebuffer();
        int like = 0;
        for (int i = 0; i < picture.width() * picture.height(); ++i) {
            like += isLike(picture.pixelColor(i % picture.width(), i / picture.width()), colour) ? 1 : 0;
        }
        return static_cast<double>(like) / (picture.width() * picture.height());
    };
    // What lacks is filled from the coarser tiles; the pictures come one by one.
    EXPECT_TRUE(shows([&] { return share(kRed) > 0.02 && share(kRed) + share(kGreen) > 0.9; }))
        << share(kRed) << " red, " << share(kGreen) << " green";
}

TEST_F(BaseRastersTest, WhileTheServerIsAwayTheCacheIsShownAtOnceEverywhere) {
    TileServer server(TileServer::always(kRed));
    const BaseRaster base = raster(server.address());
    show({base});
    for (const double lon : {109.0, 120.0}) {
        look(2.0e4, lon);
        ASSERT_TRUE(becomes(kRed)) << hint().toStdString();
        ASSERT_TRUE(waitUntil([this] { return !m_globe->map().isLoading(); }));
    }
    show({});
    ASSERT_TRUE(shows([this] { return !isLike(middle(), kRed); }));
    ASSERT_TRUE(waitUntil([] { return GlobeMap::finishLoading(0); }));
    server.stop();
    show({base});
    look(2.0e4, 60.0); // never seen before
    ASSERT_TRUE(hasTrouble("无法连接服务器")) << hint().toStdString();
    look(2.0e4, 120.0);
    EXPECT_TRUE(becomes(kRed, 4000)) << hint().toStdString();
}

TEST_F(BaseRastersTest, BeyondTheFinestTilesTheCoarserOnesStay) {
    const QByteArray png = TileServer::tile(kRed);
    TileServer server([&](const TileServer::Tile& tile) {
        return tile.level <= 6 ? TileServer::Answer{200, png} : TileServer::Answer{404, {}};
    });
    show({raster(server.address())});
    EXPECT_TRUE(becomes(kRed)) << hint().toStdString();
    look(3.0e3);
    ASSERT_TRUE(waitUntil([this] { return !m_globe->map().isLoading(); }));
    EXPECT_TRUE(becomes(kRed)) << hint().toStdString();
}

TEST_F(BaseRastersTest, ALayerThatIsHiddenByTheProjectsImageryIsNotAskedFor) {
    const std::string local = writeRaster(m_folder.filePath("local.tif"), kBlue);
    ASSERT_FALSE(m_globe->map().addImagery("local", local));
    TileServer server(TileServer::always(kRed));
    show({raster(server.address())});
    EXPECT_TRUE(becomes(kBlue));
    ASSERT_TRUE(waitUntil([this] { return !m_globe->map().isLoading() && m_globe->isPictureComplete(); }));
    EXPECT_TRUE(isLike(middle(), kBlue)) << "base rasters lie below";
}

TEST_F(BaseRastersTest, OrderAndOpacityTakeEffectAtOnceAndKeepWhatIsLoaded) {
    TileServer server(TileServer::always(kRed));
    const BaseRaster red = raster(server.address());
    const BaseRaster blue = raster(QString::fromStdString(writeRaster(m_folder.filePath("blue.tif"), kBlue)));
    show({red, blue});
    ASSERT_TRUE(becomes(kBlue));
    show({blue, red});
    ASSERT_TRUE(becomes(kRed)) << hint().toStdString();
    ASSERT_TRUE(waitUntil([this] { return !m_globe->map().isLoading(); }));
    const int asked = server.requests();
    BaseRaster half = red;
    half.opacity = 0.5F;
    show({blue, half});
    EXPECT_TRUE(becomes(QColor(115, 35, 120))) << hint().toStdString();
    show({half, blue});
    EXPECT_TRUE(becomes(kBlue));
    EXPECT_EQ(server.requests(), asked);
}

TEST_F(BaseRastersTest, AFolderOfTilesAppearsAlsoWhereSomeLack) {
    const QString folder = m_folder.filePath("影像 瓦片");
    const QByteArray png = TileServer::tile(kGreen);
    for (int level = 0; level <= 7; ++level) { // only those about 109 east, 34 north
        const int column = static_cast<int>((109.0 + 180.0) / 360.0 * (1 << level));
        const double y = 0.5 - std::log(std::tan(M_PI / 4.0 + 34.0 * M_PI / 360.0)) / (2.0 * M_PI);
        const int row = static_cast<int>(y * (1 << level));
        const QString place = folder + QString("/%1/%2").arg(level).arg(column);
        ASSERT_TRUE(QDir().mkpath(place));
        QFile file(place + QString("/%1.png").arg(row));
        ASSERT_TRUE(file.open(QIODevice::WriteOnly) && file.write(png) == png.size());
    }
    show({raster(folder)});
    EXPECT_TRUE(becomes(kGreen)) << hint().toStdString();
    EXPECT_EQ(m_globe->map().baseTroubles(), std::vector<std::string>{""});
}

TEST_F(BaseRastersTest, AnMBTilesFileAppears) {
    const QString file = m_folder.filePath("底图.mbtiles");
    writeRaster(file, kGreen, "MBTiles");
    show({raster(file)});
    EXPECT_TRUE(becomes(kGreen)) << hint().toStdString();
}

TEST_F(BaseRastersTest, AFileThatLacksOrIsNoRasterIsTold) {
    show({raster(m_folder.filePath("none.tif"))});
    EXPECT_TRUE(hasTrouble("文件不存在")) << hint().toStdString();
    QFile file(m_folder.filePath("text.tif"));
    ASSERT_TRUE(file.open(QIODevice::WriteOnly) && file.write("no raster") > 0);
    file.close();
    show({raster(file.fileName())});
    EXPECT_TRUE(hasTrouble("不是可以识别的栅格或服务")) << hint().toStdString();
}

} // namespace
