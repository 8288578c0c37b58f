// What the drawing tool shows on steep ground, seen from the side.

#include "tests/plugin/special/SpecialFixture.h"

#include <QApplication>
#include <QImage>

#include <osgEarth/SpatialReference>
#include <osgEarth/Viewpoint>
#include <osgEarthUtil/EarthManipulator>

#include <cmath>
#include <cstdlib>

namespace {

/// Looking north along the ridge, which lies three degrees west of the small project.
class OnARidge : public SpecialTest {
protected:
    static constexpr int kEpsg = 4546;

    static void SetUpTestSuite() {
        SpecialTest::SetUpTestSuite();
        const QString file = original().file("ridge.tif");
        SmallProject::writeHeights(file, SmallProject::ridgeHeight, kEpsg);
        const auto problem = PluginHost::instance().globe->map().addElevation("ridge", file.toStdString());
        ASSERT_FALSE(problem) << *problem;
    }
    static void TearDownTestSuite() { PluginHost::instance().globe->map().removeLayer("ridge"); }

    OnARidge() : SpecialTest("添加特殊面", "CdrawPolygonDlg", "ROIArea") {
        const osg::Vec2d middle = place(100.0, 40.0);
        m_host.globe->getManipulator()->setViewpoint(
            osgEarth::Viewpoint("", middle.x(), middle.y(), 20.0, 0.0, -25.0, 220.0));
        m_host.settle();
    }

    /// Longitude and latitude of metres from the ridge's south-western corner.
    static osg::Vec2d place(double east, double north) {
        const auto* srs = osgEarth::SpatialReference::get("EPSG:" + std::to_string(kEpsg));
        osg::Vec3d lonLat;
        srs->transform(osg::Vec3d(SmallProject::kLeft + east, SmallProject::kTop - 80.0 + north, 0.0),
                       srs->getGeographicSRS(), lonLat);
        return {lonLat.x(), lonLat.y()};
    }
    QPoint onRidge(double east, double north) const { return pixelOf(place(east, north)); }

    QImage picture() {
        m_host.settle();
        QImage image = m_host.globe->grabFramebuffer();
        if (const QString folder = qEnvironmentVariable("CORRIDOR_TEST_PICTURES"); !folder.isEmpty()) {
            image.save(folder + QString("/ridge-%1.png").arg(++m_pictures));
        }
        return image;
    }
    /// How much three by three pixels differ between two pictures: the largest difference of a channel.
    static int difference(const QImage& before, const QImage& after, const QPoint& centre) {
        int most = 0;
        for (int dy = -1; dy <= 1; ++dy) {
            for (int dx = -1; dx <= 1; ++dx) {
                const QColor a = before.pixelColor(centre + QPoint(dx, dy));
                const QColor b = after.pixelColor(centre + QPoint(dx, dy));
                most = std::max({most, std::abs(a.red() - b.red()), std::abs(a.green() - b.green()),
                                 std::abs(a.blue() - b.blue())});
            }
        }
        return most;
    }

private:
    int m_pictures = 0;
};

TEST_F(OnARidge, TheRubberBandRunsOverTheGroundAndNotThroughTheAir) {
    startTool();
    leftClick(onRidge(40, 30));
    leftClick(onRidge(60, 60));
    const QImage before = picture();
    moveTo(onRidge(160, 30));
    const QImage after = picture();
    // From the first vertex over the crest to the pointer.
    for (const double east : {70.0, 85.0, 100.0, 115.0, 130.0}) {
        EXPECT_GT(difference(before, after, onRidge(east, 30)), 20) << east;
    }
    const QPoint straight = (onRidge(40, 30) + onRidge(160, 30)) / 2;
    EXPECT_GT((straight - onRidge(100, 30)).manhattanLength(), 30) << "the ridge is steep";
    EXPECT_LT(difference(before, after, straight), 10);
}

TEST_F(OnARidge, TheFillCoversTheGroundOnBothSidesOfTheCrest) {
    startTool();
    const QImage before = picture();
    for (const auto& [east, north] : {std::pair(40.0, 20.0), {160.0, 20.0}, {160.0, 60.0}}) {
        leftClick(onRidge(east, north));
    }
    rightClick(onRidge(40, 60));
    const QImage after = picture();
    for (const double east : {60.0, 80.0, 100.0, 120.0, 140.0}) {
        const QColor filled = after.pixelColor(onRidge(east, 40));
        EXPECT_GT(filled.red() - filled.blue(), 60) << "yellow at " << east;
        EXPECT_LT(difference(before, after, onRidge(east, 8)), 12) << "beside the area at " << east;
    }
    // The chord of the southern edge lies inside the hill: nothing of it is to be seen before the foot.
    const QPoint chord = (onRidge(40, 20) + onRidge(160, 20)) / 2;
    EXPECT_LT(difference(before, after, chord), 12);
}

} // namespace
