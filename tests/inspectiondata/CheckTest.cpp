// What `corridor check` finds, each invariant broken by hand.

#include "Opened.h"
#include "TestDatabase.h"

#include "host/Gbk.h"
#include "workbench/inspectiondata/check/CheckProject.h"
#include "workbench/inspectiondata/compute/ComputeAnomalies.h"
#include "workbench/inspectiondata/database/EditTable.h"
#include "workbench/inspectiondata/database/Inspector.h"
#include "workbench/inspectiondata/database/Revision.h"
#include "workbench/inspectiondata/history/ProjectHistory.h"

#include <QFile>
#include <QStringList>

namespace {

using namespace inspection;
using mysqlhelper::KV_MySQL;
using mysqlhelper::KV_Record;

/// A computed project with special objects, edited, undone and made again.
class CheckTest : public testing::TestWithParam<DatabaseKind> {
protected:
    CheckTest() {
        valueOf(computeAnomalies(m_opened.request()));
        // What the program itself never stores.
        sql().execute(GetParam() == DatabaseKind::Sqlite ? "pragma ignore_check_constraints=on"
                                                         : "set session check_constraint_checks=0");
        sql().execute(GetParam() == DatabaseKind::Sqlite ? "pragma foreign_keys=off"
                                                         : "set session foreign_key_checks=0");
        for (const char* name : {"甲", "乙"}) {
            sql().insertRecord("special_point", point(name)); // an imported one has no version
        }
        sql().insertRecord("special_area", area("面"));
        sql().insertRecord("high_consequence_area", area("区"));
        m_history.setDatabase(&sql(), inspectorOf(description()));
        describe(2, "一");
        describe(2, "二");
        describe(2, "三");
        m_history.UndoSteps(2);
        m_history.TakeRedo()->Redo(true);
    }

    static KV_Record point(const char* name) {
        return {{"name", toGbk(name)}, {"lon_deg", 114.0}, {"lat_deg", 30.7}, {"height_m", 50.0}};
    }
    static KV_Record area(const char* name) {
        KV_Record fields = point(name);
        fields["outline_wkt"] = std::string("POLYGON Z ((114 30 1,114.1 30 1,114 30.1 1,114 30 1))");
        for (const char* column : {"fill_red", "fill_green", "fill_blue", "border_red", "border_green",
                                   "border_blue", "opacity"}) {
            fields[column] = 0.5;
        }
        fields["border_width_px"] = std::int64_t{3};
        fields["level"] = std::int64_t{1};
        return fields;
    }
    void describe(std::int64_t id, const char* attribute) {
        EXPECT_TRUE(m_history.perform(QString("编辑特殊点 为 ") + attribute, [&](EditTransaction& edit) {
            edit.update("special_point", id, {{"attribute", toGbk(attribute)}}, 0);
        }));
    }
    KV_MySQL& sql() { return m_opened.sql(); }
    const ProjectDescription& description() const { return m_opened.project.description(); }

    QStringList findings() {
        QStringList lines;
        for (const Finding& finding : checkProject(description(), sql())) {
            lines << finding.line();
        }
        return lines;
    }
    void expectFinding(const QString& line) {
        const QStringList found = findings();
        EXPECT_TRUE(found.contains(line)) << line.toStdString() << "\nnot in:\n"
                                          << found.join('\n').toStdString();
    }
    void expectClean() { EXPECT_EQ(findings().join('\n').toStdString(), ""); }
    /// Changes a row, looks for the finding, and puts the row back.
    void expectFindingAfter(const std::string& table, const std::string& change, const QString& line,
                            std::int64_t id = 1) {
        const std::string condition = "where id=" + std::to_string(id);
        const auto rows = sql().queryRecord("select * from " + table + ' ' + condition);
        ASSERT_EQ(rows.size(), 1U) << table;
        sql().execute(toGbk(("update " + table + " set " + change + ' ' + condition).c_str()));
        expectFinding(line);
        sql().updateRecord(table, rows[0], condition);
    }
    std::int64_t revision() { return readRevision(sql()); }
    std::int64_t newestEdit() {
        return std::get<std::int64_t>(
            sql().queryRecord("select max(id) as n from edit_history where is_dropped=0")[0].at("n"));
    }

    OpenedProject m_opened{newProjectDatabase(GetParam())};
    ProjectHistory m_history;
};
INSTANTIATE_TEST_SUITE_P(On, CheckTest, kEachKind, kindName);

TEST_P(CheckTest, AComputedEditedAndUndoneProjectIsClean) {
    expectClean();
    describe(2, "四"); // drops what could be redone
    expectClean();
    m_history.UndoSteps(99);
    expectClean();
    valueOf(computeAnomalies(m_opened.request()));
    expectClean();
    const auto reader = m_opened.open(Project::Access::ReadOnly);
    EXPECT_TRUE(checkProject(description(), *reader->GetMySQL()).empty());
}

TEST_P(CheckTest, TheCheckSeesEditsOfOthersWhollyOrNotAtAllAndHoldsNobodyUp) {
    const auto reader = m_opened.open(Project::Access::ReadOnly);
    int edits = 0;
    const Findings found = checkProject(description(), *reader->GetMySQL(), [&](double done) {
        if (done < 1.0) {
            describe(1, std::to_string(++edits).c_str());
        }
    });
    EXPECT_GT(edits, 3);
    EXPECT_TRUE(found.empty()) << found.front().line().toStdString();
}

TEST_P(CheckTest, EveryRuleOfStationsIsChecked) {
    const QString one = QStringLiteral("station 1 “一号站”：");
    expectFindingAfter("station", "name=' '", "station 1 “ ”：name 为空");
    expectFindingAfter("station", "x_max=x_min", one + "范围为空");
    expectFindingAfter("station", "start_m=end_m+1", one + "start_m 大于 end_m");
    expectFindingAfter("station", "srs='EPSG:4326'", one + "srs 不是项目的坐标系 EPSG:4547");
    expectFindingAfter("pipe_node", "lat_deg=91", "pipe_node 1 “起点”：lat_deg 91 超出范围 -90 到 90");
    expectFindingAfter("comparison_result", "computed_at='x'",
                       "comparison_result 1：computed_at 不是日期和时间");
    expectFindingAfter("comparison_result", "cells=-1", "comparison_result 1：cells 为负");
    expectFindingAfter("comparison_result", "coregistration='x'", "comparison_result 1：未知的配准方式“x”");
    expectClean();
    sql().execute("delete from station where id=1");
    expectFinding("comparison_result 1：没有这个站段");
}

TEST_P(CheckTest, EveryRuleOfAnomaliesIsChecked) {
    const QString one = QStringLiteral("anomaly 1 “S1-0001”：");
    const auto after = [&](const char* change, const QString& problem) {
        expectFindingAfter("anomaly", change, one + problem);
    };
    ASSERT_TRUE(readRow(sql(), "anomaly", 1));
    after("kind='hole'", "kind 既不是 fill 也不是 cut");
    after("station_id=9", "没有站段 9");
    after("fill_m3=-1", "fill_m3 为负");
    after("cut_m3=-0.5", "cut_m3 为负");
    after("area_m2=-1", "area_m2 为负");
    after("x=x_max+1", "x 不在 x_min 和 x_max 之间");
    after("y=y_min-1", "y 不在 y_min 和 y_max 之间");
    after("dz_mean_m=dz_max_m+1", "dz_mean_m 不在 dz_min_m 和 dz_max_m 之间");
    after("dz_min_m=dz_max_m+1", "dz_min_m 大于 dz_max_m");
    after("lon_deg=181", "lon_deg 181 超出范围 -180 到 180");
    after("lat_deg=-91", "lat_deg -91 超出范围 -90 到 90");
    after("outline_wkt='POLYGON (('", "outline_wkt 不是多边形");
    after("outline_wkt='POINT (1 2)'", "outline_wkt 不是多边形");
    const char* const beyond = "outline_wkt 超出 x_min、y_min、x_max、y_max 的范围";
    after("x_min=x_min-2000, x_max=x_max-2000, x=x-2000", beyond);
    after("y_min=y_min+2000, y_max=y_max+2000, y=y+2000", beyond);
    after("version=999", QStringLiteral("version 999 不在 0 和项目的修订号 %1 之间").arg(revision()));
    expectFindingAfter("anomaly", "name=''", "anomaly 1：name 为空");
    expectClean();
}

TEST_P(CheckTest, ANumberThatIsNoneIsFound) {
    if (GetParam() == DatabaseKind::MariaDb) {
        EXPECT_ANY_THROW(sql().execute("update anomaly set x=9e999")) << "the server itself refuses";
        return;
    }
    expectFindingAfter("anomaly", "x=9e999", "anomaly 1 “S1-0001”：x 不是有限的数");
    expectFindingAfter("special_point", "height_m='high'", "special_point 1 “甲”：height_m 不是有限的数");
    expectClean();
}

TEST_P(CheckTest, EveryRuleOfSpecialObjectsIsChecked) {
    const auto area = [&](const char* change, const char* problem) {
        expectFindingAfter("special_area", change, QStringLiteral("special_area 1 “面”：") + problem);
        expectFindingAfter("high_consequence_area", change,
                           QStringLiteral("high_consequence_area 1 “区”：") + problem);
    };
    area("outline_wkt='POLYGON Z EMPTY'", "outline_wkt 不是多边形或没有顶点");
    area("outline_wkt='POLYGON Z ((1 99 0,2 0 0,3 0 0,1 99 0))'", "outline_wkt 的坐标超出范围");
    area("fill_red=1.5", "fill_red 1.5 超出范围 0 到 1");
    area("border_blue=-0.5", "border_blue -0.5 超出范围 0 到 1");
    area("opacity=2", "opacity 2 超出范围 0 到 1");
    area("level=6", "level 6 超出范围 0 到 5");
    area("border_width_px=-1", "border_width_px 为负");
    area("lat_deg=-91", "lat_deg -91 超出范围 -90 到 90");
    expectFindingAfter("special_point", "lon_deg=-181",
                       "special_point 1 “甲”：lon_deg -181 超出范围 -180 到 180");
    expectFindingAfter("special_point", "name=''", "special_point 1：name 为空");
    expectFindingAfter(
        "special_point", "version=-1",
        QStringLiteral("special_point 1 “甲”：version -1 不在 0 和项目的修订号 %1 之间").arg(revision()));
    expectFindingAfter("special_area", "name='甲'", "special_area 1 “甲”：名称重复，special_point 中已有");
    expectFindingAfter("high_consequence_area", "name='面'",
                       "high_consequence_area 1 “面”：名称重复，special_area 中已有");
    expectClean();
}

TEST_P(CheckTest, ANameThatATableWithoutItsConstraintsHoldsTwiceIsFound) {
    sql().execute("create table copied as select * from anomaly");
    sql().execute("drop table anomaly");
    sql().execute("alter table copied rename to anomaly");
    expectClean();
    sql().execute("update anomaly set name='S1-0001'");
    expectFinding("anomaly 3 “S1-0001”：名称重复");
}

TEST_P(CheckTest, EveryRuleOfEditsIsChecked) {
    const std::int64_t newest = newestEdit();
    const auto after = [&](std::int64_t id, const std::string& change, const QString& problem) {
        expectFindingAfter("edit_history", change, QStringLiteral("edit_history %1：").arg(id) + problem, id);
    };
    after(newest, "made_at='yesterday'", "made_at 不是日期和时间");
    after(newest, "subject='station'", "subject 不是可编辑的数据表");
    after(newest, "changes='[{'", "changes 已损坏");
    after(newest, "changes='[]'", "操作没有任何更改");
    after(newest, "changes=replace(changes, 'special_point', 'station')",
          "changes 中有不属于可编辑数据表的行");
    after(newest, "revision=0", QStringLiteral("revision 0 不在 1 和项目的修订号 %1 之间").arg(revision()));
    after(newest, "revision=999",
          QStringLiteral("revision 999 不在 1 和项目的修订号 %1 之间").arg(revision()));
    expectFindingAfter(
        "edit_history", "is_undone=1",
        QStringLiteral("edit_history %1：排在同一人已撤销的操作之后，却没有撤销").arg(newest - 1),
        newest - 2);
    expectClean();
}

TEST_P(CheckTest, OnlyEditsThatWereUndoneTogetherShareARevision) {
    const QString shared = "edit_history %1：与另一操作的 revision 相同";
    m_history.UndoSteps(2);
    expectClean();
    const std::int64_t newest = newestEdit();
    expectFindingAfter("edit_history", "inspector='somebody'", shared.arg(newest - 1), newest - 1);
    m_history.TakeRedo()->Redo(true);
    m_history.TakeRedo()->Redo(true);
    expectClean();
    sql().execute("update edit_history set revision=" + std::to_string(revision()) +
                  " where is_dropped=0 and is_undone=0");
    expectFinding(shared.arg(newest - 1));
}

TEST_P(CheckTest, RowsMustBeWhatTheLastEditLeft) {
    const QString two = QStringLiteral("special_point 2 “乙”：");
    expectFindingAfter("special_point", "attribute='一'", two + "与修改记录不一致：attribute", 2);
    expectFindingAfter("special_point", "attribute='三'", two + "与修改记录不一致：attribute", 2);
    expectFindingAfter("special_point", "lon_deg=115, height_m=1",
                       two + "与修改记录不一致：height_m、lon_deg", 2);
    expectClean();
    const auto row = readRow(sql(), "special_point", 2);
    sql().execute("delete from special_point where id=2");
    expectFinding(two + "按修改记录应当存在，却没有");
    sql().insertRecord("special_point", *row);
    expectClean();
    EXPECT_TRUE(m_history.perform("删除", [](EditTransaction& edit) { edit.remove("special_point", 2, 0); }));
    expectClean();
    sql().insertRecord("special_point", *row);
    expectFinding(two + "按修改记录应已不存在");
}

TEST_P(CheckTest, AnUndoThatWasOnlyMarkedIsFound) {
    const std::int64_t newest = newestEdit() - 1; // the newest that is not undone
    sql().execute("update edit_history set is_undone=1 where id=" + std::to_string(newest));
    expectFinding("special_point 2 “乙”：与修改记录不一致：attribute");
}

TEST_P(CheckTest, AnImportMayUseTheIdOfARowThatAnUndoRemoved) {
    std::int64_t id = 0;
    EXPECT_TRUE(m_history.perform(
        "添加", [&](EditTransaction& edit) { id = edit.insert("special_point", point("丙")); }));
    m_history.TakeUndo()->Undo(true);
    KV_Record imported = point("丁");
    imported["id"] = id;
    {
        KV_MySQL::Transaction transaction(sql());
        noteReplacement(sql(), inspectorOf(description()), "special_point", "导入 1 个特殊点");
        sql().insertRecord("special_point", imported);
        transaction.commit();
    }
    expectClean();
    sql().execute("delete from edit_history where changes='[]'"); // a day later
    expectClean();
}

TEST_P(CheckTest, EditsBeforeAComputationSayNothingAboutAnomalies) {
    EXPECT_TRUE(m_history.perform("分类", [](EditTransaction& edit) {
        edit.update("anomaly", 1, {{"attribute", toGbk("深挖")}}, 0);
        edit.update("special_point", 1, {{"attribute", toGbk("三通")}}, 0);
    }));
    m_history.TakeUndo()->Undo(true);
    describe(1, "阀室"); // drops it; a computation keeps what is dropped
    expectClean();
    valueOf(computeAnomalies(m_opened.request()));
    sql().execute("update anomaly set attribute='重算后'");
    expectClean();
    sql().execute("update special_point set attribute='x' where id=1");
    expectFinding("special_point 1 “甲”：与修改记录不一致：attribute");
}

TEST_P(CheckTest, MissingRastersAndDatesOutOfOrderAreFound) {
    const QString old = description().oldEpoch().dsm;
    const QString raster = fromGbk(std::get<std::string>(
        sql().queryRecord("select dz_raster from comparison_result where station_id=1")[0].at("dz_raster")));
    ASSERT_TRUE(QFile::remove(old));
    ASSERT_TRUE(QFile::remove(m_opened.files.file(raster)));
    QFile text(description().newEpoch().dom);
    ASSERT_TRUE(text.open(QIODevice::WriteOnly));
    text.write("no raster");
    text.close();
    expectFinding(old + "：文件不存在");
    const bool mayLieElsewhere = GetParam() == DatabaseKind::MariaDb; // with a colleague who computed it
    const QStringList found = findings();
    for (const char* station : {"1", "2"}) { // they were searched together
        const QString row = QStringLiteral("comparison_result %1：dz_raster ").arg(station);
        EXPECT_EQ(found.contains(row + raster + " 文件不存在"), !mayLieElsewhere);
    }
    EXPECT_EQ(found.size(), mayLieElsewhere ? 2 : 4) << found.join('\n').toStdString();
    EXPECT_EQ(found.filter("无法作为栅格打开").size(), 1);
    ProjectDescription turned = description();
    turned.epochs.front().date = "2099-01-01";
    EXPECT_EQ(checkProject(turned, sql()).front().line(),
              "project.json " + turned.newEpoch().date + "：各期没有按日期排列");
    turned.epochs.front().date = "soon";
    EXPECT_EQ(checkProject(turned, sql()).front().line(), "project.json soon：不是日期");
}

TEST_P(CheckTest, MissingTablesAndColumnsAreFound) {
    sql().execute("alter table special_point drop column height_m");
    sql().execute("drop table comparison_result");
    const QStringList found = findings();
    EXPECT_EQ(found, (QStringList{"special_point：缺少列 height_m", "comparison_result：缺少数据表"}));
}

TEST_P(CheckTest, AProjectWithoutItsRevisionIsAFindingAndNoCrash) {
    sql().execute("delete from project_revision");
    const QString found = findings().join('\n');
    EXPECT_TRUE(found.contains("无法读取：table project_revision is empty")) << found.toStdString();
}

} // namespace
