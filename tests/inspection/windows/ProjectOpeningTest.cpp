#include "tests/inspection/windows/WindowFixture.h"

#include "host/Gbk.h"
#include "host/inspection/AVWindow.h"
#include "host/inspection/KVImageWindow.h"
#include "host/inspection/ParaSet.h"
#include "host/inspection/StationWindow.h"
#include "tests/support/VectorFile.h"
#include "workbench/inspectiondata/history/ProjectHistory.h"

#include <QDir>
#include <QSignalSpy>

#include <sys/wait.h>
#include <unistd.h>

namespace {

using ProjectOpeningTest = InspectionWindowTest;

TEST_F(ProjectOpeningTest, TheContextAnswersBeforeAProjectIsOpen) {
    IORVAContext* context = IORVAContext::Instance();
    ASSERT_NE(context, nullptr);
    EXPECT_NE(context->GetStationWindow(), nullptr);
    EXPECT_NE(context->GetAVWindow(), nullptr);
    EXPECT_EQ(context->GetAVWindow()->GetCurrentItem()->GetStationId(), 0U);
    EXPECT_NE(context->GetKVImageWindow(), nullptr);
    EXPECT_EQ(context->GetMainWindow(), m_window.get());
    EXPECT_EQ(context->GetEditHistory(), nullptr);
    DataSetManager* sets = context->GetDataSetManager();
    ASSERT_NE(sets, nullptr);
    EXPECT_NE(dynamic_cast<ParaSet*>(sets->GetDataSet(1)), nullptr);
    EXPECT_NE(dynamic_cast<OsgDataSet*>(sets->GetDataSet(2)), nullptr);
    EXPECT_EQ(sets->GetDataSet(3), nullptr);
    EXPECT_EQ(sets->GetDataSet(-1), nullptr);
}

TEST_F(ProjectOpeningTest, AnOpenProjectHasItsDataSet) {
    EXPECT_EQ(context().GetDataSet(0), nullptr);
    openSample();
    auto* data = dynamic_cast<PipelineDataSet*>(context().GetDataSet(0));
    ASSERT_NE(data, nullptr);
    EXPECT_TRUE(data->GetConncetDBState());
    EXPECT_FALSE(data->GetMySQL()->queryRecord("select * from " + data->Gettablename(KV_STATION)).empty());
    context().closeProject();
    EXPECT_EQ(context().GetDataSet(0), nullptr);
    EXPECT_EQ(context().project(), nullptr);
}

TEST_F(ProjectOpeningTest, AFolderWithoutAProjectGivesOneChineseLine) {
    const auto problem = context().openProject(m_folder.filePath("nothing here"));
    ASSERT_TRUE(problem.has_value());
    EXPECT_FALSE(problem->isEmpty());
    EXPECT_FALSE(problem->contains('\n'));
    EXPECT_EQ(context().project(), nullptr);
    EXPECT_EQ(tree().topLevelItem(0)->childCount(), 0);
}

TEST_F(ProjectOpeningTest, WhatCannotBeOpenedLeavesTheOpenProjectAsItIs) {
    openSample();
    const auto* data = context().GetDataSet(0);
    const QString broken = m_folder.filePath("broken");
    ASSERT_TRUE(QDir().mkpath(broken));
    writeBytes(broken + "/project.json", "{");
    for (const QString& folder : {m_folder.filePath("nothing here"), m_folder.path(), broken}) {
        EXPECT_TRUE(context().openProject(folder).has_value()) << folder.toStdString();
        ASSERT_NE(context().project(), nullptr);
        EXPECT_EQ(context().project()->description().folder, m_project);
        EXPECT_GT(tree().topLevelItem(0)->childCount(), 0);
    }
    EXPECT_EQ(context().GetDataSet(0), data);
    Special_Point point(toGbk("甲"), {114.0, 30.7, 50.0});
    EXPECT_TRUE(context().GetStationWindow()->AddPointNode(point)) << "its database still takes edits";
}

TEST_F(ProjectOpeningTest, TheOpenProjectStaysWhenItIsOpenedAgainAndHasBeenDamaged) {
    openSample();
    writeBytes(m_project + "/project.json", "{");
    EXPECT_TRUE(context().openProject(m_project).has_value());
    ASSERT_NE(context().project(), nullptr);
    EXPECT_GT(tree().topLevelItem(0)->childCount(), 0);
}

/// Opens the project in a child process that holds it until its standard input ends.
class OtherWorkbench {
public:
    explicit OtherWorkbench(const QString& folder) {
        int toChild[2];
        int toParent[2];
        if (pipe(toChild) != 0 || pipe(toParent) != 0) {
            return;
        }
        m_child = fork();
        if (m_child == 0) {
            close(toChild[1]);
            close(toParent[0]);
            const auto project = inspection::Project::open(folder);
            const char held = project ? 1 : 0;
            char end = 0;
            const bool told = write(toParent[1], &held, 1) == 1;
            _exit(told && read(toChild[0], &end, 1) == 0 ? 0 : 1);
        }
        close(toChild[0]);
        close(toParent[1]);
        m_hold = toChild[1];
        char held = 0;
        m_holds = read(toParent[0], &held, 1) == 1 && held == 1;
        close(toParent[0]);
    }
    ~OtherWorkbench() {
        close(m_hold);
        int status = 0;
        waitpid(m_child, &status, 0);
    }
    OtherWorkbench(const OtherWorkbench&) = delete;
    OtherWorkbench& operator=(const OtherWorkbench&) = delete;

    bool holds() const { return m_holds; }

private:
    pid_t m_child = -1;
    int m_hold = -1;
    bool m_holds = false;
};

TEST_F(ProjectOpeningTest, AProjectThatAnotherProcessHasOpenIsRefused) {
    m_project = copySample(m_folder);
    const OtherWorkbench other(m_project);
    ASSERT_TRUE(other.holds());
    const auto problem = context().openProject(m_project);
    ASSERT_TRUE(problem.has_value());
    EXPECT_FALSE(problem->contains('\n'));
    EXPECT_EQ(context().project(), nullptr);
}

TEST_F(ProjectOpeningTest, AStoredProjectThatAnotherProcessHasOpenIsShownButNotChanged) {
    openSample();
    context().closeProject();
    const OtherWorkbench other(m_project);
    ASSERT_TRUE(other.holds());
    ASSERT_FALSE(context().openProject(m_project).has_value());
    const QString reason = context().readOnlyReason();
    EXPECT_TRUE(reason.contains("项目已被另一个程序打开")) << reason.toStdString();
    EXPECT_TRUE(reason.endsWith("项目已以只读方式打开，不能修改")) << reason.toStdString();
    EXPECT_GT(tree().topLevelItem(0)->childCount(), 0);

    const MessageWatch messages;
    Special_Point point(toGbk("甲"), {114.0, 30.7, 50.0});
    EXPECT_FALSE(context().GetStationWindow()->AddPointNode(point));
    EXPECT_FALSE(context().GetStationWindow()->isReiterated_node("甲"));
    clickCheckBox(station(0));
    context().GetStationWindow()->PickCurrentShowItemsDiff();
    EXPECT_FALSE(context().isWorking());
    EXPECT_FALSE(context().GetEditHistory()->CanUndo());
    EXPECT_EQ(messages.texts(), QStringList({"项目以只读方式打开，未作任何更改", reason}));
}

TEST_F(ProjectOpeningTest, AnObjectOfAProjectThatIsOnlyShownIsNotUpdatedAndOneMessageSaysWhy) {
    openSample();
    Special_Point point(toGbk("甲"), {114.0, 30.7, 50.0});
    ASSERT_TRUE(context().GetStationWindow()->AddPointNode(point));
    context().closeProject();
    const OtherWorkbench other(m_project);
    ASSERT_TRUE(other.holds());
    ASSERT_FALSE(context().openProject(m_project).has_value());
    const MessageWatch messages;
    point.SetName(toGbk("乙"));
    EXPECT_FALSE(context().GetStationWindow()->UpdataNode(point, toGbk("甲")));
    EXPECT_EQ(messages.texts(), QStringList{context().readOnlyReason()});
    EXPECT_TRUE(context().GetStationWindow()->isReiterated_node("甲"));
    EXPECT_FALSE(context().GetStationWindow()->isReiterated_node("乙"));
}

TEST_F(ProjectOpeningTest, WhatTheOtherProcessChangesAppearsByItself) {
    openSample();
    context().closeProject();
    const OtherWorkbench other(m_project);
    ASSERT_TRUE(other.holds());
    ASSERT_FALSE(context().openProject(m_project).has_value());
    mysqlhelper::KV_MySQL writer((m_project + "/inspection.db").toStdString());
    inspection::ProjectHistory history;
    history.setDatabase(&writer, "");
    ASSERT_TRUE(history.perform("添加特殊点 甲", [](inspection::EditTransaction& edit) {
        edit.insert("special_point",
                    {{"name", toGbk("甲")}, {"lon_deg", 114.0}, {"lat_deg", 30.7}, {"height_m", 50.0}});
    }));
    EXPECT_TRUE(waitUntil([&] { return context().GetStationWindow()->isReiterated_node("甲"); }));
    history.TakeUndo()->Undo(true);
    EXPECT_TRUE(waitUntil([&] { return !context().GetStationWindow()->isReiterated_node("甲"); }));
}

TEST_F(ProjectOpeningTest, TheSameProjectCanBeOpenedAgain) {
    openSample();
    ASSERT_FALSE(context().openProject(m_project).has_value());
    EXPECT_GT(tree().topLevelItem(0)->childCount(), 0);
}

TEST_F(ProjectOpeningTest, StoredResultsAreThereAfterReopening) {
    openSample();
    computeStations(2);
    const QString count = station(0)->text(1);
    context().closeProject();
    ASSERT_FALSE(context().openProject(m_project).has_value());
    EXPECT_EQ(station(0)->text(1), count);
}

TEST_F(ProjectOpeningTest, ShutdownWhileComputingIsOrderlyAndTheContextStartsAgain) {
    openSample();
    clickCheckBox(station(0));
    context().GetStationWindow()->PickCurrentShowItemsDiff();
    context().shutdown();
    EXPECT_FALSE(context().isWorking());
    EXPECT_EQ(context().GetStationWindow(), nullptr);
    context().initialise(m_window.get());
    ASSERT_FALSE(context().openProject(m_project).has_value());
    EXPECT_EQ(station(0)->text(1), "未计算");
}

} // namespace
