#include "../Opened.h"

#include "workbench/inspectiondata/creation/CreateProject.h"
#include "workbench/inspectiondata/creation/HeightSystem.h"

#include <QFileInfo>

#include <gdal_priv.h>

namespace {

using namespace inspection;

// EGM96 lies this much above the ellipsoid at 114 degrees east, 30.72 degrees north (Lemoine et al. 1998, from PROJ's
// grid egm96_15.gtx, read by another program).
constexpr double kUndulationMetres = -15.713;

TEST(HeightSystemTest, IsReadFromTheReferenceSystemAndFromTheUsersWords) {
    EXPECT_EQ(heightSystemOf(*referenceOf("EPSG:4547+5773")), "EPSG:5773");
    EXPECT_EQ(heightSystemOf(*referenceOf("EPSG:4979")), kEllipsoid);
    EXPECT_EQ(heightSystemOf(*referenceOf("EPSG:4547")), "");
    EXPECT_EQ(heightSystem("EPSG:5773"), "EPSG:5773");
    EXPECT_EQ(heightSystem("ellipsoid"), kEllipsoid);
    for (const char* wrong : {"EPSG:4547", "EPSG:4547+5773", "sea", ""}) {
        EXPECT_FALSE(heightSystem(wrong).has_value()) << wrong;
    }
    EXPECT_EQ(heightSystemTitle("EPSG:5773"), "EGM96 height");
}

/// Two epochs of the small project: the same ground, the new one measured above the ellipsoid.
class HeightSystemsOfEpochsTest : public testing::Test {
protected:
    HeightSystemsOfEpochsTest() {
        SmallProject::writeHeights(m_old, SmallProject::oldHeight);
        SmallProject::writeHeights(m_new, [](int column, int row) {
            return SmallProject::oldHeight(column, row) + kUndulationMetres;
        });
        m_wish.epochs = {{"2024-05-18", m_old, {}, "EPSG:5773"}, {"2025-05-20", m_new, {}, kEllipsoid}};
    }

    SmallProject m_files;
    QString m_old = m_files.beside("old.tif");
    QString m_new = m_files.beside("new.tif");
    NewProject m_wish;
};

TEST_F(HeightSystemsOfEpochsTest, AreBroughtToThatOfTheOldest) {
    const ProjectPlan plan = valueOf(planProject(m_wish));
    ASSERT_EQ(plan.surveys.notes.size(), 1);
    EXPECT_TRUE(plan.surveys.notes[0].contains("换算到 EGM96")) << plan.surveys.notes[0].toStdString();
    double last = 0.0;
    const auto created = valueOf(createProject(m_files.beside("project"), plan, [&last](double fraction) {
        EXPECT_GE(fraction, last);
        last = fraction;
        return true;
    }));
    EXPECT_DOUBLE_EQ(last, 1.0);
    const auto& project = created.project.description();
    EXPECT_EQ(project.oldEpoch().dsm, m_old);
    EXPECT_EQ(project.newEpoch().dsm, m_files.beside("project") + "/epochs/2025-05-20/dsm.tif");
    const GDALDatasetUniquePtr raster(
        GDALDataset::Open(project.newEpoch().dsm.toUtf8().constData(), GDAL_OF_RASTER));
    ASSERT_EQ(raster->GetRasterXSize(), SmallProject::kColumns);
    ASSERT_EQ(raster->GetRasterYSize(), SmallProject::kRows);
    for (const auto& [column, row] : {std::pair(0, 0), {199, 80}, {399, 159}}) {
        float height = 0.0F;
        ASSERT_EQ(raster->GetRasterBand(1)->RasterIO(GF_Read, column, row, 1, 1, &height, 1, 1, GDT_Float32,
                                                     0, 0, nullptr),
                  CE_None);
        EXPECT_NEAR(height, SmallProject::oldHeight(column, row), 0.02) << column << ' ' << row;
    }
}

TEST_F(HeightSystemsOfEpochsTest, AWayWithoutItsGridIsToldAndHeightsStayAsTheyAre) {
    m_wish.epochs[0].heights = "EPSG:5737"; // Yellow Sea 1985, of which PROJ has no grid
    const PlannedEpochs surveys = valueOf(planEpochs(m_wish));
    EXPECT_EQ(surveys.epochs[1].convertedHeights, "");
    ASSERT_EQ(surveys.notes.size(), 1);
    EXPECT_TRUE(surveys.notes[0].contains("缺少换算格网")) << surveys.notes[0].toStdString();
}

TEST_F(HeightSystemsOfEpochsTest, AnUnknownOneBesideAKnownOneIsTold) {
    m_wish.epochs[1].heights.clear();
    const PlannedEpochs surveys = valueOf(planEpochs(m_wish));
    ASSERT_EQ(surveys.notes.size(), 1);
    EXPECT_TRUE(surveys.notes[0].contains("未知"));
    m_wish.epochs[0].heights.clear(); // two unknown ones are the usual case
    EXPECT_TRUE(valueOf(planEpochs(m_wish)).notes.isEmpty());
}

TEST_F(HeightSystemsOfEpochsTest, WhatIsNoHeightSystemIsRefused) {
    m_wish.epochs[1].heights = "EPSG:4547";
    EXPECT_TRUE(failureOf(planEpochs(m_wish)).userMessage.contains("EPSG:4547"));
}

TEST_F(HeightSystemsOfEpochsTest, AStopWhileConvertingLeavesNothing) {
    const ProjectPlan plan = valueOf(planProject(m_wish));
    EXPECT_TRUE(
        failureOf(createProject(m_files.beside("project"), plan, [](double) { return false; })).cancelled);
    EXPECT_FALSE(QFileInfo::exists(m_files.beside("project")));
}

} // namespace
