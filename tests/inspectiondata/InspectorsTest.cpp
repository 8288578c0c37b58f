// Several inspectors who edit the same project at the same time.

#include "Opened.h"
#include "TestDatabase.h"

#include "host/Gbk.h"
#include "workbench/inspectiondata/database/Inspector.h"
#include "workbench/inspectiondata/database/Revision.h"
#include "workbench/inspectiondata/history/ProjectHistory.h"

#include <QStringList>

#include <functional>
#include <future>
#include <utility>

namespace {

using namespace inspection;
using mysqlhelper::KV_MySQL;
using mysqlhelper::KV_Record;

/// Somebody with a connection and a history of his own.
struct Inspector {
    Inspector(const QString& url, const QString& inspectorName)
        : database(url.toStdString()), name(inspectorName) {
        history.setDatabase(&database, name);
        QObject::connect(&history, &ProjectHistory::rowsChanged,
                         [this](const RowChanges& changes, Showing showing) {
                             if (showing == Showing::InPlace) {
                                 seen = changes;
                             }
                         });
        QObject::connect(&history, &ProjectHistory::replacedByOthers, [this] { ++replacements; });
        QObject::connect(&history, &ProjectHistory::refused,
                         [this](const QString& message) { refusals << message; });
        history.setConflictQuestion([this](const QString& question) {
            questions << question;
            if (whileAsked) {
                std::exchange(whileAsked, {})();
            }
            return replaces;
        });
    }

    std::int64_t add(const char* point) {
        std::int64_t id = 0;
        EXPECT_TRUE(history.perform(QString("添加特殊点 ") + point, [&](EditTransaction& edit) {
            id = edit.insert(
                "special_point",
                {{"name", toGbk(point)}, {"lon_deg", 114.0}, {"lat_deg", 30.7}, {"height_m", 50.0}});
        }));
        return id;
    }
    /// The row as it is shown to somebody now.
    std::int64_t shownVersion(std::int64_t id) {
        return versionOf(readRow(database, "special_point", id).value_or(KV_Record()));
    }
    Status describe(std::int64_t id, const char* attribute, std::int64_t shown) {
        return history.perform(QString("编辑特殊点 为 ") + attribute, [&](EditTransaction& edit) {
            edit.update("special_point", id, {{"attribute", toGbk(attribute)}}, shown);
        });
    }
    Status remove(std::int64_t id, std::int64_t shown) {
        return history.perform("删除特殊点",
                               [&](EditTransaction& edit) { edit.remove("special_point", id, shown); });
    }
    QString attribute(std::int64_t id) {
        const auto row = readRow(database, "special_point", id);
        return row ? fromGbk(std::get<std::string>(row->at("attribute"))) : QString();
    }
    void undo() { history.TakeUndo()->Undo(true); }
    void look() { history.takeStepsOfOthers(readRevision(database)); }

    KV_MySQL database;
    const QString name;
    ProjectHistory history;
    RowChanges seen;
    int replacements = 0;
    QStringList questions;
    QStringList refusals;
    bool replaces = false;
    std::function<void()> whileAsked;
};

class InspectorsTest : public testing::TestWithParam<DatabaseKind> {
protected:
    OpenedProject m_opened{newProjectDatabase(GetParam())};
    const QString m_url = m_opened.project.description().databaseUrl();
    Inspector m_li{m_url, "li@office:/line"};
    Inspector m_wang{m_url, "wang@field:/line"};
};
INSTANTIATE_TEST_SUITE_P(On, InspectorsTest, kEachKind, kindName);

TEST_P(InspectorsTest, AnEditOfARowThatSomebodyElseChangedIsAskedAboutAndNotStoredAgainstTheUsersWill) {
    const std::int64_t id = m_li.add("甲");
    const std::int64_t shown = m_wang.shownVersion(id);
    ASSERT_TRUE(m_li.describe(id, "阀室", m_li.shownVersion(id)));
    const Status outcome = m_wang.describe(id, "三通", shown);
    ASSERT_FALSE(outcome);
    EXPECT_TRUE(outcome.error().cancelled) << "the user has said no; there is nothing to tell him";
    ASSERT_EQ(m_wang.questions.size(), 1);
    EXPECT_EQ(m_wang.questions[0].toStdString(),
              "“甲”已被 li@office 修改（编辑特殊点 为 阀室）。是否仍按您的操作保存？");
    EXPECT_EQ(m_wang.attribute(id), "阀室");
    EXPECT_FALSE(m_wang.history.CanUndo());
}

TEST_P(InspectorsTest, TheUserMayReplaceWhatSomebodyElseDidAndTakeThatBack) {
    const std::int64_t id = m_li.add("甲");
    const std::int64_t shown = m_wang.shownVersion(id);
    ASSERT_TRUE(m_li.describe(id, "阀室", shown));
    m_wang.replaces = true;
    ASSERT_TRUE(m_wang.describe(id, "三通", shown));
    EXPECT_EQ(m_wang.attribute(id), "三通");
    EXPECT_TRUE(m_wang.describe(id, "弯头", shown)) << "asked once, not again";
    EXPECT_EQ(m_wang.questions.size(), 1);
    m_wang.undo();
    m_wang.undo();
    EXPECT_EQ(m_wang.attribute(id), "阀室") << "as it was before, not as it was shown";
}

TEST_P(InspectorsTest, WhatIsChangedWhileTheUserThinksIsAskedAboutAgain) {
    const std::int64_t id = m_li.add("甲");
    const std::int64_t shown = m_wang.shownVersion(id);
    ASSERT_TRUE(m_li.describe(id, "阀室", 0));
    m_wang.replaces = true;
    m_wang.whileAsked = [&] { ASSERT_TRUE(m_li.describe(id, "弯头", 0)); };
    ASSERT_TRUE(m_wang.describe(id, "三通", shown));
    ASSERT_EQ(m_wang.questions.size(), 2);
    EXPECT_TRUE(m_wang.questions[1].contains("为 弯头")) << m_wang.questions[1].toStdString();
    EXPECT_EQ(m_wang.attribute(id), "三通");
}

TEST_P(InspectorsTest, TheQuestionTellsAnUndoFromAnEdit) {
    const std::int64_t id = m_li.add("甲");
    ASSERT_TRUE(m_li.describe(id, "阀室", 0));
    const std::int64_t shown = m_wang.shownVersion(id);
    m_li.undo();
    EXPECT_FALSE(m_wang.describe(id, "三通", shown));
    ASSERT_EQ(m_wang.questions.size(), 1);
    EXPECT_TRUE(m_wang.questions[0].contains("（撤销：编辑特殊点 为 阀室）"))
        << m_wang.questions[0].toStdString();
}

TEST_P(InspectorsTest, WithoutAnybodyElseNothingIsAskedHoweverOldWhatTheUserSees) {
    const std::int64_t id = m_li.add("甲");
    EXPECT_TRUE(m_li.describe(id, "一", 0)) << "drawn in this run, its version is not known";
    const std::int64_t shown = m_li.shownVersion(id);
    EXPECT_TRUE(m_li.describe(id, "二", shown));
    EXPECT_TRUE(m_li.describe(id, "三", shown));
    m_li.undo();
    EXPECT_TRUE(m_li.describe(id, "四", shown));
    EXPECT_TRUE(m_li.remove(id, shown));
    m_li.undo();
    EXPECT_TRUE(m_li.describe(id, "五", shown));
    EXPECT_EQ(m_li.attribute(id), "五");
    EXPECT_TRUE(m_li.questions.isEmpty());
}

TEST_P(InspectorsTest, OwnEditsAfterSomebodyElsesDoNotHideHis) {
    const std::int64_t id = m_li.add("甲");
    const std::int64_t first = m_wang.shownVersion(id);
    ASSERT_TRUE(m_li.describe(id, "一", 0));
    ASSERT_TRUE(m_wang.describe(id, "二", m_wang.shownVersion(id)));
    EXPECT_FALSE(m_wang.describe(id, "三", first)) << "a form that was open since before li's edit";
    EXPECT_EQ(m_wang.questions.size(), 1);
    EXPECT_EQ(m_wang.attribute(id), "二");
}

TEST_P(InspectorsTest, WhatSomebodyElseDeletedIsNotEditedAndTheUserIsTold) {
    const std::int64_t id = m_li.add("甲");
    const std::int64_t shown = m_wang.shownVersion(id);
    ASSERT_TRUE(m_li.remove(id, 0));
    const Status outcome = m_wang.describe(id, "三通", shown);
    ASSERT_FALSE(outcome);
    EXPECT_EQ(outcome.error().userMessage.toStdString(), "“甲”已被 li@office 删除，您的修改未保存");
    EXPECT_TRUE(m_wang.questions.isEmpty());
    EXPECT_TRUE(m_wang.remove(id, shown)) << "deleting it again is no failure";
}

TEST_P(InspectorsTest, DeletingWhatSomebodyElseChangedIsAskedAbout) {
    const std::int64_t id = m_li.add("甲");
    const std::int64_t shown = m_wang.shownVersion(id);
    ASSERT_TRUE(m_li.describe(id, "阀室", 0));
    EXPECT_FALSE(m_wang.remove(id, shown));
    EXPECT_EQ(m_wang.attribute(id), "阀室");
    m_wang.replaces = true;
    EXPECT_TRUE(m_wang.remove(id, shown));
    EXPECT_FALSE(readRow(m_wang.database, "special_point", id));
    EXPECT_EQ(m_wang.questions.size(), 2);
}

TEST_P(InspectorsTest, OneQuestionStandsForAllRowsOfAnEdit) {
    const std::int64_t first = m_li.add("甲");
    const std::int64_t second = m_li.add("乙");
    const std::int64_t third = m_li.add("丙");
    const auto shown = m_wang.shownVersion(third); // of the only row that nobody changes then
    ASSERT_TRUE(m_li.describe(first, "一", 0));
    ASSERT_TRUE(m_li.describe(second, "二", 0));
    m_wang.replaces = true;
    EXPECT_TRUE(m_wang.history.perform("编辑 3 个", [&](EditTransaction& edit) {
        for (const std::int64_t id : {first, second, third}) {
            edit.update("special_point", id, {{"attribute", toGbk("三通")}}, shown);
        }
    }));
    ASSERT_EQ(m_wang.questions.size(), 1);
    EXPECT_TRUE(m_wang.questions[0].startsWith("“甲”等 2 项已被 li@office 修改（编辑特殊点 为 一）"))
        << m_wang.questions[0].toStdString();
    EXPECT_EQ(m_wang.attribute(first), "三通");
    m_wang.undo();
    EXPECT_EQ(m_wang.attribute(first), "一");
    EXPECT_EQ(m_wang.attribute(second), "二");
}

TEST_P(InspectorsTest, EachUndoesHisOwnEdits) {
    const std::int64_t first = m_li.add("甲");
    const std::int64_t second = m_wang.add("乙");
    m_li.undo();
    EXPECT_FALSE(readRow(m_li.database, "special_point", first));
    EXPECT_TRUE(readRow(m_li.database, "special_point", second));
    EXPECT_FALSE(m_li.history.CanUndo());
    ProjectHistory again;
    again.setDatabase(&m_wang.database, m_wang.name);
    EXPECT_TRUE(again.CanUndo());
    EXPECT_FALSE(again.CanRedo()) << "what li has undone is his";
}

TEST_P(InspectorsTest, AnUndoNeverTakesAwayWhatSomebodyElseDidLater) {
    const std::int64_t id = m_li.add("甲");
    ASSERT_TRUE(m_wang.describe(id, "三通", m_wang.shownVersion(id)));
    m_li.undo();
    EXPECT_EQ(m_li.attribute(id), "三通");
    EXPECT_TRUE(m_li.history.CanUndo());
    m_wang.undo();
    m_li.undo();
    EXPECT_FALSE(readRow(m_li.database, "special_point", id)) << "now it is as li has left it";
}

TEST_P(InspectorsTest, EveryStepOfOthersIsSeenOnceWithTheRowsAsTheyAreNow) {
    m_wang.look();
    EXPECT_TRUE(m_wang.seen.empty());
    const std::int64_t id = m_li.add("甲");
    ASSERT_TRUE(m_li.describe(id, "阀室", 0));
    m_wang.look();
    ASSERT_EQ(m_wang.seen.size(), 1U) << "one change for the row, not one for each edit";
    EXPECT_FALSE(m_wang.seen[0].before);
    EXPECT_EQ(m_wang.seen[0].after, readRow(m_wang.database, "special_point", id));
    m_wang.seen.clear();
    m_wang.look();
    EXPECT_TRUE(m_wang.seen.empty());
    m_li.undo();
    m_wang.look();
    ASSERT_EQ(m_wang.seen.size(), 1U);
    EXPECT_EQ(m_wang.seen[0].after, readRow(m_wang.database, "special_point", id));
    m_li.undo();
    m_wang.look();
    ASSERT_EQ(m_wang.seen.size(), 1U);
    EXPECT_FALSE(m_wang.seen[0].after);
}

TEST_P(InspectorsTest, AnUndoThatANewEditHasDroppedIsSeenAllTheSame) {
    const std::int64_t id = m_li.add("甲");
    m_wang.look();
    m_li.undo();
    m_li.add("乙");
    m_wang.look();
    ASSERT_FALSE(m_wang.seen.empty());
    EXPECT_EQ(m_wang.seen.front().id, id);
    EXPECT_TRUE(m_wang.seen.front().before);
    EXPECT_EQ(m_wang.seen.front().after, readRow(m_wang.database, "special_point", id)) << "or a new row";
    EXPECT_EQ(fromGbk(std::get<std::string>(m_wang.seen.back().after->at("name"))), "乙");
}

TEST_P(InspectorsTest, OwnEditsAreNotAnnouncedAsThoseOfOthers) {
    m_li.add("甲");
    m_wang.add("乙");
    m_wang.add("丙");
    m_wang.look();
    ASSERT_EQ(m_wang.seen.size(), 1U);
    EXPECT_EQ(fromGbk(std::get<std::string>(m_wang.seen[0].after->at("name"))), "甲");
}

TEST_P(InspectorsTest, AReplacementOfTablesMakesOthersReadEverythingAnew) {
    m_wang.add("甲");
    {
        KV_MySQL::Transaction transaction(m_li.database);
        noteReplacement(m_li.database, m_li.name, "anomaly", "计算 1 个站段的异常");
        transaction.commit();
    }
    m_wang.look();
    EXPECT_EQ(m_wang.replacements, 1);
    EXPECT_TRUE(m_wang.history.CanUndo());
    m_wang.look();
    EXPECT_EQ(m_wang.replacements, 1);
    EXPECT_FALSE(m_li.history.CanUndo()) << "a replacement is no edit";
}

TEST_P(InspectorsTest, WhoOnlyLooksOnSeesEverybodysEditsAndChangesNothing) {
    Inspector reader(m_url, QString());
    const std::int64_t id = m_li.add("甲");
    reader.look();
    EXPECT_EQ(reader.seen.size(), 1U);
    EXPECT_FALSE(reader.history.CanUndo());
    const Status outcome = reader.describe(id, "三通", reader.shownVersion(id));
    ASSERT_FALSE(outcome);
    EXPECT_EQ(outcome.error().userMessage, "项目以只读方式打开，未作任何更改");
    EXPECT_EQ(m_li.attribute(id), "");
}

// Revisions must become visible in their order, or a reader would miss the slower one for ever.
TEST_P(InspectorsTest, EditsAtTheSameTimeWaitForEachOther) {
    constexpr int kEdits = 25;
    const auto work = [this](const QString& name, int first) {
        Inspector inspector(m_url, name);
        for (int i = 0; i < kEdits; ++i) {
            inspector.add(std::to_string(first + i).c_str());
        }
    };
    auto other = std::async(std::launch::async, work, "zhao@field:/line", 1000);
    work("qian@field:/line", 2000);
    other.get();
    m_li.look();
    EXPECT_EQ(m_li.seen.size(), 2U * kEdits);
    EXPECT_EQ(readRevision(m_li.database), 2 * kEdits);
}

TEST(InspectorNameTest, EditsInAFileAreNobodysAndThoseOnAServerBelongToTheFolder) {
    ProjectDescription project;
    project.folder = "/data/line";
    EXPECT_TRUE(inspectorOf(project).isEmpty());
    EXPECT_FALSE(inspectorOf(project).isNull());
    project.database = "mysql://root@db.example.cn/corridor";
    const QString there = inspectorOf(project);
    EXPECT_TRUE(there.endsWith(":/data/line")) << there.toStdString();
    EXPECT_TRUE(shownInspector(there).contains('@'));
    project.folder = "/data/other";
    EXPECT_NE(inspectorOf(project), there);
}

} // namespace
