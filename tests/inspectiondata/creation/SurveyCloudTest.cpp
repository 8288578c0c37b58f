#include "../Opened.h"
#include "GroundCloud.h"
#include "tests/support/VectorFile.h"

#include "detect/heights/SurfaceModel.h"
#include "workbench/inspectiondata/creation/CreateProject.h"
#include "workbench/inspectiondata/creation/SurveyCloud.h"

#include <QDir>
#include <QFileInfo>

namespace {

using namespace inspection;

class SurveyCloudTest : public testing::Test {
protected:
    SmallProject m_files;
    QString m_old = m_files.beside("20240518.las");
    QString m_new = m_files.beside("20250520.las");
};

TEST_F(SurveyCloudTest, AreEpochsOfAProjectThatFindsTheKnownChanges) {
    const QString tiles = m_files.beside("20250520 tiles");
    ASSERT_TRUE(QDir().mkpath(tiles));
    writeGroundCloud(m_old, SmallProject::oldHeight);
    writeGroundCloud(tiles + "/west.las", SmallProject::newHeight, 0, 250);
    writeGroundCloud(tiles + "/east.las", SmallProject::newHeight, 250);
    NewProject wish;
    wish.epochs = {{{}, m_old, {}}, {{}, tiles, m_files.file("new/dom.tif")}};
    const ProjectPlan plan = valueOf(planProject(wish));
    EXPECT_EQ(plan.surveys.epochs[0].date, "2024-05-18");
    EXPECT_EQ(plan.surveys.epochs[1].date, "2025-05-20");
    EXPECT_DOUBLE_EQ(plan.surveys.epochs[0].surface.cellWidth, 0.5);
    double last = 0.0;
    const auto created = valueOf(createProject(m_files.beside("clouds"), plan, [&last](double fraction) {
        EXPECT_GE(fraction, last);
        last = fraction;
        return true;
    }));
    EXPECT_DOUBLE_EQ(last, 1.0);
    ASSERT_EQ(created.notes.size(), 2);
    EXPECT_TRUE(created.notes[0].contains("256000 点")) << created.notes[0].toStdString();
    const auto& project = created.project.description();
    EXPECT_EQ(project.newEpoch().dsm, m_files.beside("clouds") + "/epochs/2025-05-20/dsm.tif");
    const auto database = valueOf(PipelineDatabase::open(project, Project::Access::Exclusive));
    ComputationRequest request;
    request.project = project;
    EXPECT_EQ(valueOf(computeAnomalies(request)).anomalies, 3);
}

TEST_F(SurveyCloudTest, ACloudWithoutAReferenceSystemIsInTheProjects) {
    writeGroundCloud(m_old, SmallProject::oldHeight, 0, SmallProject::kColumns, {});
    NewProject wish;
    wish.epochs = {{{}, m_old, {}}, {"2025-05-20", m_files.file("new/dsm.tif"), {}}};
    EXPECT_TRUE(failureOf(planEpochs(wish)).userMessage.contains("坐标系"));
    wish.crs = "EPSG:4547";
    EXPECT_TRUE(valueOf(planEpochs(wish)).epochs[0].surface.cloud.has_value());
}

TEST_F(SurveyCloudTest, CellAndGroundCanBeChosen) {
    writeGroundCloud(m_old, SmallProject::oldHeight);
    NewProject wish;
    wish.clouds = {2.0, true};
    wish.epochs = {{{}, m_old, {}}, {"2025-05-20", m_files.file("new/dsm.tif"), {}}};
    const auto created = valueOf(createProject(m_files.beside("clouds"), valueOf(planProject(wish))));
    ASSERT_EQ(created.notes.size(), 1);
    EXPECT_TRUE(created.notes[0].contains("128000 点"))
        << created.notes[0].toStdString(); // every second column
    EXPECT_TRUE(created.notes[0].contains("100 × 40")) << created.notes[0].toStdString();
}

TEST_F(SurveyCloudTest, HeightsOfACloudAreConvertedToo) {
    writeGroundCloud(m_old, SmallProject::oldHeight, 0, SmallProject::kColumns, "EPSG:4547+5773");
    NewProject wish;
    wish.epochs = {{{}, m_old, {}}, {"2020-01-01", m_files.file("new/dsm.tif"), {}, "ellipsoid"}};
    const ProjectPlan plan = valueOf(planProject(wish));
    EXPECT_EQ(plan.surveys.epochs[1].convertedHeights, "ellipsoid");
    const auto created = valueOf(createProject(m_files.beside("clouds"), plan));
    const QString folder = m_files.beside("clouds") + "/epochs/2024-05-18";
    EXPECT_FALSE(QFileInfo::exists(folder + "/dsm-flown.tif"));
    const auto surface = detect::SurfaceModel::open((folder + "/dsm.tif").toStdString());
    ASSERT_TRUE(surface.has_value());
}

TEST_F(SurveyCloudTest, ADamagedCloudLeavesNoProject) {
    writeGroundCloud(m_old, SmallProject::oldHeight);
    ASSERT_TRUE(QFile::resize(m_old, QFileInfo(m_old).size() - 100));
    NewProject wish;
    wish.epochs = {{{}, m_old, {}}, {"2025-05-20", m_files.file("new/dsm.tif"), {}}};
    const auto plan = planProject(wish);
    if (plan) {
        EXPECT_TRUE(
            failureOf(createProject(m_files.beside("clouds"), *plan)).userMessage.contains("20240518.las"));
    } else {
        EXPECT_TRUE(plan.error().userMessage.contains("20240518.las"));
    }
    EXPECT_FALSE(QFileInfo::exists(m_files.beside("clouds")));
}

TEST_F(SurveyCloudTest, AStopWhileTheSurfaceIsMadeLeavesNothing) {
    writeGroundCloud(m_old, SmallProject::oldHeight);
    NewProject wish;
    wish.epochs = {{{}, m_old, {}}, {"2025-05-20", m_files.file("new/dsm.tif"), {}}};
    const auto plan = valueOf(planProject(wish));
    EXPECT_TRUE(
        failureOf(createProject(m_files.beside("clouds"), plan, [](double) { return false; })).cancelled);
    EXPECT_FALSE(QFileInfo::exists(m_files.beside("clouds")));
}

TEST_F(SurveyCloudTest, AFolderIsOneOfCloudsWhenThereAreAny) {
    const QString folder = m_files.beside("folder");
    ASSERT_TRUE(QDir().mkpath(folder));
    EXPECT_FALSE(holdsClouds(folder));
    writeBytes(folder + "/A.LAZ", "x");
    EXPECT_TRUE(holdsClouds(folder));
    EXPECT_TRUE(holdsClouds("/data/x.copc.laz"));
    EXPECT_FALSE(holdsClouds(m_files.file("old/dsm.tif")));
}

} // namespace
