// A project whose epochs lie with a web server, on the globe.

#include "tests/app/SampleProject.h"
#include "tests/support/PictureDifference.h"
#include "tests/support/ServedProject.h"
#include "tests/support/WaitUntil.h"

#include "workbench/app/MainWindow.h"
#include "workbench/inspection/context/InspectionContext.h"
#include "workbench/viewer/GlobeWidget.h"

#include <gtest/gtest.h>

#include <osgEarth/ElevationQuery>
#include <osgEarth/MapNode>
#include <osgEarth/Viewpoint>
#include <osgEarthUtil/EarthManipulator>

#include <QComboBox>
#include <QLabel>
#include <QTest>

#include <algorithm>

namespace {

constexpr int kLongMilliseconds = 120000;

class ServedRastersTest : public testing::Test {
protected:
    ServedRastersTest() {
        m_window.show();
        EXPECT_TRUE(QTest::qWaitForWindowExposed(&m_window));
    }

    void openOf(const WebServer& server) {
        ASSERT_NO_FATAL_FAILURE(takeEpochsFrom(server, m_project.folder()));
        open();
    }
    void open() {
        const auto problem = m_window.openProject(m_project.folder());
        ASSERT_FALSE(problem.has_value()) << problem->toStdString();
    }
    GlobeWidget& globe() { return m_window.globe(); }
    osgEarth::Viewpoint view() { return globe().getManipulator()->getViewpoint(); }
    bool hasAll() {
        return waitUntil([this] { return !globe().map().isLoading() && globe().isPictureComplete(); },
                         kLongMilliseconds);
    }
    QImage picture(const osgEarth::Viewpoint& viewpoint) {
        globe().getManipulator()->setViewpoint(viewpoint, 0.0);
        globe().requestRedraw();
        EXPECT_TRUE(hasAll());
        return globe().grabFramebuffer();
    }
    /// Share of the pixels in which something else is to be seen.
    static double shareOfOthers(const QImage& a, const QImage& b) {
        constexpr int kOther = 60;
        int others = 0;
        for (int y = 0; y < a.height(); ++y) {
            for (int x = 0; x < a.width(); ++x) {
                others += std::abs(qGray(a.pixel(x, y)) - qGray(b.pixel(x, y))) > kOther ? 1 : 0;
            }
        }
        return double(others) / (double(a.width()) * a.height());
    }
    float heightInTheMiddle(const osgEarth::Viewpoint& viewpoint) {
        osgEarth::ElevationQuery query(globe().getMapNode()->getMap());
        return query.getElevation(osgEarth::GeoPoint(osgEarth::SpatialReference::get("wgs84"),
                                                     viewpoint.focalPoint()->x(),
                                                     viewpoint.focalPoint()->y()));
    }
    bool tells(const QString& words) {
        return waitUntil([&] {
            const auto labels = m_window.findChildren<QLabel*>();
            return std::any_of(labels.begin(), labels.end(),
                               [&](const QLabel* label) { return label->text().contains(words); });
        });
    }

    SampleProject m_project{1024};
    MainWindow m_window;
};

TEST_F(ServedRastersTest, GroundAndLineLookAsThoseOfTheFolder) {
    ASSERT_NO_FATAL_FAILURE(open());
    const osgEarth::Viewpoint whole = view();
    osgEarth::Viewpoint close = whole;
    close.range() = osgEarth::Distance(700.0);
    const QImage wholeOfTheFolder = picture(whole);
    const QImage closeOfTheFolder = picture(close);
    const float height = heightInTheMiddle(close);
    ASSERT_GT(meanDifference(wholeOfTheFolder, closeOfTheFolder), 20.0);

    const WebServer server(m_project.folder());
    ASSERT_NO_FATAL_FAILURE(openOf(server));
    const QImage closeOfTheServer = picture(close);
    EXPECT_LT(meanDifference(closeOfTheServer, closeOfTheFolder), 2.0);
    EXPECT_LT(shareOfOthers(closeOfTheServer, closeOfTheFolder), 0.0003)
        << "the line lies on the ground, too";
    EXPECT_LT(meanDifference(picture(whole), wholeOfTheFolder), 2.0);
    EXPECT_NEAR(heightInTheMiddle(close), height, 0.05);
}

TEST_F(ServedRastersTest, TheViewGoesToTheGroundWhenItsHeightsCome) {
    WebServer server(m_project.folder());
    server.fallSilent();
    ASSERT_NO_FATAL_FAILURE(openOf(server));
    ASSERT_TRUE(waitUntil([this] { return globe().isPictureComplete(); }, kLongMilliseconds))
        << "a silent server holds nothing up";
    EXPECT_TRUE(globe().map().isLoading());
    const double before = view().focalPoint()->z();
    server.goOn();
    ASSERT_TRUE(hasAll());
    const float ground = heightInTheMiddle(view());
    EXPECT_GT(std::abs(ground - before), 10.0) << "nothing was to be seen of it";
    EXPECT_TRUE(waitUntil([&] { return std::abs(view().focalPoint()->z() - double{ground}) < 10.0; }));
}

TEST_F(ServedRastersTest, AViewThatTheUserHasMovedStays) {
    WebServer server(m_project.folder());
    server.fallSilent();
    ASSERT_NO_FATAL_FAILURE(openOf(server));
    osgEarth::Viewpoint own = view();
    own.range() = osgEarth::Distance(777.0);
    globe().getManipulator()->setViewpoint(own, 0.0);
    server.goOn();
    ASSERT_TRUE(hasAll());
    EXPECT_NEAR(view().range()->getValue(), 777.0, 1.0);
}

TEST_F(ServedRastersTest, AServerThatIsGoneIsToldAndComesBack) {
    WebServer server(m_project.folder());
    server.stop();
    ASSERT_NO_FATAL_FAILURE(openOf(server));
    EXPECT_TRUE(tells("无法读取：无法连接服务器"));
    EXPECT_TRUE(globe().map().isLoading());
    server.start();
    EXPECT_TRUE(hasAll()) << "it is asked again by itself";
    EXPECT_GT(heightInTheMiddle(view()), -1000.0F);
}

TEST_F(ServedRastersTest, AnotherEpochIsShownWhileTheServerIsSilent) {
    WebServer server(m_project.folder());
    ASSERT_NO_FATAL_FAILURE(openOf(server));
    ASSERT_TRUE(hasAll());
    server.fallSilent();
    m_window.findChild<QComboBox*>("epochs")->setCurrentIndex(0);
    ASSERT_TRUE(waitUntil([this] { return globe().isPictureComplete(); }, kLongMilliseconds));
    EXPECT_EQ(m_window.shownEpoch(), "2024-05-18");
    server.goOn();
    ASSERT_TRUE(hasAll());
    EXPECT_GT(heightInTheMiddle(view()), -1000.0F);
}

} // namespace
