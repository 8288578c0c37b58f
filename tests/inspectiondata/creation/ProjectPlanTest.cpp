#include "../Opened.h"
#include "tests/support/VectorFile.h"

#include "workbench/inspectiondata/creation/EpochText.h"
#include "workbench/inspectiondata/creation/ProjectPlan.h"

#include <QFile>

namespace {

using namespace inspection;

TEST(EpochTextTest, DateSurfaceAndPictureAreToldApart) {
    const SmallProject files;
    const QString odd = files.beside("a,b=c.tif");
    SmallProject::writeHeights(odd, SmallProject::oldHeight);
    const struct {
        QString text;
        NewEpoch epoch;
    } cases[] = {{"2024-05-18=dsm.tif,dom.tif", {"2024-05-18", "dsm.tif", "dom.tif"}},
                 {"dsm.tif", {"", "dsm.tif", ""}},
                 {"dsm.tif,dom.tif", {"", "dsm.tif", "dom.tif"}},
                 {"2024-05-18=" + odd, {"2024-05-18", odd, ""}},
                 {odd, {"", odd, ""}},
                 {odd + ",dom.tif", {"", odd, "dom.tif"}}};
    for (const auto& [text, epoch] : cases) {
        const NewEpoch read = epochOf(text);
        EXPECT_EQ(read.date, epoch.date) << text.toStdString();
        EXPECT_EQ(read.surface, epoch.surface) << text.toStdString();
        EXPECT_EQ(read.picture, epoch.picture) << text.toStdString();
    }
}

/// Plans over the rasters of a small project: 200 m x 80 m.
class ProjectPlanTest : public testing::Test {
protected:
    ProjectPlanTest() {
        m_wish.epochs = {{"2024-05-18", m_files.file("old/dsm.tif"), m_files.file("old/dom.tif")},
                         {"2025-05-20", m_files.file("new/dsm.tif"), {}}};
    }

    void takeLine(const QString& wkt) {
        VectorLayer lines;
        lines.epsg = 4547;
        lines.rows = {{wkt}};
        const QString file = m_files.beside("line.gpkg");
        QFile::remove(file);
        writeVectorFile(file, "GPKG", {lines});
        m_wish.centerline = CenterlineSource{file};
    }

    QString raster(const QString& name, int epsg = 4547) const {
        SmallProject::writeHeights(m_files.beside(name), SmallProject::newHeight, epsg);
        return m_files.beside(name);
    }

    SmallProject m_files;
    NewProject m_wish;
};

TEST_F(ProjectPlanTest, WithALineStationsFollowItWithinTheData) {
    takeLine("LINESTRING (499900 3400040,500300 3400040)");
    m_wish.stations.lengthMetres = 100.0;
    m_wish.stations.halfWidthMetres = 20.0;
    const ProjectPlan plan = valueOf(planProject(m_wish));
    EXPECT_EQ(plan.surveys.epochs.size(), 2U);
    EXPECT_EQ(definitionOf(plan.surveys.reference), "EPSG:4547");
    ASSERT_EQ(plan.stations.size(), 4U); // the first and last reach into the data with their half width
    EXPECT_EQ(plan.stations[1].name, QStringLiteral("K0+100—K0+200"));
    for (const Stretch& station : plan.stations) {
        EXPECT_GE(station.box.xMin, SmallProject::kLeft);
        EXPECT_LE(station.box.xMax, SmallProject::kLeft + 200.0);
    }
}

TEST_F(ProjectPlanTest, WithoutALineTheOverlapIsDivided) {
    const ProjectPlan plan = valueOf(planProject(m_wish));
    EXPECT_FALSE(plan.centerline.has_value());
    EXPECT_EQ(plan.stations.size(), 1U);
}

TEST_F(ProjectPlanTest, EpochsComeOldestFirst) {
    std::swap(m_wish.epochs[0], m_wish.epochs[1]);
    EXPECT_EQ(valueOf(planEpochs(m_wish)).epochs.front().date, "2024-05-18");
}

TEST_F(ProjectPlanTest, TheSameDateIsRefusedAndAGuessOfItIsDropped) {
    m_wish.epochs[1].date = "2024-05-18";
    EXPECT_TRUE(failureOf(planEpochs(m_wish)).userMessage.contains("2024-05-18"));
    m_wish.epochs[1] = {{}, raster("20240518.tif"), {}};
    const PlannedEpochs epochs = valueOf(planEpochs(m_wish));
    EXPECT_EQ(epochs.epochs[0].date, "2024-05-18");
    EXPECT_EQ(epochs.epochs[1].date, "");
}

TEST_F(ProjectPlanTest, WhatIsNoDateIsRefused) {
    m_wish.epochs[0].date = "2024-13-01";
    EXPECT_TRUE(failureOf(planEpochs(m_wish)).userMessage.contains("2024-13-01"));
}

TEST_F(ProjectPlanTest, APictureIsNoSurfaceModel) {
    m_wish.epochs[1].surface = m_files.file("new/dom.tif");
    EXPECT_TRUE(failureOf(planEpochs(m_wish)).userMessage.contains("是影像"));
}

TEST_F(ProjectPlanTest, EpochsWithoutACommonAreaAreRefused) {
    m_wish.epochs[1].surface = raster("far.tif", 4549);
    EXPECT_TRUE(failureOf(planEpochs(m_wish)).userMessage.contains("far.tif"));
}

TEST_F(ProjectPlanTest, AReferenceSystemMayBeChosenWhenItIsAPlaneInMetres) {
    m_wish.crs = "EPSG:32650";
    EXPECT_EQ(definitionOf(valueOf(planEpochs(m_wish)).reference), "EPSG:32650");
    for (const char* wrong : {"EPSG:4326", "EPSG:2229", "nonsense"}) { // degrees, US feet, none
        m_wish.crs = wrong;
        EXPECT_TRUE(failureOf(planEpochs(m_wish)).userMessage.contains(wrong));
    }
}

TEST_F(ProjectPlanTest, ALineFarFromTheDataIsRefusedWithTheDistance) {
    takeLine("LINESTRING (520000 3400000,530000 3400000)");
    const QString message = failureOf(planProject(m_wish)).userMessage;
    EXPECT_TRUE(message.contains("line.gpkg")) << message.toStdString();
    EXPECT_TRUE(message.contains("20 km")) << message.toStdString();
}

TEST_F(ProjectPlanTest, StationsMayBeGivenAsPolygons) {
    VectorLayer boxes;
    boxes.epsg = 4547;
    boxes.columns = {"name"};
    boxes.rows = {{"POLYGON ((500010 3400010,500090 3400010,500050 3400070,500010 3400010))", "阀室"},
                  {"POLYGON ((600000 0,600001 0,600001 1,600000 0))", "elsewhere"}};
    writeVectorFile(m_files.beside("boxes.gpkg"), "GPKG", {boxes});
    m_wish.stations.file = m_files.beside("boxes.gpkg");
    const ProjectPlan plan = valueOf(planProject(m_wish));
    ASSERT_EQ(plan.stations.size(), 1U);
    EXPECT_EQ(plan.stations[0].name, QStringLiteral("阀室"));
    EXPECT_DOUBLE_EQ(plan.stations[0].box.yMax, 3400070.0);
}

TEST_F(ProjectPlanTest, OneEpochIsNotEnough) {
    m_wish.epochs.pop_back();
    EXPECT_TRUE(failureOf(planProject(m_wish)).userMessage.contains("两期"));
}

} // namespace
