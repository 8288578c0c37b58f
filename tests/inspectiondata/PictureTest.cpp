#include "Opened.h"

#include "workbench/inspectiondata/pictures/RasterPicture.h"
#include "workbench/inspectiondata/pipeline/Pipeline.h"

namespace {

using namespace inspection;

PictureWindow wholeWindow() {
    return {"EPSG:4547",
            SmallProject::kLeft,
            SmallProject::kTop - 80.0,
            SmallProject::kLeft + 200.0,
            SmallProject::kTop,
            400,
            160};
}

TEST(PictureTest, OrthophotoPixelsAreTheRastersAtFullResolution) {
    const SmallProject files;
    const QImage picture = valueOf(orthophotoPicture(files.file("old/dom.tif"), wholeWindow()));
    ASSERT_EQ(picture.size(), QSize(400, 160));
    for (const QPoint& at : {QPoint(0, 0), QPoint(17, 3), QPoint(399, 159)}) {
        const QRgb pixel = picture.pixel(at);
        EXPECT_EQ(qRed(pixel), (at.x() + at.y()) % 200 + 40);
        EXPECT_EQ(qBlue(pixel), (at.x() + at.y() * 3) % 200 + 40);
        EXPECT_EQ(qAlpha(pixel), 255);
    }
}

TEST(PictureTest, GroundOutsideTheRasterIsTransparent) {
    const SmallProject files;
    PictureWindow window = wholeWindow();
    window.xMin -= 200.0;
    for (const auto& picture : {orthophotoPicture(files.file("old/dom.tif"), window),
                                reliefPicture(files.file("old/dsm.tif"), window)}) {
        const QImage image = valueOf(picture);
        EXPECT_EQ(qAlpha(image.pixel(50, 80)), 0);
        EXPECT_EQ(qAlpha(image.pixel(350, 80)), 255);
    }
}

/// Windows within the raster are read directly; the one that goes beyond its edge is warped. What both hold is the
/// same, for windows that cut pixels, smaller and larger than the raster's.
TEST(PictureTest, AWindowWithinTheRasterShowsWhatOneBeyondItsEdgeShows) {
    const SmallProject files;
    for (const double pixelMetres : {0.125, 0.5, 0.8, 1.25}) {
        const int inside = static_cast<int>(40.0 / pixelMetres);
        PictureWindow within{"EPSG:4547",
                             SmallProject::kLeft + 0.2,
                             SmallProject::kTop - 60.3,
                             SmallProject::kLeft + 0.2 + inside * pixelMetres,
                             SmallProject::kTop - 60.3 + inside * pixelMetres,
                             inside,
                             inside};
        PictureWindow beyond = within;
        constexpr int kMore = 20; // pixels of ground west of the raster
        beyond.xMin -= kMore * pixelMetres;
        beyond.width += kMore;
        const QImage one = valueOf(orthophotoPicture(files.file("old/dom.tif"), within));
        const QImage other = valueOf(orthophotoPicture(files.file("old/dom.tif"), beyond));
        int worst = 0;
        for (int y = 2; y < inside - 2; ++y) {
            for (int x = 4; x < inside - 2; ++x) { // at the raster's edge one looks at less
                const QColor a = one.pixelColor(x, y);
                const QColor b = other.pixelColor(x + kMore, y);
                worst = std::max({worst, std::abs(a.red() - b.red()), std::abs(a.green() - b.green()),
                                  std::abs(a.blue() - b.blue()), std::abs(a.alpha() - b.alpha())});
            }
        }
        EXPECT_LE(worst, 3) << pixelMetres;
    }
}

TEST(PictureTest, ReliefIsBrightTowardsTheNorthWest) {
    const SmallProject files;
    const QString roof = files.beside("roof.tif");
    SmallProject::writeHeights(roof, [](int column, int) { return -0.3 * std::abs(column - 200); });
    const QImage picture = valueOf(reliefPicture(roof, wholeWindow()));
    EXPECT_GT(qGray(picture.pixel(100, 80)), qGray(picture.pixel(300, 80)) + 30);
}

TEST(PictureTest, DifferencesAreClearAtZeroAndColouredBySign) {
    const DifferenceRamp ramp{Qt::red, Qt::blue, 2.0, 0.2};
    EXPECT_EQ(differenceColour(ramp, 0.0).alpha(), 0);
    EXPECT_EQ(differenceColour(ramp, 0.1).alpha(), 0);
    EXPECT_EQ(differenceColour(ramp, std::nan("")).alpha(), 0);
    EXPECT_EQ(differenceColour(ramp, 5.0).rgb(), QColor(Qt::red).rgb());
    EXPECT_EQ(differenceColour(ramp, -2.0).rgb(), QColor(Qt::blue).rgb());
    EXPECT_GT(differenceColour(ramp, 2.0).alpha(), differenceColour(ramp, 0.5).alpha());
}

TEST(PictureTest, AMissingOrBrokenRasterIsAFailure) {
    const SmallProject files;
    EXPECT_TRUE(
        failureOf(orthophotoPicture(files.file("none.tif"), wholeWindow())).message.contains("none.tif"));
    EXPECT_TRUE(
        failureOf(reliefPicture(files.file("project.json"), wholeWindow())).message.contains("project.json"));
    PictureWindow empty = wholeWindow();
    empty.width = 0;
    failureOf(orthophotoPicture(files.file("old/dom.tif"), empty));
}

TEST(PipelineTest, TellsChainageAndDistance) {
    const SmallProject files;
    const auto project = valueOf(Project::open(files.folder()));
    const Pipeline pipeline = Pipeline::read(project.description());
    const auto position = pipeline.positionOf({SmallProject::kLeft + 30.0, SmallProject::kTop - 40.0 + 12.0});
    ASSERT_TRUE(position.has_value());
    EXPECT_NEAR(position->chainageMetres, 30.0, 1e-6);
    EXPECT_NEAR(position->offsetMetres, 12.0, 1e-6);
    EXPECT_FALSE(Pipeline().positionOf({0.0, 0.0}).has_value());
    EXPECT_EQ(chainageText(1234.4), "K1+234");
    EXPECT_EQ(chainageText(56.0), "K0+056");
}

} // namespace
