#include "workbench/viewer/GlobeWidget.h"
#include "tests/support/Pointer.h"
#include "tests/support/WaitUntil.h"

#include <gtest/gtest.h>

#include <QFile>
#include <QLabel>
#include <QPainter>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>
#include <QWheelEvent>

#include <osg/GL>
#include <osgDB/DatabasePager>
#include <osgEarth/ObjectIndex>
#include <osgEarth/Registry>
#include <osgEarth/Viewpoint>
#include <osgEarthUtil/EarthManipulator>
#include <osgEarthUtil/RTTPicker>

#include <gdal_priv.h>

#include <cmath>
#include <memory>

namespace {

// Counts the frames by the one event that every frame has.
class FrameCounter : public osgGA::GUIEventHandler {
public:
    bool handle(const osgGA::GUIEventAdapter& ea, osgGA::GUIActionAdapter&) override {
        frames += ea.getEventType() == osgGA::GUIEventAdapter::FRAME ? 1 : 0;
        moves += ea.getEventType() == osgGA::GUIEventAdapter::MOVE ? 1 : 0;
        return false;
    }
    int frames = 0;
    int moves = 0;
};

class GlobeWidgetTest : public ::testing::Test {
protected:
    GlobeWidgetTest() : m_counter(new FrameCounter()) {
        m_globe.getViewer()->addEventHandler(m_counter.get());
        m_globe.resize(320, 240);
        m_globe.show();
        EXPECT_TRUE(QTest::qWaitForWindowExposed(&m_globe));
        EXPECT_TRUE(waitUntil([this] { return m_globe.isPictureComplete(); }, 20000));
    }

    GlobeWidget m_globe;
    osg::ref_ptr<FrameCounter> m_counter;
};

TEST_F(GlobeWidgetTest, IsTheOneViewerWhileItLives) {
    EXPECT_EQ(g_pCXviewer, static_cast<CXViewer*>(&m_globe));
    EXPECT_NE(g_pCXviewer->getViewer(), nullptr);
    EXPECT_NE(g_pCXviewer->getMapNode(), nullptr);
    EXPECT_NE(g_pCXviewer->getManipulator(), nullptr);
}

TEST_F(GlobeWidgetTest, AnIdleGlobeDrawsNothing) {
    const int before = m_counter->frames;
    // No condition to wait for: that nothing happens is the point.
    QTest::qWait(300);
    EXPECT_EQ(m_counter->frames, before);
}

TEST_F(GlobeWidgetTest, ARedrawRequestWakesItAndItFallsAsleepAgain) {
    const int before = m_counter->frames;
    QSignalSpy completed(&m_globe, &GlobeWidget::pictureCompleted);
    m_globe.requestRedraw();
    EXPECT_FALSE(m_globe.isPictureComplete());
    EXPECT_TRUE(waitUntil([&] { return !completed.isEmpty(); }));
    EXPECT_GT(m_counter->frames, before);
    EXPECT_TRUE(m_globe.isPictureComplete());
}

TEST_F(GlobeWidgetTest, WorkBetweenFramesRunsBeforeTheNextFrame) {
    std::vector<int> framesSeen;
    m_globe.setWorkBetweenFrames([&] { framesSeen.push_back(m_counter->frames); });
    const int before = m_counter->frames;
    m_globe.requestRedraw();
    EXPECT_TRUE(waitUntil([&] { return m_globe.isPictureComplete(); }));
    ASSERT_FALSE(framesSeen.empty());
    EXPECT_EQ(framesSeen.front(), before);
    m_globe.setWorkBetweenFrames({});
}

TEST_F(GlobeWidgetTest, RealMouseMovementReachesEventHandlersAndReportsThePlaceUnderThePointer) {
    m_globe.getManipulator()->setViewpoint(osgEarth::Viewpoint("", 109.0, 34.0, 0.0, 0.0, -89.9, 2.0e6));
    m_globe.requestRedraw();
    ASSERT_TRUE(waitUntil([&] { return m_globe.isPictureComplete(); }, 20000));
    QSignalSpy place(&m_globe, &GlobeWidget::pointerOnGlobe);
    QTest::mouseMove(&m_globe, QPoint(150, 110));
    QTest::mouseMove(&m_globe, m_globe.rect().center());
    ASSERT_TRUE(waitUntil([&] { return m_globe.isPictureComplete() && !place.isEmpty(); }));
    EXPECT_GT(m_counter->moves, 0);
    EXPECT_NEAR(place.last().at(0).toDouble(), 109.0, 0.1);
    EXPECT_NEAR(place.last().at(1).toDouble(), 34.0, 0.1);
}

// Newer toolkits leave blending on; with it the low colour channels of a picked id were lost, that is, all
// ids beyond 255.
TEST_F(GlobeWidgetTest, PickingStandsADrawingStateThatTheToolkitLeavesBehind) {
    class LastHit : public osgEarth::Picker::Callback {
    public:
        void onHit(osgEarth::ObjectID id) override { hit = id; }
        bool accept(const osgGA::GUIEventAdapter& ea, const osgGA::GUIActionAdapter&) override {
            return ea.getEventType() == osgGA::GUIEventAdapter::MOVE;
        }
        osgEarth::ObjectID hit = OSGEARTH_OBJECTID_EMPTY;
    };
    osgEarth::ObjectIndex* index = osgEarth::Registry::objectIndex();
    const osg::ref_ptr<osg::Group> another = new osg::Group;
    osgEarth::ObjectID id = OSGEARTH_OBJECTID_EMPTY;
    while (id <= 255) {
        id = index->tagNode(another, another);
    }
    index->tagNode(m_globe.getMapNode(), id);
    const osg::ref_ptr<LastHit> callback = new LastHit;
    const osg::ref_ptr<osgEarth::Util::RTTPicker> picker = new osgEarth::Util::RTTPicker(64);
    picker->addChild(m_globe.getMapNode());
    picker->setDefaultCallback(callback);
    m_globe.getViewer()->addEventHandler(picker);
    m_globe.setWorkBetweenFrames([] {
        glEnable(GL_BLEND);
        glBlendFunc(GL_SRC_ALPHA, GL_ONE_MINUS_SRC_ALPHA);
    });
    for (int place = 0; place < 4; ++place) { // state is only taken for known from the second frame on
        movePointer(m_globe, m_globe.rect().center() + QPoint(place, 0));
        callback->hit = OSGEARTH_OBJECTID_EMPTY;
        EXPECT_TRUE(waitUntil([&] { return callback->hit != OSGEARTH_OBJECTID_EMPTY; }, 5000));
        EXPECT_EQ(callback->hit, id);
    }
    m_globe.getViewer()->removeEventHandler(picker);
    m_globe.setWorkBetweenFrames({});
}

TEST_F(GlobeWidgetTest, TellsHowFarTheOverviewsOfALargeRasterAre) {
    const QTemporaryDir folder;
    const std::string file = folder.filePath("large.tif").toStdString();
    {
        GDALAllRegister();
        const std::unique_ptr<GDALDataset> raster(GetGDALDriverManager()->GetDriverByName("GTiff")->Create(
            file.c_str(), 9000, 3000, 1, GDT_Byte, nullptr));
        double place[6] = {109.0, 1e-5, 0.0, 34.0, 0.0, -1e-5};
        ASSERT_EQ(raster->SetGeoTransform(place), CE_None);
        ASSERT_EQ(raster->SetProjection("EPSG:4326"), CE_None);
        ASSERT_EQ(raster->GetRasterBand(1)->Fill(200.0), CE_None);
    }
    QSignalSpy preparation(&m_globe, &GlobeWidget::preparationChanged);
    ASSERT_FALSE(m_globe.map().addImagery("large", file));
    m_globe.requestRedraw();
    ASSERT_TRUE(
        waitUntil([&] { return !preparation.isEmpty() && preparation.last().at(0).toInt() == 100; }, 20000));
    EXPECT_LT(preparation.first().at(0).toInt(), 100);
    EXPECT_TRUE(waitUntil([&] { return m_globe.isPictureComplete(); }, 20000));
    EXPECT_TRUE(QFile::exists(folder.filePath("large.tif.ovr")));
    m_globe.map().removeLayer("large");
}

TEST_F(GlobeWidgetTest, DraggingWithTheLeftButtonGrabsTheGround) {
    m_globe.getManipulator()->setViewpoint(osgEarth::Viewpoint("", 109.0, 34.0, 0.0, 0.0, -89.9, 2.0e6));
    m_globe.requestRedraw();
    ASSERT_TRUE(waitUntil([&] { return m_globe.isPictureComplete(); }, 20000));
    const QPoint centre = m_globe.rect().center();
    QTest::mousePress(&m_globe, Qt::LeftButton, Qt::NoModifier, centre);
    ASSERT_TRUE(waitUntil([&] { return m_globe.isPictureComplete(); }));
    for (int step = 1; step <= 6; ++step) {
        movePointer(m_globe, centre + QPoint(step * 10, 0), Qt::LeftButton);
    }
    ASSERT_TRUE(waitUntil([&] { return m_globe.isPictureComplete(); }));
    QTest::mouseRelease(&m_globe, Qt::LeftButton, Qt::NoModifier, centre + QPoint(60, 0));
    ASSERT_TRUE(waitUntil([&] { return m_globe.isPictureComplete(); }));
    // The ground went east with the pointer, so the view now looks at a place further west.
    EXPECT_LT(m_globe.getManipulator()->getViewpoint().focalPoint()->x(), 108.5);
}

TEST_F(GlobeWidgetTest, PlusAndMinusZoomAboutTheMiddle) {
    m_globe.getManipulator()->setViewpoint(osgEarth::Viewpoint("", 109.0, 34.0, 0.0, 0.0, -89.9, 2.0e6));
    m_globe.requestRedraw();
    ASSERT_TRUE(waitUntil([&] { return m_globe.isPictureComplete(); }, 20000));
    movePointer(m_globe, QPoint(40, 40));
    const double before = m_globe.getManipulator()->getDistance();
    QTest::keyClick(&m_globe, Qt::Key_Plus, Qt::ShiftModifier);
    ASSERT_TRUE(waitUntil([&] { return m_globe.getManipulator()->getDistance() < before * 0.9; }));
    EXPECT_NEAR(m_globe.getManipulator()->getViewpoint().focalPoint()->x(), 109.0, 0.01);
    QTest::keyClick(&m_globe, Qt::Key_Minus);
    ASSERT_TRUE(waitUntil([&] { return m_globe.getManipulator()->getDistance() > before * 0.99; }));
    EXPECT_NEAR(m_globe.getManipulator()->getViewpoint().focalPoint()->y(), 34.0, 0.01);
}

TEST_F(GlobeWidgetTest, TheWheelGoesNearerWhenItIsTurnedForward) {
    m_globe.getManipulator()->setViewpoint(osgEarth::Viewpoint("", 109.0, 34.0, 0.0, 0.0, -89.9, 2.0e6));
    m_globe.requestRedraw();
    ASSERT_TRUE(waitUntil([&] { return m_globe.isPictureComplete(); }, 20000));
    const double before = m_globe.getManipulator()->getDistance();
    const auto turn = [&](int eighths) {
        QWheelEvent event({160, 120}, m_globe.mapToGlobal(QPointF(160, 120)), {}, {0, eighths}, Qt::NoButton,
                          Qt::NoModifier, Qt::NoScrollPhase, false);
        QApplication::sendEvent(&m_globe, &event);
    };
    turn(120);
    ASSERT_TRUE(waitUntil([&] { return m_globe.getManipulator()->getDistance() < before * 0.95; }));
    turn(-120);
    turn(-120);
    EXPECT_TRUE(waitUntil([&] { return m_globe.getManipulator()->getDistance() > before * 1.02; }));
}

TEST_F(GlobeWidgetTest, AClickOnTheCompassTurnsTheViewNorthAndKeepsPlaceTiltAndRange) {
    m_globe.getManipulator()->setViewpoint(osgEarth::Viewpoint("", 109.0, 34.0, 0.0, 70.0, -40.0, 2.0e5));
    m_globe.requestRedraw();
    ASSERT_TRUE(waitUntil([&] { return m_globe.isPictureComplete(); }, 20000));
    auto* compass = m_globe.findChild<QWidget*>("compass");
    ASSERT_NE(compass, nullptr);
    QTest::mouseClick(compass, Qt::LeftButton);
    ASSERT_TRUE(waitUntil(
        [&] {
            return m_globe.isPictureComplete() &&
                   std::abs(m_globe.getManipulator()->getViewpoint().heading()->as(
                       osgEarth::Units::DEGREES)) < 0.01;
        },
        20000));
    const osgEarth::Viewpoint after = m_globe.getManipulator()->getViewpoint();
    EXPECT_NEAR(after.pitch()->as(osgEarth::Units::DEGREES), -40.0, 0.01);
    EXPECT_NEAR(after.range()->as(osgEarth::Units::METERS), 2.0e5, 10.0);
    EXPECT_NEAR(after.focalPoint()->x(), 109.0, 1e-4);
    EXPECT_NEAR(after.focalPoint()->y(), 34.0, 1e-4);
}

TEST_F(GlobeWidgetTest, AWorldPictureLiesWhereItsPlacesAre) {
    const QTemporaryDir folder;
    QImage picture(360, 180, QImage::Format_RGB32); // one pixel a degree
    picture.fill(Qt::blue);
    QPainter(&picture).fillRect(180 + 104, 90 - 39, 10, 10, Qt::red); // 104..114 east, 29..39 north
    const std::string path = folder.filePath("world.png").toStdString();
    ASSERT_TRUE(picture.save(QString::fromStdString(path)));
    ASSERT_EQ(m_globe.map().addWorldBackdrop(path), std::nullopt);
    const auto colourAt = [this](double lon, double lat) {
        m_globe.getManipulator()->setViewpoint(osgEarth::Viewpoint("", lon, lat, 0.0, 0.0, -89.9, 1.0e6));
        m_globe.requestRedraw();
        EXPECT_TRUE(waitUntil([&] { return m_globe.isPictureComplete(); }, 20000));
        return m_globe.grabFramebuffer().pixelColor(m_globe.width() / 2, m_globe.height() / 2);
    };
    const QColor inside = colourAt(105.0, 38.0);
    EXPECT_GT(inside.red(), inside.blue() + 60);
    const QColor beside = colourAt(103.0, 40.0);
    EXPECT_GT(beside.blue(), beside.red() + 60);
    EXPECT_LT(beside.saturation(), 160) << "what was surveyed stands out";
}

TEST_F(GlobeWidgetTest, SaysThatItIsLoadingWhenThatTakesLongerThanAMoment) {
    const auto* sign = m_globe.findChild<QLabel*>("loadingSign");
    ASSERT_NE(sign, nullptr);
    EXPECT_FALSE(sign->isVisible());
    const QTemporaryDir folder;
    QImage picture(3600, 1800, QImage::Format_RGB32);
    picture.fill(Qt::blue);
    const QString path = folder.filePath("world.png");
    ASSERT_TRUE(picture.save(path));
    ASSERT_EQ(m_globe.map().addWorldBackdrop(path.toStdString()), std::nullopt);
    osgDB::DatabasePager* pager = m_globe.getViewer()->getDatabasePager();
    pager->setDatabasePagerThreadPause(true);
    m_globe.getManipulator()->setViewpoint(osgEarth::Viewpoint("", 80.0, 20.0, 0.0, 0.0, -89.9, 1.0e5));
    m_globe.requestRedraw();
    EXPECT_TRUE(waitUntil([&] { return sign->isVisible(); }, 20000));
    pager->setDatabasePagerThreadPause(false);
    EXPECT_TRUE(waitUntil([&] { return m_globe.isPictureComplete(); }, 20000));
    EXPECT_FALSE(sign->isVisible());
}

TEST_F(GlobeWidgetTest, AWorldPictureThatCannotBeReadIsNamed) {
    EXPECT_EQ(m_globe.map().addWorldBackdrop("/nowhere/world.png"),
              std::optional<std::string>("/nowhere/world.png: cannot be read"));
}

TEST_F(GlobeWidgetTest, TheSkyIsBlueFromTheGroundAndDarkFromSpace) {
    const auto skyColour = [this](double pitchDegrees, double rangeMetres) {
        m_globe.getManipulator()->setViewpoint(
            osgEarth::Viewpoint("", 109.0, 34.0, 0.0, 0.0, pitchDegrees, rangeMetres));
        m_globe.requestRedraw();
        EXPECT_TRUE(waitUntil([&] { return m_globe.isPictureComplete(); }, 20000));
        return m_globe.grabFramebuffer().pixelColor(2, 2);
    };
    const QColor air = skyColour(-3.0, 3000.0);
    EXPECT_GT(air.blue(), 180);
    EXPECT_GT(air.blue(), air.red() + 30);
    const QColor space = skyColour(-89.9, 4.0e7);
    EXPECT_LT(space.blue(), 60);
}

} // namespace
