// Whoever asks a surface model for heights finds the same ground in all the forms in which it may come.

#include "Opened.h"

#include "tests/support/AwkwardSurfaces.h"
#include "workbench/inspectiondata/database/GroundHeights.h"
#include "workbench/inspectiondata/output/MapSheet.h"
#include "workbench/inspectiondata/pictures/ElevationLine.h"

#include <QTemporaryDir>

namespace {

using namespace inspection;

constexpr double kRoundingMetres = 0.006; // half a hundredth, and Float32
constexpr int kRoundingGrey = 6;          // what that makes of slopes between cells

double xOf(double column) {
    return awkward::kLeft + column * awkward::kCellMetres;
}
double yOf(double row) {
    return awkward::kTop - row * awkward::kCellMetres;
}

class SurfaceForms : public ::testing::TestWithParam<awkward::Form> {
protected:
    SurfaceForms() {
        awkward::write(m_file.toStdString(), GetParam(), awkward::oldHeight);
        awkward::write(m_plain.toStdString(), awkward::forms().front(), awkward::oldHeight);
    }
    /// Of the whole ground.
    static PictureWindow window(int width, int height) {
        return {"EPSG:4547", xOf(0), yOf(awkward::kRows), xOf(awkward::kColumns), yOf(0), width, height};
    }
    static void expectSamePicture(const QImage& picture, const QImage& plain) {
        ASSERT_EQ(picture.size(), plain.size());
        for (int y = 0; y < plain.height(); ++y) {
            for (int x = 0; x < plain.width(); ++x) {
                ASSERT_EQ(qAlpha(picture.pixel(x, y)), qAlpha(plain.pixel(x, y))) << x << ' ' << y;
                ASSERT_NEAR(qGray(picture.pixel(x, y)), qGray(plain.pixel(x, y)), kRoundingGrey)
                    << x << ' ' << y;
            }
        }
    }

    QTemporaryDir m_folder;
    QString m_file = m_folder.filePath("dsm.tif");
    QString m_plain = m_folder.filePath("plain.tif");
};

TEST_P(SurfaceForms, AProfileCrossesTheHole) {
    // Through the centres of a row's cells.
    const double y = yOf(50.5);
    const QLineF line(xOf(0.5), y, xOf(99.5), y);
    const auto elevations = sampleElevations(m_file, "EPSG:4547", line, 100);
    ASSERT_EQ(elevations.size(), 100U);
    for (int column = 0; column < 100; ++column) {
        const double found = elevations[static_cast<std::size_t>(column)];
        if (awkward::kHole.holds(column, 50)) {
            EXPECT_TRUE(std::isnan(found)) << column << ": " << found;
        } else if (!awkward::kHole.holds(column + 1, 50)) {
            EXPECT_NEAR(found, awkward::ground(column, 50), kRoundingMetres) << column;
        }
    }
}

TEST_P(SurfaceForms, AReliefShowsTheSameSlopes) {
    const PictureWindow whole = window(awkward::kColumns, awkward::kRows);
    const QImage plain = valueOf(reliefPicture(m_plain, whole));
    EXPECT_EQ(qAlpha(plain.pixel(40, 50)), 0);
    EXPECT_EQ(qAlpha(plain.pixel(100, 50)), 255);
    expectSamePicture(valueOf(reliefPicture(m_file, whole)), plain);
}

TEST_P(SurfaceForms, AnOverviewMapShowsTheSameSlopesFromAfar) {
    const PictureWindow reduced = window(awkward::kColumns / 7, awkward::kRows / 7);
    Epoch plain;
    plain.dsm = m_plain;
    Epoch epoch;
    epoch.dsm = m_file;
    expectSamePicture(epochPicture(epoch, reduced), epochPicture(plain, reduced));
}

TEST_P(SurfaceForms, ImportedObjectsStandOnTheGround) {
    ProjectDescription project;
    project.crs = "EPSG:4547";
    project.epochs.resize(2);
    project.epochs[1].dsm = m_file;
    GroundHeights heights(project);
    const auto toGeographic = transformationBetween(*referenceOf(project.crs), wgs84());
    const auto at = [&](int column, int row) {
        double x = xOf(column + 0.5);
        double y = yOf(row + 0.5);
        EXPECT_NE(toGeographic->Transform(1, &x, &y), 0);
        return heights.at(x, y);
    };
    const auto ground = at(110, 70);
    ASSERT_TRUE(ground);
    EXPECT_NEAR(*ground, awkward::ground(110, 70), kRoundingMetres);
    EXPECT_FALSE(at(40, 50)) << "in the hole";
    EXPECT_FALSE(at(-3, 50)) << "outside";
}

std::vector<awkward::Form> allForms() {
    return awkward::forms();
}
std::string numbered(const testing::TestParamInfo<awkward::Form>& info) {
    return std::to_string(info.index);
}
INSTANTIATE_TEST_SUITE_P(Data, SurfaceForms, testing::ValuesIn(allForms()), numbered);

} // namespace
