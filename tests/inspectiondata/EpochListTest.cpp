// The epochs of project.json, and which two of them are compared.

#include "ThreeEpochs.h"

#include "workbench/inspectiondata/creation/CreateProject.h"
#include "workbench/inspectiondata/output/ReportFacts.h"

#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

namespace {

using namespace inspection;

QStringList keysOf(const ProjectDescription& project) {
    QStringList keys;
    for (const Epoch& epoch : project.epochs) {
        keys << project.keyOf(epoch);
    }
    return keys;
}

class EpochListTest : public testing::Test {
protected:
    QJsonObject json() const {
        QFile file(m_files.file("project.json"));
        EXPECT_TRUE(file.open(QIODevice::ReadOnly));
        return QJsonDocument::fromJson(file.readAll()).object();
    }
    void setCompare(const QJsonArray& keys) const {
        QJsonObject changed = json();
        changed["compare"] = keys;
        QFile file(m_files.file("project.json"));
        EXPECT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(QJsonDocument(changed).toJson());
    }
    Epoch epoch(const QString& date, const QString& dsm = "new/dsm.tif") const {
        return {date, m_files.file(dsm), {}};
    }

    SmallProject m_files;
    Project m_project = valueOf(Project::open(m_files.folder()));
};

TEST_F(EpochListTest, EpochsAreInTheOrderOfTheirDatesAndUndatedOnesBehindThem) {
    EXPECT_TRUE(m_project.addEpoch(epoch("2026-01-01")));
    EXPECT_TRUE(m_project.addEpoch(epoch("", "old/dsm.tif")));
    EXPECT_TRUE(m_project.addEpoch(epoch("2023-12-31")));
    EXPECT_TRUE(m_project.addEpoch(epoch("2025-01-01")));
    const QStringList keys{"2023-12-31", "2024-05-18", "2025-01-01",
                           "2025-05-20", "2026-01-01", "old/dsm.tif"};
    EXPECT_EQ(keysOf(m_project.description()), keys);
    EXPECT_EQ(keysOf(valueOf(Project::open(m_files.folder(), Project::Access::ReadOnly)).description()),
              keys);
    EXPECT_EQ(json()["epochs"].toArray()[2].toObject()["dsm"].toString(), "new/dsm.tif");
    EXPECT_EQ(json()["remark"].toString(), "kept");
    EXPECT_EQ(m_project.description().pair(), (EpochPair{"2026-01-01", "old/dsm.tif"}));
    EXPECT_EQ(m_project.description().pairs().size(), 15U);
    EXPECT_EQ(m_project.description().pairs()[1], (EpochPair{"2025-05-20", "old/dsm.tif"}));
}

TEST_F(EpochListTest, WhatCannotBeUsedIsRefusedInOneLineAndNothingIsStored) {
    const QJsonObject before = json();
    const auto expectRefusal = [&](const Epoch& epoch, const char* cause) {
        const Failure failure = failureOf(m_project.addEpoch(epoch));
        EXPECT_TRUE(failure.userMessage.contains(cause)) << failure.userMessage.toStdString();
        EXPECT_EQ(json(), before);
        EXPECT_EQ(m_project.description().epochs.size(), 2U);
    };
    expectRefusal(epoch("2025-05-20"), "已有期次 2025-05-20");
    expectRefusal(epoch("2025-02-30"), "不是日期");
    expectRefusal(epoch("20260101"), "不是日期");
}

TEST_F(EpochListTest, TwoUndatedEpochsOfOneSurfaceModelAreTheSame) {
    EXPECT_TRUE(m_project.addEpoch(epoch("")));
    EXPECT_TRUE(failureOf(m_project.addEpoch(epoch(""))).userMessage.contains("已有期次 new/dsm.tif"));
}

TEST_F(EpochListTest, AChosenPairIsStoredOldestFirst) {
    ASSERT_TRUE(m_project.addEpoch(thirdEpoch(m_files)));
    EXPECT_FALSE(json().contains("compare"));
    EXPECT_TRUE(m_project.setComparedPair({kWidePair.newer, kWidePair.older}));
    EXPECT_EQ(m_project.description().pair(), kWidePair);
    EXPECT_EQ(json()["compare"].toArray(), (QJsonArray{"2024-05-18", "2026-05-25"}));
    EXPECT_EQ(m_project.description().oldEpoch().dsm, m_files.file("old/dsm.tif"));
    EXPECT_EQ(m_project.description().newEpoch().dsm, m_files.file("third/dsm.tif"));
    EXPECT_TRUE(failureOf(m_project.setComparedPair({"2024-05-18", "2020-01-01"}))
                    .userMessage.contains("没有期次 2020-01-01；已有 2024-05-18、2025-05-20、2026-05-25"));
    EXPECT_TRUE(
        failureOf(m_project.setComparedPair({"2024-05-18", "2024-05-18"})).userMessage.contains("自身"));
    EXPECT_EQ(m_project.description().pair(), kWidePair);

    auto reader = valueOf(Project::open(m_files.folder(), Project::Access::ReadOnly));
    EXPECT_TRUE(reader.setComparedPair(kSamplePair)) << "to look at it";
    EXPECT_EQ(reader.description().pair(), kSamplePair);
    EXPECT_EQ(json()["compare"].toArray(), (QJsonArray{"2024-05-18", "2026-05-25"}));

    EXPECT_TRUE(m_project.removeEpoch("2024-05-18"));
    EXPECT_FALSE(json().contains("compare"));
    EXPECT_EQ(m_project.description().pair(), kThirdPair);
}

TEST_F(EpochListTest, AChoiceOfEpochsThatThereAreNotIsTheLastTwo) {
    ASSERT_TRUE(m_project.addEpoch(thirdEpoch(m_files)));
    for (const QJsonArray& keys : {QJsonArray{"2024-05-18", "2020-01-01"}, QJsonArray{"2024-05-18"},
                                   QJsonArray{"2024-05-18", "2024-05-18"}, QJsonArray()}) {
        setCompare(keys);
        EXPECT_EQ(valueOf(Project::open(m_files.folder(), Project::Access::ReadOnly)).description().pair(),
                  kThirdPair);
    }
    setCompare({"2025-05-20", "2024-05-18"});
    EXPECT_EQ(valueOf(Project::open(m_files.folder(), Project::Access::ReadOnly)).description().pair(),
              kSamplePair);
}

TEST(RasterProjectEpochs, TheRastersOfAPairOpenTheirProjectWithThatPair) {
    const SmallProject files;
    thirdEpoch(files);
    const QString folder = files.beside("rasters");
    const auto dsm = [&](const char* name) { return files.file(name); };
    {
        Project project =
            valueOf(openOrCreateProject(folder, {dsm("old/dsm.tif"), dsm("new/dsm.tif"), {}, {}}));
        ASSERT_TRUE(project.addEpoch({{}, dsm("third/dsm.tif"), {}}));
    }
    for (const auto& [older, newer] :
         {std::pair{"old/dsm.tif", "new/dsm.tif"}, {"old/dsm.tif", "third/dsm.tif"}}) {
        const Project project = valueOf(openOrCreateProject(folder, {dsm(older), dsm(newer), {}, {}}));
        EXPECT_EQ(project.description().oldEpoch().dsm, dsm(older));
        EXPECT_EQ(project.description().newEpoch().dsm, dsm(newer));
    }
    failureOf(openOrCreateProject(folder, {dsm("third/dsm.tif"), dsm("new/dsm.tif"), {}, {}}));
}

TEST_F(EpochListTest, TheReportNamesUndatedEpochsWhereThereAreMoreThanTwo) {
    const auto period = [&] {
        InspectionData data;
        data.project = m_project.description();
        return reportFacts(data, Pipeline()).period;
    };
    EXPECT_EQ(period(), "2024-05-18 至 2025-05-20");
    EXPECT_TRUE(m_project.addEpoch(epoch("")));
    EXPECT_EQ(period(), "2025-05-20 至 new/dsm.tif");
}

} // namespace
