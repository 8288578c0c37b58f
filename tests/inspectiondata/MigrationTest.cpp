// Databases that earlier versions of the program have made, in tests/data/schema: each table has rows, and
// those of version 2 to 5 a history with edits that are done and undone. Of version 3 to 5 the second anomaly has
// been deleted, which can be undone.

#include "Opened.h"
#include "TestDatabase.h"

#include "host/Gbk.h"
#include "workbench/inspectiondata/check/CheckProject.h"
#include "workbench/inspectiondata/database/AnomalyTable.h"
#include "workbench/inspectiondata/database/ComparisonTable.h"
#include "workbench/inspectiondata/database/Inspector.h"
#include "workbench/inspectiondata/database/Revision.h"
#include "workbench/inspectiondata/database/Schema.h"
#include "workbench/inspectiondata/database/StationTable.h"
#include "workbench/inspectiondata/database/TableDescription.h"
#include "workbench/inspectiondata/history/ProjectHistory.h"
#include "workbench/inspectiondata/text/AnomalyFields.h"

#include <QFile>

#include <sqlite3.h>

#include <algorithm>

namespace {

using namespace inspection;
using mysqlhelper::KV_MySQL;
using mysqlhelper::KV_Record;
using mysqlhelper::KV_Rows;

struct OldDatabase {
    int version;
    DatabaseKind kind;

    QString file() const {
        return QStringLiteral(CORRIDOR_TEST_DATA "/schema/version-%1.%2.sql")
            .arg(version)
            .arg(kind == DatabaseKind::Sqlite ? "sqlite" : "mariadb");
    }
};

void PrintTo(const OldDatabase& database, std::ostream* stream) {
    *stream << database.file().toStdString();
}

std::string nameOf(const testing::TestParamInfo<OldDatabase>& info) {
    return "Version" + std::to_string(info.param.version) + kindName({info.param.kind, 0});
}

QByteArray contentOf(const QString& path) {
    QFile file(path);
    EXPECT_TRUE(file.open(QIODevice::ReadOnly)) << path.toStdString();
    return file.readAll();
}

void loadIntoSqlite(const QByteArray& sql, const QString& file) {
    sqlite3* database = nullptr;
    ASSERT_EQ(sqlite3_open(file.toUtf8().constData(), &database), SQLITE_OK);
    EXPECT_EQ(sqlite3_exec(database, sql.constData(), nullptr, nullptr, nullptr), SQLITE_OK)
        << sqlite3_errmsg(database);
    EXPECT_EQ(sqlite3_close(database), SQLITE_OK);
}

void loadIntoServer(const QByteArray& sql, const QString& database) {
    for (const QByteArray& statement : QByteArray(sql).replace(";\n", "\x01").split('\x01')) {
        if (!statement.trimmed().isEmpty()) {
            MariaDbServer::instance().run(QString::fromUtf8(statement), database);
        }
    }
}

/// A project whose tables an earlier version has made.
class MigrationTest : public testing::TestWithParam<OldDatabase> {
protected:
    MigrationTest() : m_url(newProjectDatabase(GetParam().kind)) {
        const QByteArray sql = contentOf(GetParam().file());
        if (onServer()) {
            loadIntoServer(sql, serverDatabase());
        } else {
            loadIntoSqlite(sql, m_files.file("inspection.db"));
        }
    }

    bool onServer() const { return GetParam().kind == DatabaseKind::MariaDb; }
    QString serverDatabase() const { return m_url.section('/', 3).section('?', 0, 0); }
    /// The SQLite file; nothing for tables on a server.
    QByteArray bytes() const { return onServer() ? QByteArray() : contentOf(m_files.file("inspection.db")); }
    void setVersion(int version) const {
        if (onServer()) {
            MariaDbServer::instance().run("update schema_version set version=" + QString::number(version),
                                          serverDatabase());
        } else {
            loadIntoSqlite("pragma user_version=" + QByteArray::number(version),
                           m_files.file("inspection.db"));
        }
    }

    /// All rows as they lie there, by table, without the columns that `columns` has not.
    using Content = std::map<std::string, KV_Rows>;
    using Columns = std::map<std::string, std::set<std::string>>;
    /// Of version 4 and of those before.
    static std::vector<StoredTable> tables() {
        std::vector<StoredTable> tables = storedTables();
        tables.push_back({"station_result", "station_id"});
        return tables;
    }
    /// The results as the versions before 4 had them.
    static KV_Rows resultsIn(KV_MySQL& database) {
        return database.queryRecord("select r.*, c.old_epoch as old_date, c.new_epoch as new_date "
                                    "from comparison_result r join comparison c on c.id=r.comparison_id "
                                    "order by r.station_id");
    }
    static KV_Rows rowsOf(KV_MySQL& database, const StoredTable& table) {
        return hasTable(database, table.name)
                   ? database.queryRecord("select * from " + table.name + " order by " + table.key)
                   : resultsIn(database);
    }
    /// Rows of edits without what version 4 has added to them. Whoever opens the database first has the edits
    /// that were nobody's.
    static KV_Record asBefore(KV_Record row) {
        row.erase("inspector");
        if (row.count("changes") == 0) {
            return row;
        }
        RowChanges changes = toRowChanges(gbkToUtf8(std::get<std::string>(row.at("changes")))).value();
        for (RowChange& change : changes) {
            for (auto* side : {&change.before, &change.after}) {
                if (side->has_value()) {
                    (*side)->erase("comparison_id");
                }
            }
        }
        row["changes"] = utf8ToGbk(toText(changes));
        return row;
    }
    static Columns columnsOf(KV_MySQL& database) {
        Columns columns;
        for (const StoredTable& table : tables()) {
            if (hasTable(database, table.name)) {
                columns[table.name] = columnNames(database, table.name);
            }
        }
        return columns;
    }
    Columns columnsAsTheyAre() const {
        KV_MySQL database(m_description.databaseUrl().toStdString());
        return columnsOf(database);
    }
    static Content contentIn(KV_MySQL& database, const Columns& columns) {
        Content content;
        for (const StoredTable& table : tables()) {
            const auto known = columns.find(table.name);
            if (known == columns.end()) {
                continue;
            }
            for (const KV_Record& row : rowsOf(database, table)) {
                KV_Record part;
                for (const std::string& column : known->second) {
                    part[column] = row.at(column);
                }
                content[table.name].push_back(asBefore(std::move(part)));
            }
        }
        return content;
    }

    SmallProject m_files;
    const QString m_url;
    const Project m_project = openedProject(m_files.folder(), m_url);
    const ProjectDescription& m_description = m_project.description();
};
INSTANTIATE_TEST_SUITE_P(
    Of, MigrationTest,
    testing::Values(OldDatabase{1, DatabaseKind::Sqlite}, OldDatabase{2, DatabaseKind::Sqlite},
                    OldDatabase{2, DatabaseKind::MariaDb}, OldDatabase{3, DatabaseKind::Sqlite},
                    OldDatabase{3, DatabaseKind::MariaDb}, OldDatabase{4, DatabaseKind::Sqlite},
                    OldDatabase{4, DatabaseKind::MariaDb}, OldDatabase{5, DatabaseKind::Sqlite},
                    OldDatabase{5, DatabaseKind::MariaDb}),
    nameOf);

TEST_P(MigrationTest, OpeningBringsItForwardWithEveryRowAsItWas) {
    Columns columns;
    Content before;
    {
        KV_MySQL old(m_description.databaseUrl().toStdString());
        ASSERT_EQ(storedSchemaVersion(old), GetParam().version);
        columns = columnsOf(old);
        before = contentIn(old, columns);
    }
    constexpr int kLastWithANewTable = 4;
    EXPECT_EQ(before.size(), 6U + static_cast<unsigned>(std::min(GetParam().version, kLastWithANewTable)))
        << "there are rows in every table";
    const auto opened = valueOf(PipelineDatabase::open(m_description, Project::Access::Exclusive));
    KV_MySQL& database = *opened->GetMySQL();
    EXPECT_EQ(storedSchemaVersion(database), kSchemaVersion);
    EXPECT_EQ(contentIn(database, columns), before);
    const Findings findings = checkProject(m_description, database);
    EXPECT_TRUE(findings.empty()) << findings.front().line().toStdString();
}

TEST_P(MigrationTest, WhatWasFoundBeforeHasNoUncertaintyThatItNeverHad) {
    const auto opened = valueOf(PipelineDatabase::open(m_description, Project::Access::Exclusive));
    KV_MySQL& database = *opened->GetMySQL();
    for (const AnomalyField& field : kAnomalyFields) {
        if (field.mayLack()) {
            const KV_Rows rows =
                database.queryRecord(std::string("select ") + field.name + " as v from anomaly");
            ASSERT_FALSE(rows.empty());
            EXPECT_TRUE(std::holds_alternative<std::monostate>(rows[0].at("v"))) << field.name;
        }
    }
    const SdiffData anomaly = readAnomalies(database, 1, kSamplePair).at(0);
    EXPECT_FALSE(anomaly.volumeSigmaCubicMetres || anomaly.significance || anomaly.suggestionConfidence);
    const StationResult result = readStationResult(database, 1, kSamplePair).value();
    EXPECT_FALSE(result.summary);
    EXPECT_FALSE(result.stableDifferences);
    EXPECT_EQ(result.correctionRaster, QString());
}

TEST_P(MigrationTest, ItIsEditedAsAnyOther) {
    const auto opened = valueOf(PipelineDatabase::open(m_description, Project::Access::Exclusive));
    KV_MySQL& database = *opened->GetMySQL();
    ProjectHistory history;
    history.setDatabase(&database, inspectorOf(m_description));
    const std::int64_t revision = readRevision(database);
    ASSERT_TRUE(history.perform("分类", [](EditTransaction& edit) {
        edit.update("anomaly", 1, {{"attribute", toGbk("占压")}}, 0);
        edit.remove("special_area", 1, 0);
    }));
    EXPECT_EQ(readRevision(database), revision + 1);
    EXPECT_FALSE(history.CanRedo());
    EXPECT_TRUE(checkProject(m_description, database).empty());
    history.TakeUndo()->Undo(true);
    EXPECT_TRUE(readRow(database, "special_area", 1));
    EXPECT_TRUE(checkProject(m_description, database).empty());
}

TEST_P(MigrationTest, WhatWasFoundBeforeIsDeletedAndRestoredAsAnyOther) {
    const auto opened = valueOf(PipelineDatabase::open(m_description, Project::Access::Exclusive));
    KV_MySQL& database = *opened->GetMySQL();
    const auto present = readAnomalies(database, 1, kSamplePair);
    ASSERT_FALSE(present.empty());
    EXPECT_TRUE(readDeletedAnomalies(database, kSamplePair).empty());
    ProjectHistory history;
    history.setDatabase(&database, inspectorOf(m_description));
    ASSERT_TRUE(history.perform("删除", [&](EditTransaction& edit) {
        edit.markDeleted("anomaly", {{present[0].id, present[0].version}});
    }));
    EXPECT_EQ(readAnomalies(database, 1, kSamplePair).size(), present.size() - 1);
    EXPECT_EQ(readDeletedAnomalies(database, kSamplePair).at(0).anomaly.name, present[0].name);
    EXPECT_TRUE(checkProject(m_description, database).empty());
    history.TakeUndo()->Undo(true);
    EXPECT_EQ(readAnomalies(database, 1, kSamplePair).size(), present.size());
    EXPECT_TRUE(checkProject(m_description, database).empty());
}

TEST_P(MigrationTest, ReadingSaysThatItIsOlderAndLeavesItAlone) {
    const Columns columns = columnsAsTheyAre();
    const QByteArray before = bytes();
    const Failure failure = failureOf(PipelineDatabase::open(m_description, Project::Access::ReadOnly));
    EXPECT_TRUE(failure.userMessage.contains("数据库版本较旧")) << failure.userMessage.toStdString();
    EXPECT_EQ(bytes(), before);
    KV_MySQL old(m_description.databaseUrl().toStdString());
    EXPECT_EQ(storedSchemaVersion(old), GetParam().version);
    EXPECT_EQ(columnsOf(old), columns);
}

TEST_P(MigrationTest, ANewerDatabaseIsRefusedAndLeftAlone) {
    setVersion(kSchemaVersion + 1);
    const Columns columns = columnsAsTheyAre();
    const QByteArray before = bytes();
    for (const auto access : {Project::Access::ReadOnly, Project::Access::Exclusive}) {
        const Failure failure = failureOf(PipelineDatabase::open(m_description, access));
        EXPECT_TRUE(failure.userMessage.contains("数据库版本比本程序新"))
            << failure.userMessage.toStdString();
    }
    KV_MySQL newer(m_description.databaseUrl().toStdString());
    EXPECT_EQ(storedSchemaVersion(newer), kSchemaVersion + 1);
    EXPECT_EQ(columnsOf(newer), columns);
}

/// With a history of six edits: a point added and described, two anomalies classified, an area deleted, a
/// high-consequence area renamed, the point deleted; the last three are undone.
class OldHistoryTest : public MigrationTest {};
INSTANTIATE_TEST_SUITE_P(Of, OldHistoryTest,
                         testing::Values(OldDatabase{2, DatabaseKind::Sqlite},
                                         OldDatabase{2, DatabaseKind::MariaDb}),
                         nameOf);

TEST_P(OldHistoryTest, OldEditsAreUndoneAndMadeAgain) {
    const auto opened = valueOf(PipelineDatabase::open(m_description, Project::Access::Exclusive));
    KV_MySQL& database = *opened->GetMySQL();
    ProjectHistory history;
    history.setDatabase(&database, inspectorOf(m_description));
    const auto expectClean = [&] {
        const Findings findings = checkProject(m_description, database);
        EXPECT_TRUE(findings.empty()) << findings.front().line().toStdString();
    };
    const auto field = [&](const char* table, std::int64_t id, const char* column) {
        return gbkToUtf8(std::get<std::string>(readRow(database, table, id).value().at(column)));
    };
    for (int edit = 0; edit < 3; ++edit) {
        ASSERT_TRUE(history.CanRedo());
        history.TakeRedo()->Redo(true);
        expectClean();
    }
    EXPECT_FALSE(history.CanRedo());
    EXPECT_FALSE(readRow(database, "special_point", 2));
    EXPECT_FALSE(readRow(database, "special_area", 2));
    EXPECT_EQ(field("high_consequence_area", 1, "name"), "学校");
    history.UndoSteps(3);
    expectClean();
    EXPECT_EQ(field("special_point", 2, "attribute"), "引号'\";-- 😀");
    EXPECT_EQ(field("high_consequence_area", 1, "name"), "村庄 😀");
    EXPECT_EQ(field("anomaly", 2, "attribute"), "深挖");
    for (int edit = 0; edit < 3; ++edit) {
        ASSERT_TRUE(history.CanUndo());
        history.TakeUndo()->Undo(true);
        expectClean();
    }
    EXPECT_FALSE(history.CanUndo());
    EXPECT_FALSE(readRow(database, "special_point", 2));
    EXPECT_EQ(field("anomaly", 2, "attribute"), "");
}

/// The results of one pair become those of several.
class ComparisonMigrationTest : public MigrationTest {
protected:
    /// Changes the old database, by statements without a semicolon within.
    void runOnOld(const QString& sql) const {
        if (onServer()) {
            MariaDbServer::instance().run(sql, serverDatabase());
        } else {
            loadIntoSqlite(sql.toUtf8(), m_files.file("inspection.db"));
        }
    }
    /// From now on every update of the table fails.
    void forbidUpdates(const char* table) const {
        runOnOld(QString("create trigger refusal before update on %1 for each row %2")
                     .arg(table, onServer() ? "signal sqlstate '45000' set message_text='refused'"
                                            : "begin select raise(abort, 'refused'); end"));
    }
    std::unique_ptr<PipelineDatabase> open() const {
        return valueOf(PipelineDatabase::open(m_description, Project::Access::Exclusive));
    }
    QStringList findings(KV_MySQL& database) const {
        QStringList lines;
        for (const Finding& finding : checkProject(m_description, database)) {
            lines << finding.line();
        }
        return lines;
    }
    /// Takes back that the second anomaly was deleted.
    void undoDeletion(KV_MySQL& database) const {
        ProjectHistory history;
        history.setDatabase(&database, inspectorOf(m_description));
        ASSERT_TRUE(history.CanUndo());
        history.TakeUndo()->Undo(true);
        ASSERT_TRUE(readRow(database, "anomaly", 2));
    }
    static std::vector<std::string> names(KV_MySQL& database, std::uint32_t station, const EpochPair& pair) {
        std::vector<std::string> names;
        for (const SdiffData& anomaly : readAnomalies(database, station, pair)) {
            names.push_back(anomaly.name);
        }
        return names;
    }
};
INSTANTIATE_TEST_SUITE_P(Of, ComparisonMigrationTest,
                         testing::Values(OldDatabase{3, DatabaseKind::Sqlite},
                                         OldDatabase{3, DatabaseKind::MariaDb}),
                         nameOf);

using Names = std::vector<std::string>;

TEST_P(ComparisonMigrationTest, RowsGoToThePairThatTheirResultNamesAlsoThoseThatAnUndoBringsBack) {
    runOnOld("update station_result set old_date='2023-04-01' where station_id=2");
    const auto opened = open();
    KV_MySQL& database = *opened->GetMySQL();
    const EpochPair earlier{"2023-04-01", "2025-05-20"};
    EXPECT_TRUE(readStationResult(database, 1, kSamplePair));
    EXPECT_FALSE(readStationResult(database, 2, kSamplePair));
    EXPECT_EQ(readStationResult(database, 2, earlier).value().cells, 32000);
    undoDeletion(database);
    EXPECT_EQ(names(database, 1, kSamplePair), Names{"S1-0001"});
    EXPECT_EQ(names(database, 2, kSamplePair), Names{});
    EXPECT_EQ(names(database, 2, earlier), Names{"S2-0001"});
    EXPECT_EQ(findings(database),
              QStringList("comparison 2 “2023-04-01 → 2025-05-20”：项目中没有期次 2023-04-01"));
}

TEST_P(ComparisonMigrationTest, RowsWithoutDatesOrWithoutAResultGoToThePairOfTheProject) {
    runOnOld("update station_result set old_date='', new_date='' where station_id=1");
    runOnOld("delete from station_result where station_id=2");
    const auto opened = open();
    KV_MySQL& database = *opened->GetMySQL();
    undoDeletion(database);
    EXPECT_TRUE(readStationResult(database, 1, kSamplePair));
    EXPECT_FALSE(readStationResult(database, 2, kSamplePair));
    EXPECT_EQ(names(database, 1, kSamplePair), Names{"S1-0001"});
    EXPECT_EQ(names(database, 2, kSamplePair), Names{"S2-0001"});
    EXPECT_EQ(findings(database), QStringList());
}

TEST_P(ComparisonMigrationTest, WhatWasOnlyToldToOthersIsNotComparedWithTheRows) {
    // A dropped edit and the computation that replaced its anomalies, on the same day.
    const QString row =
        "insert into edit_history (id, made_at, subject, description, is_undone, changes, "
        "revision, inspector, is_dropped) values (%1, '2999-01-01T00:00:00Z', 'anomaly', 'x', "
        "0, '%2', %3, '', 1)";
    runOnOld(row.arg(
        "20", R"([{"table":"anomaly","id":1,"before":null,"after":{"id":1,"station_id":1,"x":7}}])", "12"));
    runOnOld(row.arg("21", "[]", "13"));
    runOnOld("update project_revision set revision=13");
    const auto opened = open();
    EXPECT_EQ(findings(*opened->GetMySQL()), QStringList());
}

TEST_P(ComparisonMigrationTest, AStepThatEndedHalfwayIsCompletedByTheNextOpening) {
    for (const char* table : {"anomaly", "edit_history"}) {
        forbidUpdates(table);
        const Failure failure = failureOf(PipelineDatabase::open(m_description, Project::Access::Exclusive));
        EXPECT_TRUE(failure.message.contains("refused")) << failure.message.toStdString();
        runOnOld("drop trigger refusal");
        KV_MySQL halfway(m_description.databaseUrl().toStdString());
        EXPECT_EQ(storedSchemaVersion(halfway), 3);
        EXPECT_TRUE(hasTable(halfway, "station_result"));
        EXPECT_EQ(hasTable(halfway, "comparison"), onServer());
    }
    const auto opened = open();
    KV_MySQL& database = *opened->GetMySQL();
    EXPECT_FALSE(hasTable(database, "station_result"));
    EXPECT_EQ(resultsIn(database).size(), 2U);
    EXPECT_EQ(readComparisons(database).size(), 1U);
    undoDeletion(database);
    EXPECT_EQ(names(database, 2, kSamplePair), Names{"S2-0001"});
    EXPECT_EQ(findings(database), QStringList());
    setVersion(3); // killed before the version was stored
    const auto again = open();
    EXPECT_EQ(names(*again->GetMySQL(), 2, kSamplePair), Names{"S2-0001"});
    EXPECT_EQ(findings(*again->GetMySQL()), QStringList());
}

} // namespace
