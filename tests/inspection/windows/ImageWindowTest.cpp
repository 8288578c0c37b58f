#include "tests/inspection/windows/WindowFixture.h"

#include "host/inspection/KVImageWindow.h"
#include "host/inspection/StationWindow.h"
#include "workbench/inspection/project/Project.h"
#include "workbench/inspection/windows/ElevationLine.h"
#include "workbench/inspection/windows/GroundView.h"
#include "workbench/inspection/windows/ImageWindow.h"

#include <osgEarthUtil/EarthManipulator>

#include <QApplication>
#include <QLabel>
#include <QSet>
#include <QTest>
#include <QWheelEvent>

#include <cmath>

namespace {

class ImageWindowTest : public InspectionWindowTest {
protected:
    void computeAll() {
        openSample();
        computeStations(4);
        m_item = checkedStationWithMostAnomalies();
    }
    inspection::ImageWindow& images() { return *m_window->findChild<inspection::ImageWindow*>(); }
    QWidget& pane(const char* name) { return *m_window->findChild<QWidget*>(name); }
    bool shown() {
        return waitUntil([this] { return !images().isReading(); });
    }
    /// Different colours in a pane.
    static int colours(QWidget& pane) {
        const QImage picture = pane.grab().toImage();
        QSet<QRgb> seen;
        for (int y = 0; y < picture.height(); y += 3) {
            for (int x = 0; x < picture.width(); x += 3) {
                seen.insert(picture.pixel(x, y));
            }
        }
        return static_cast<int>(seen.size());
    }

    /// True when nearly all of a pane has one colour, as under a notice.
    static bool isPlain(QWidget& pane) {
        const QImage picture = pane.grab().toImage();
        const QRgb background = picture.pixel(picture.width() - 3, picture.height() - 3);
        int same = 0;
        for (int y = 0; y < picture.height(); ++y) {
            for (int x = 0; x < picture.width(); ++x) {
                same += picture.pixel(x, y) == background ? 1 : 0;
            }
        }
        return same > 0.85 * picture.width() * picture.height();
    }

    KV_StationItem* m_item = nullptr;
};

TEST_F(ImageWindowTest, ShowsBothEpochsTheDifferencesAndTheProfile) {
    computeAll();
    EXPECT_LT(colours(pane("oldPane")), 100);
    images().CreatZoomItem(m_item, m_item->m_diffData.m_anomalies.at(0));
    ASSERT_TRUE(shown());
    EXPECT_GT(colours(pane("oldPane")), 200);
    EXPECT_GT(colours(pane("newPane")), 200);
    EXPECT_GT(colours(pane("differencePane")), 200);
    EXPECT_NE(pane("oldPane").grab().toImage(), pane("newPane").grab().toImage());
    EXPECT_TRUE(m_window->findChild<QLabel*>("imageCaption")->text().contains("面积"));
    keepPicture(images(), "image-window");
}

TEST_F(ImageWindowTest, PanesPanAndZoomTogether) {
    computeAll();
    images().CreatZoomItem(m_item, m_item->m_diffData.m_anomalies.at(0));
    ASSERT_TRUE(shown());
    auto* view = images().findChild<inspection::GroundView*>();
    ASSERT_NE(view, nullptr);
    const QPointF centre = view->centre();
    const double metresPerPixel = view->metresPerPixel();

    QTest::mousePress(&pane("oldPane"), Qt::LeftButton, {}, QPoint(60, 100));
    QTest::mouseMove(&pane("oldPane"), QPoint(90, 100));
    QTest::mouseRelease(&pane("oldPane"), Qt::LeftButton, {}, QPoint(90, 100));
    EXPECT_NEAR(view->centre().x(), centre.x() - 30.0 * metresPerPixel, 1e-6);
    const QImage moved = pane("newPane").grab().toImage();

    const QPoint at(50, 50);
    QWheelEvent wheel(at, pane("newPane").mapToGlobal(at), {}, QPoint(0, 120), Qt::NoButton, Qt::NoModifier,
                      Qt::NoScrollPhase, false);
    QApplication::sendEvent(&pane("newPane"), &wheel);
    EXPECT_LT(view->metresPerPixel(), metresPerPixel);
    EXPECT_NE(pane("newPane").grab().toImage(), moved);
    ASSERT_TRUE(shown());

    QTest::mouseDClick(&pane("newPane"), Qt::LeftButton, {}, at);
    EXPECT_NEAR(view->centre().x(), centre.x(), 1e-6);
    EXPECT_NEAR(view->metresPerPixel(), metresPerPixel, 1e-9);
}

TEST_F(ImageWindowTest, ARecordWithoutExtentShowsTheWholeStation) {
    computeAll();
    images().CreatZoomItem(m_item, SdiffData());
    ASSERT_TRUE(shown());
    const auto* view = images().findChild<inspection::GroundView*>();
    const KV_Station& place = m_item->m_station;
    EXPECT_NEAR(view->centre().x(), (place.m_xMin + place.m_xMax) / 2.0, 1e-6);
    EXPECT_GE(view->metresPerPixel() * pane("oldPane").width(), place.m_xMax - place.m_xMin);
    EXPECT_GT(colours(pane("oldPane")), 200);
    keepPicture(images(), "image-window-station");
}

TEST_F(ImageWindowTest, WithoutOrthophotosItShowsHillShade) {
    computeAll();
    const auto& project = context().project()->description();
    ASSERT_TRUE(QFile::remove(project.oldEpoch().dom));
    images().CreatZoomItem(m_item, m_item->m_diffData.m_anomalies.at(0));
    ASSERT_TRUE(shown());
    const QImage picture = pane("oldPane").grab().toImage();
    const QColor at = picture.pixelColor(picture.width() - 20, picture.height() - 20);
    EXPECT_LT(std::max({at.red(), at.green(), at.blue()}) - std::min({at.red(), at.green(), at.blue()}), 12)
        << "grey";
    EXPECT_GT(colours(pane("oldPane")), 100);
    keepPicture(images(), "image-window-relief");
}

TEST_F(ImageWindowTest, ADoubleClickOnARowShowsTheAnomalyAndFliesThere) {
    computeAll();
    QTest::mouseClick(tree().viewport(), Qt::LeftButton, {}, tree().visualItemRect(station(0)).center());
    context().GetStationWindow()->SetcurrentdiffSelected(m_item);
    context().GetAVWindow();
    for (int i = 0; i < 4; ++i) {
        if (station(i)->data(0, Qt::UserRole).toUInt() == m_item->GetStationId()) {
            tree().setCurrentItem(nullptr);
            QTest::mouseClick(tree().viewport(), Qt::LeftButton, {},
                              tree().visualItemRect(station(i)).center());
        }
    }
    ASSERT_GT(table().model()->rowCount(), 0);
    const QPoint at = table().visualRect(table().model()->index(0, 0)).center();
    QTest::mouseClick(table().viewport(), Qt::LeftButton, {}, at);
    QTest::mouseDClick(table().viewport(), Qt::LeftButton, {}, at);
    const QString name = table().model()->index(0, 0).data().toString();
    EXPECT_TRUE(m_window->findChild<QLabel*>("imageCaption")->text().contains(name));
    ASSERT_TRUE(shown());
    EXPECT_TRUE(waitUntil([this] {
        const osgEarth::Viewpoint view = m_globe->getManipulator()->getViewpoint();
        return view.isValid() && view.getRange() < 1000.0;
    }));
    keepPicture(*m_window, "window-anomaly");
}

TEST_F(ImageWindowTest, ClosingTheProjectEmptiesIt) {
    computeAll();
    images().CreatZoomItem(m_item, m_item->m_diffData.m_anomalies.at(0));
    context().closeProject();
    ASSERT_TRUE(shown());
    EXPECT_LT(colours(pane("oldPane")), 100);
    images().CreatZoomItem(nullptr, SdiffData());
    EXPECT_LT(colours(pane("newPane")), 100);
}

TEST_F(ImageWindowTest, ElevationsAlongALineFollowTheRasterAndItsEdges) {
    openSample();
    const auto& project = context().project()->description();
    clickCheckBox(station(0));
    const KV_Station place = context().GetStationWindow()->GetSelectedStationItem().at(0)->m_station;
    const double y = (place.m_yMin + place.m_yMax) / 2.0;
    const QLineF inside((place.m_xMin + place.m_xMax) / 2.0, y, (place.m_xMin + place.m_xMax) / 2.0 + 10.0,
                        y);
    const auto elevations = inspection::sampleElevations(project.oldEpoch().dsm, project.crs, inside, 50);
    ASSERT_EQ(elevations.size(), 50U);
    for (const double metres : elevations) {
        EXPECT_TRUE(std::isfinite(metres));
    }
    const auto outside =
        inspection::sampleElevations(project.oldEpoch().dsm, project.crs, inside.translated(1e6, 0.0), 3);
    ASSERT_EQ(outside.size(), 3U);
    EXPECT_TRUE(std::isnan(outside[0]));
    EXPECT_TRUE(inspection::sampleElevations("/does/not/exist.tif", project.crs, inside, 3).empty());
    EXPECT_TRUE(inspection::sampleElevations(project.oldEpoch().dsm, "nonsense", inside, 3).empty());
}

} // namespace
