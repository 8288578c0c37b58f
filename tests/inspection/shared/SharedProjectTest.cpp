// A project on a server that somebody else works on, too.

#include "tests/inspection/shared/SharedFixture.h"

#include "tests/support/CopyFolder.h"
#include "tests/support/SamplePair.h"
#include "tests/support/ThirdFlight.h"
#include "workbench/inspectiondata/amendment/AmendProject.h"
#include "workbench/inspectiondata/compute/ComputeAnomalies.h"
#include "workbench/inspectiondata/database/StationTable.h"

namespace {

using inspection::kAnomalyTable;

TEST_F(SharedProjectTest, WhatOthersJudgeAppearsAndTheUsersPlaceStays) {
    table().selectRow(1);
    QApplication::processEvents();
    const QString selected = name(1);
    const std::int64_t id = shown(0).id;
    m_colleague->judge(id, "深挖");
    ASSERT_TRUE(waitUntil([&] { return attribute(0) == "深挖"; }));
    EXPECT_EQ(table().selectionModel()->selectedRows().size(), 1);
    EXPECT_EQ(table().currentIndex().siblingAtColumn(0).data().toString(), selected);
    m_colleague->undo();
    EXPECT_TRUE(waitUntil([&] { return attribute(0).isEmpty(); }));
    EXPECT_FALSE(context().GetEditHistory()->CanUndo()) << "it is the colleague's edit";
}

TEST_F(SharedProjectTest, WhatOthersDeleteDisappearsEverywhereAndComesBackWithTheirUndo) {
    const int before = rows();
    const QString gone = name(0);
    const std::int64_t id = shown(0).id;
    ASSERT_TRUE(overlayIsShown(gone));
    m_colleague->remove(kAnomalyTable, id);
    ASSERT_TRUE(waitUntil([&] { return rows() == before - 1; }));
    EXPECT_NE(name(0), gone);
    EXPECT_FALSE(overlayIsShown(gone));
    EXPECT_EQ(tree().currentItem()->text(1).toInt(), before - 1);
    m_colleague->undo();
    ASSERT_TRUE(waitUntil([&] { return rows() == before; }));
    EXPECT_EQ(name(0), gone);
    EXPECT_TRUE(overlayIsShown(gone));
    EXPECT_EQ(tree().currentItem()->text(1).toInt(), before);
}

TEST_F(SharedProjectTest, SpecialObjectsOfOthersComeChangeAndGo) {
    constexpr int kPoints = 1;
    const QTreeWidgetItem* current = tree().currentItem();
    const std::int64_t id = m_colleague->addPoint("阀室");
    ASSERT_TRUE(waitUntil([&] { return object(kPoints, "阀室") != nullptr; }));
    m_colleague->change("重命名", "special_point", id, {{"name", toGbk("阀井")}});
    m_colleague->change("编辑", "special_point", id, {{"attribute", toGbk("三通")}});
    ASSERT_TRUE(waitUntil([&] { return object(kPoints, "阀井") != nullptr; }));
    EXPECT_EQ(object(kPoints, "阀室"), nullptr);
    const auto* scene = dynamic_cast<OsgDataSet*>(context().GetDataSet(OsgDataSet::kIndex));
    ASSERT_EQ(scene->getPipePoints().size(), 1U);
    EXPECT_EQ(scene->getPipePoints().begin()->second.GetName(), toGbk("阀井"));
    EXPECT_EQ(scene->getPipePoints().begin()->second.m_attribute, toGbk("三通"));
    m_colleague->remove("special_point", id);
    ASSERT_TRUE(waitUntil([&] { return !object(kPoints, "阀井"); }));
    EXPECT_TRUE(scene->getPipePoints().empty());
    EXPECT_EQ(tree().currentItem(), current) << "the user is not taken elsewhere";
}

TEST_F(SharedProjectTest, HighConsequenceAreasOfOthersShowInTheTable) {
    const SdiffData anomaly = shown(0);
    const QString before = areas(0);
    importAreaAround(anomaly, "东关村");
    ASSERT_TRUE(waitUntil([&] { return areas(0).contains("东关村"); }));
    const std::string table = inspection::tableName(KV_HIGH_CONSEQUENCE_AREA);
    const auto stored =
        m_colleague->database().queryRecord("select * from " + table + " where name=?", {toGbk("东关村")});
    ASSERT_EQ(stored.size(), 1U);
    const auto id = std::get<std::int64_t>(stored[0].at("id"));
    m_colleague->change("重命名", table, id, {{"name", toGbk("西关村")}});
    ASSERT_TRUE(waitUntil([&] { return areas(0).contains("西关村"); }));
    m_colleague->remove(table, id);
    EXPECT_TRUE(waitUntil([&] { return areas(0) == before; }));
    EXPECT_EQ(shown(0).id, anomaly.id);
}

TEST_F(SharedProjectTest, JudgingWhatSomebodyElseHasJustJudgedIsAskedAbout) {
    const std::int64_t id = shown(0).id;
    m_colleague->judge(id, "塌陷");
    {
        const MessageWatch messages(false);
        judge(0, Qt::Key_3);
        ASSERT_EQ(messages.texts().size(), 1);
        EXPECT_EQ(messages.texts()[0].toStdString(),
                  ("“" + name(0) + "”已被 wang@field 修改（分类 1 处异常为 塌陷）。是否仍按您的操作保存？")
                      .toStdString());
    }
    EXPECT_FALSE(context().GetEditHistory()->CanUndo());
    ASSERT_TRUE(waitUntil([&] { return attribute(0) == "塌陷"; })) << "theirs is shown";

    m_colleague->judge(id, "建构筑物");
    const MessageWatch messages;
    judge(0, Qt::Key_3);
    EXPECT_EQ(messages.texts().size(), 1);
    EXPECT_EQ(attribute(0), "深挖");
    EXPECT_TRUE(context().GetEditHistory()->CanUndo());
    judge(0, Qt::Key_1);
    EXPECT_EQ(messages.texts().size(), 1) << "the own edit is nobody else's";
    context().GetEditHistory()->UndoSteps(2);
    EXPECT_EQ(attribute(0), "建构筑物");
}

TEST_F(SharedProjectTest, JudgingWhatSomebodyElseHasDeletedSaysSo) {
    const QString gone = name(0);
    const int before = rows();
    m_colleague->remove(kAnomalyTable, shown(0).id);
    const MessageWatch messages;
    judge(0, Qt::Key_3);
    ASSERT_EQ(messages.texts().size(), 1);
    EXPECT_EQ(messages.texts()[0], "“" + gone + "”已被 wang@field 删除，您的修改未保存");
    EXPECT_TRUE(waitUntil([&] { return rows() == before - 1; }));
}

TEST_F(SharedProjectTest, RenamingInTheTreeWhatSomebodyElseRenamedIsAskedAbout) {
    constexpr int kPoints = 1;
    const std::int64_t id = m_colleague->addPoint("阀室");
    ASSERT_TRUE(waitUntil([&] { return object(kPoints, "阀室") != nullptr; }));
    m_colleague->change("重命名特殊点 阀室 为 阀井", "special_point", id, {{"name", toGbk("阀井")}});
    const MessageWatch messages(false);
    object(kPoints, "阀室")->setText(0, "三通");
    EXPECT_EQ(messages.texts().size(), 1);
    EXPECT_TRUE(waitUntil([&] { return object(kPoints, "阀井") != nullptr; }));
    EXPECT_EQ(object(kPoints, "三通"), nullptr);
    EXPECT_EQ(messages.texts().size(), 1);
}

TEST_F(SharedProjectTest, AComputationOfOthersIsShownAndTheirFilesAreNotMissed) {
    judge(0, Qt::Key_3);
    ASSERT_TRUE(context().GetEditHistory()->CanUndo());
    const std::int64_t id = shown(0).id;
    const QString theirs = m_folder.filePath("theirs");
    copyFolder(m_project, theirs);
    ASSERT_TRUE(inspection::trustProject(theirs));
    QFile::remove(theirs + "/.corridor.lock");
    inspection::ComputationRequest request;
    request.project =
        inspection::Project::open(theirs, inspection::Project::Access::ReadOnly).value().description();
    request.stationIds = {current().GetStationId()};
    ASSERT_TRUE(computeAnomalies(request, {}));
    ASSERT_TRUE(waitUntil([&] { return rows() > 0 && shown(0).id != id; }));
    EXPECT_EQ(attribute(0), "深挖") << "the verdict was kept";
    EXPECT_FALSE(context().GetEditHistory()->CanUndo()) << "of rows that are no longer";
    EXPECT_TRUE(overlayIsShown(name(0)));
}

TEST_F(SharedProjectTest, StationsThatOthersLayOutAreShownAndOwnEditsCanBeUndone) {
    judge(0, Qt::Key_3);
    const std::string judged = shown(0).name;
    const int before = tree().topLevelItem(0)->childCount();
    const QString theirs = m_folder.filePath("theirs");
    copyFolder(m_project, theirs);
    ASSERT_TRUE(inspection::trustProject(theirs));
    QFile::remove(theirs + "/.corridor.lock");
    auto project = inspection::Project::open(theirs).value();
    inspection::AmendmentWish wish;
    wish.stations = inspection::StationLayout{100.0, 300.0, {}};
    auto plan = inspection::planAmendment(project.description(),
                                          inspection::readStations(m_colleague->database()), wish);
    ASSERT_TRUE(plan) << plan.error().message.toStdString();
    ASSERT_TRUE(inspection::amendProject(project, m_colleague->database(), *std::move(plan)));
    ASSERT_TRUE(waitUntil([&] { return tree().topLevelItem(0)->childCount() > before; }));
    const auto verdict = [&] {
        const auto rows =
            m_colleague->database().queryRecord("select attribute from anomaly where name=?", {judged});
        return fromGbk(std::get<std::string>(rows.at(0).at("attribute")));
    };
    EXPECT_EQ(verdict(), "深挖");
    ASSERT_TRUE(context().GetEditHistory()->CanUndo());
    context().GetEditHistory()->TakeUndo()->Undo(true);
    EXPECT_EQ(verdict(), "");
    EXPECT_GT(rows(), 0) << "the undo shows the station where the anomaly is now";
}

TEST_F(SharedProjectTest, ALostServerIsSaidAndWorkGoesOnWhenItIsBack) {
    m_server.stop();
    ASSERT_TRUE(waitUntil([&] { return status().contains("连接已断开"); })) << status().toStdString();
    {
        const MessageWatch messages;
        judge(0, Qt::Key_3);
        ASSERT_EQ(messages.texts().size(), 1);
        EXPECT_EQ(messages.texts()[0], "与数据库的连接已断开，未作任何更改");
    }
    EXPECT_EQ(attribute(0), "");
    m_server.start();
    ASSERT_TRUE(waitUntil([&] { return status().contains("连接已恢复"); }));
    const MessageWatch messages;
    judge(0, Qt::Key_3);
    EXPECT_EQ(attribute(0), "深挖");
    EXPECT_TRUE(messages.texts().isEmpty());
}

/// A workbench that shows the first pair, while colleagues work on the one with a third flight.
class SharedPairsTest : public SharedProjectTest {
protected:
    void SetUp() override {
        SharedProjectTest::SetUp();
        m_station = current().GetStationId();
        context().closeProject();
        addThirdFlight(m_project, {m_station});
        computePair(m_project, kThirdPair, {m_station});
        ASSERT_FALSE(context().openProject(m_project));
        ASSERT_FALSE(context().setComparedPair(kSamplePair));
        showRichestStation();
        ASSERT_EQ(current().GetStationId(), m_station);
    }
    std::vector<SdiffData> ofThirdPair() {
        return inspection::readAnomalies(m_colleague->database(), m_station, kThirdPair);
    }
    QStringList names() const {
        QStringList all;
        for (int row = 0; row < rows(); ++row) {
            all << name(row);
        }
        return all;
    }

    std::uint32_t m_station = 0;
};

TEST_F(SharedPairsTest, WhatOthersDoToAPairThatIsNotShownDoesNotAppear) {
    const QStringList before = names();
    const QString count = tree().currentItem()->text(1);
    const std::int64_t theirs = ofThirdPair().at(0).id;
    const QString theirName = fromGbk(ofThirdPair().at(0).name);
    m_colleague->judge(theirs, "深挖");
    m_colleague->remove(kAnomalyTable, theirs);
    m_colleague->undo(); // a row that comes back
    m_colleague->judge(shown(0).id, "塌陷");
    ASSERT_TRUE(waitUntil([&] { return attribute(0) == "塌陷"; })) << "what comes after it is there";
    EXPECT_EQ(names(), before);
    EXPECT_EQ(tree().currentItem()->text(1), count);
    EXPECT_FALSE(overlayIsShown(theirName));
    ASSERT_FALSE(context().setComparedPair(kThirdPair));
    EXPECT_EQ(attribute(0), "深挖");
    EXPECT_EQ(name(0), theirName);
    EXPECT_TRUE(overlayIsShown(theirName));
}

TEST_F(SharedPairsTest, AComputationOfAnotherPairLeavesWhatIsShown) {
    const QStringList before = names();
    judge(0, Qt::Key_1);
    const QString judged = attribute(0);
    ASSERT_FALSE(judged.isEmpty());
    inspection::ComputationRequest request;
    request.project = context().project()->description().comparing(kThirdPair).value();
    request.stationIds = {m_station};
    request.project.folder = m_folder.filePath("theirs");
    ASSERT_TRUE(inspection::computeAnomalies(request));
    m_colleague->judge(shown(1).id, "塌陷");
    ASSERT_TRUE(waitUntil([&] { return attribute(1) == "塌陷"; }));
    EXPECT_EQ(names(), before);
    EXPECT_EQ(attribute(0), judged);
    EXPECT_TRUE(context().GetEditHistory()->CanUndo()) << "the edit is of the pair that was not computed";
    context().GetEditHistory()->TakeUndo()->Undo(true);
    EXPECT_TRUE(attribute(0).isEmpty());
}

} // namespace
