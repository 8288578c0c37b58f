// Edits that are recorded with the project.

#include "Opened.h"
#include "TestDatabase.h"

#include "host/Gbk.h"
#include "workbench/inspectiondata/database/Schema.h"
#include "workbench/inspectiondata/history/ProjectHistory.h"

#include <limits>

namespace {

using namespace inspection;
using mysqlhelper::KV_Blob;
using mysqlhelper::KV_MySQL_Exception;
using mysqlhelper::KV_Record;
using mysqlhelper::KV_Rows;

TEST(RowChangeTest, EveryKindOfValueComesBackExactlyFromItsText) {
    RowChange change{"special_point", std::numeric_limits<std::int64_t>::max(), KV_Record(), std::nullopt};
    change.before->insert({{"whole", std::int64_t{1} << 60},
                           {"real", 0.1 + 0.2},
                           {"tiny", std::numeric_limits<double>::denorm_min()},
                           {"text", toGbk(QString::fromUtf8("引号'\";--\\\n😀"))},
                           {"zero", toGbk(QString::fromUtf8("a\0b", 3))},
                           {"empty", std::string()},
                           {"nothing", std::monostate()},
                           {"bytes", KV_Blob{0, 255, 1}}});
    const auto back = toRowChanges(toText({change, change}));
    ASSERT_TRUE(back);
    ASSERT_EQ(back->size(), 2U);
    EXPECT_EQ(back->at(1).table, "special_point");
    EXPECT_EQ(back->at(1).id, change.id);
    EXPECT_EQ(back->at(1).before, change.before);
    EXPECT_FALSE(back->at(1).after);
}

TEST(RowChangeTest, WhatAnEditLeavesAsItIsIsWrittenOnce) {
    const KV_Record before{
        {"id", std::int64_t{7}}, {"outline_wkt", std::string("POLYGON")}, {"name", std::string("a")}};
    KV_Record after = before;
    after["name"] = std::string("b");
    const std::string text = toText({{"anomaly", 7, before, after}});
    EXPECT_EQ(text.find("POLYGON"), text.rfind("POLYGON")) << text;
    const auto back = toRowChanges(text).value();
    EXPECT_EQ(back.at(0).before, before);
    EXPECT_EQ(back.at(0).after, after);
    // As it was written before, twice.
    const std::string whole =
        R"([{"after":{"id":7,"name":"b","outline_wkt":"POLYGON"},)"
        R"("before":{"id":7,"name":"a","outline_wkt":"POLYGON"},"id":7,"table":"anomaly"}])";
    EXPECT_EQ(toRowChanges(whole).value().at(0).after, after);
}

TEST(RowChangeTest, TextThatIsNoneIsRefused) {
    for (const char* text : {"", "x", "{}", "[1]", R"([{"table":"a","id":1}])"}) {
        EXPECT_FALSE(toRowChanges(text)) << text;
    }
}

/// The history of a small project, whose special points are edited.
class HistoryTest : public testing::TestWithParam<DatabaseKind> {
protected:
    HistoryTest() { m_history.setDatabase(&m_opened.sql(), ""); }

    static KV_Record point(const char* name) {
        return {{"name", toGbk(name)}, {"lon_deg", 114.0}, {"lat_deg", 30.7}, {"height_m", 50.0}};
    }
    std::int64_t add(const char* name) {
        std::int64_t id = 0;
        EXPECT_TRUE(m_history.perform(QString("添加 ") + name, [&](EditTransaction& edit) {
            id = edit.insert("special_point", point(name));
        }));
        return id;
    }
    /// Without their versions, which an undo does not take back.
    KV_Rows rows() {
        KV_Rows rows = m_opened.sql().queryRecord("select * from special_point order by id");
        for (KV_Record& row : rows) {
            row.erase("version");
        }
        return rows;
    }
    std::int64_t storedEdits() {
        const auto counted =
            m_opened.sql().queryRecord("select count(*) as n from edit_history where is_dropped=0");
        return std::get<std::int64_t>(counted[0].at("n"));
    }
    void undo() { m_history.TakeUndo()->Undo(true); }
    void redo() { m_history.TakeRedo()->Redo(true); }
    static std::string textOf(EditCommand& edit) {
        std::string text;
        edit.GetText(text);
        return gbkToUtf8(text);
    }

    OpenedProject m_opened{newProjectDatabase(GetParam())};
    ProjectHistory m_history;
};
INSTANTIATE_TEST_SUITE_P(On, HistoryTest, kEachKind, kindName);

TEST_P(HistoryTest, ManyRowsAreTakenBackAndMadeAgainLikeOne) {
    constexpr int kRows = 1203; // more than two statements name
    std::vector<RowEdit> edits;
    std::vector<SeenRow> shown;
    ASSERT_TRUE(m_history.perform("添加", [&](EditTransaction& edit) {
        for (int i = 0; i < kRows; ++i) {
            const std::int64_t id = edit.insert("special_point", point(std::to_string(i).c_str()));
            edits.push_back({id, {{"attribute", "group " + std::to_string(i % 3)}}, edit.revision()});
            shown.push_back({id, edit.revision()});
        }
    }));
    const KV_Rows added = rows();
    edits.push_back({edits.front().id, {{"attribute", std::string("twice")}}, 0});
    ASSERT_TRUE(m_history.perform("编辑", [&](EditTransaction& edit) {
        EXPECT_TRUE(edit.update("special_point", edits));
        EXPECT_TRUE(edit.conflicts().empty());
        EXPECT_EQ(edit.changes().size(), static_cast<std::size_t>(kRows));
        EXPECT_EQ(edit.changes().back().id, shown.back().id) << "in the order in which they were given";
    }));
    const KV_Rows edited = rows();
    ASSERT_EQ(edited.size(), static_cast<std::size_t>(kRows));
    for (std::size_t i = 0; i < edited.size(); ++i) {
        ASSERT_EQ(std::get<std::string>(edited[i].at("attribute")), "group " + std::to_string(i % 3));
    }
    ASSERT_TRUE(m_history.perform("删除", [&](EditTransaction& edit) {
        edit.remove("special_point", shown);
        edit.insert("special_point", point("0")); // the name of a row that has gone
    }));
    const KV_Rows replaced = rows();
    ASSERT_EQ(replaced.size(), 1U);
    for (const KV_Rows& before : {edited, added, KV_Rows()}) {
        undo();
        EXPECT_EQ(rows(), before);
    }
    for (const KV_Rows& after : {added, edited, replaced}) {
        redo();
        EXPECT_EQ(rows(), after);
    }
}

TEST_P(HistoryTest, EachKindOfChangeIsTakenBackAndMadeAgainWithItsId) {
    const std::int64_t first = add("甲");
    const KV_Rows added = rows();
    ASSERT_TRUE(m_history.perform("编辑", [&](EditTransaction& edit) {
        edit.update("special_point", first, {{"name", toGbk("乙")}, {"height_m", 1.0 / 3.0}}, 0);
    }));
    const KV_Rows edited = rows();
    ASSERT_TRUE(m_history.perform("删除", [&](EditTransaction& edit) {
        edit.remove("special_point", first, 0);
        edit.insert("special_point", point("丙"));
    }));
    const KV_Rows replaced = rows();
    undo();
    EXPECT_EQ(rows(), edited);
    undo();
    EXPECT_EQ(rows(), added);
    undo();
    EXPECT_TRUE(rows().empty());
    EXPECT_FALSE(m_history.CanUndo());
    redo();
    EXPECT_EQ(rows(), added);
    redo();
    EXPECT_EQ(rows(), edited);
    redo();
    EXPECT_EQ(rows(), replaced);
    EXPECT_FALSE(m_history.CanRedo());
}

TEST_P(HistoryTest, ANewEditAfterAnUndoDropsWhatCouldBeRedone) {
    add("甲");
    add("乙");
    undo();
    EXPECT_TRUE(m_history.CanRedo());
    add("丙");
    EXPECT_FALSE(m_history.CanRedo());
    EXPECT_EQ(storedEdits(), 2);
    undo();
    undo();
    EXPECT_TRUE(rows().empty());
}

TEST_P(HistoryTest, AFailedEditChangesNothingAndIsNotRecorded) {
    add("甲");
    undo();
    const Status outcome = m_history.perform("两个", [&](EditTransaction& edit) {
        edit.insert("special_point", point("乙"));
        edit.insert("special_point", point("乙")); // a name may be there once
    });
    ASSERT_FALSE(outcome);
    EXPECT_TRUE(outcome.error().userMessage.startsWith("数据库拒绝了修改"))
        << outcome.error().userMessage.toStdString();
    EXPECT_TRUE(rows().empty());
    EXPECT_TRUE(m_history.CanRedo()) << "what could be redone still can";
    EXPECT_EQ(storedEdits(), 1);
}

TEST_P(HistoryTest, WorkThatChangesNothingIsNoEdit) {
    const std::int64_t id = add("甲");
    ASSERT_TRUE(m_history.perform("同名", [&](EditTransaction& edit) {
        edit.update("special_point", id, {{"name", toGbk("甲")}}, 0);
        edit.remove("special_point", 999, 0);
    }));
    EXPECT_EQ(storedEdits(), 1);
}

TEST_P(HistoryTest, BothSidesAreThereAfterARestart) {
    add("甲");
    add("乙");
    add("丙");
    undo();
    ProjectHistory later;
    later.setDatabase(&m_opened.sql(), "");
    ASSERT_TRUE(later.CanRedo());
    EditCommand* redone = later.TakeRedo();
    EXPECT_EQ(textOf(*redone), "添加 丙");
    redone->Redo(true);
    EXPECT_EQ(rows().size(), 3U);
    later.UndoSteps(2);
    EXPECT_EQ(rows().size(), 1U);
    EXPECT_TRUE(later.CanUndo());
}

TEST_P(HistoryTest, SeveralStepsAreTakenBackTogetherOrNotAtAll) {
    add("甲");
    add("乙");
    const std::int64_t last = add("丙");
    m_opened.sql().execute("update special_point set attribute='other' where id=2");
    m_history.UndoSteps(3);
    EXPECT_EQ(rows().size(), 3U) << "one of them has been changed by somebody else";
    EXPECT_TRUE(m_history.CanUndo());
    EXPECT_FALSE(m_history.CanRedo());
    m_history.UndoSteps(1);
    EXPECT_EQ(rows().size(), 2U);
    EXPECT_NE(std::get<std::int64_t>(rows().back().at("id")), last);
    m_opened.sql().execute("update special_point set attribute='' where id=2");
    m_history.UndoSteps(99);
    EXPECT_TRUE(rows().empty());
}

TEST_P(HistoryTest, ARefusedUndoOrRedoLeavesTheEditOnItsSide) {
    const std::int64_t id = add("甲");
    m_opened.sql().execute("update special_point set attribute='other'");
    undo();
    EXPECT_TRUE(m_history.CanUndo());
    EXPECT_EQ(rows().size(), 1U);
    m_opened.sql().execute("update special_point set attribute=''");
    undo();
    EXPECT_FALSE(m_history.CanUndo());
    m_opened.sql().insertRecord("special_point", point("甲"));
    redo();
    EXPECT_TRUE(m_history.CanRedo());
    m_opened.sql().execute("delete from special_point");
    redo();
    EXPECT_EQ(std::get<std::int64_t>(rows().at(0).at("id")), id);
}

TEST_P(HistoryTest, DamagedEntriesAreRefused) {
    add("甲");
    m_opened.sql().execute("update edit_history set changes='[{'");
    undo();
    EXPECT_TRUE(m_history.CanUndo());
    EXPECT_EQ(rows().size(), 1U);
}

TEST_P(HistoryTest, WithoutADatabaseThereIsNothingToUndoAndNothingIsPerformed) {
    add("甲");
    m_history.setDatabase(nullptr, "");
    EXPECT_FALSE(m_history.CanUndo());
    EXPECT_FALSE(m_history.CanRedo());
    EXPECT_FALSE(m_history.perform("无", [](EditTransaction&) { FAIL(); }));
}

TEST(HistorySchemaTest, ADatabaseOfTheFirstVersionIsBroughtForwardWithItsRows) {
    OpenedProject opened;
    opened.sql().execute("drop table edit_history");
    opened.sql().execute("pragma user_version=1");
    opened.sql().insertRecord("special_point",
                              {{"name", toGbk("甲")}, {"lon_deg", 1.0}, {"lat_deg", 2.0}, {"height_m", 3.0}});
    opened.database.reset();
    const auto again =
        valueOf(PipelineDatabase::open(opened.project.description(), Project::Access::Exclusive));
    EXPECT_EQ(storedSchemaVersion(*again->GetMySQL()), kSchemaVersion);
    EXPECT_EQ(again->GetMySQL()->queryRecord("select * from special_point").size(), 1U);
    ProjectHistory history;
    history.setDatabase(again->GetMySQL(), "");
    EXPECT_FALSE(history.CanUndo());
}

} // namespace
