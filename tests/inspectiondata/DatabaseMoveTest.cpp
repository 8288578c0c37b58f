#include "Opened.h"
#include "TestDatabase.h"
#include "tests/support/FullDisk.h"

#include "host/Gbk.h"
#include "workbench/inspectiondata/database/DatabaseMove.h"
#include "workbench/inspectiondata/database/Inspector.h"
#include "workbench/inspectiondata/database/Schema.h"
#include "workbench/inspectiondata/database/StationTable.h"
#include "workbench/inspectiondata/history/ProjectHistory.h"

#include <QDir>
#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>

namespace {

using namespace inspection;
using mysqlhelper::KV_MySQL;
using mysqlhelper::KV_Record;
using mysqlhelper::KV_Rows;

/// Without who signed the edits: on a server that is the project's folder.
std::vector<KV_Rows> tablesIn(const QString& url) {
    KV_MySQL database(url.toStdString());
    std::vector<KV_Rows> tables;
    for (const StoredTable& table : storedTables()) {
        tables.push_back(database.queryRecord("select * from " + table.name + " order by " + table.key));
        for (KV_Record& row : tables.back()) {
            row.erase("inspector");
        }
    }
    return tables;
}

/// A computed project with special objects of every kind.
class DatabaseMoveTest : public testing::Test {
protected:
    DatabaseMoveTest() {
        valueOf(computeAnomalies(m_opened.request()));
        KV_MySQL& sql = m_opened.sql();
        sql.execute("update anomaly set attribute='塌陷 😀' where id=2");
        std::int64_t id = 9'000'000'000;
        for (const std::string& name : {toGbk("阀室"), std::string("a\0b ", 4), toGbk("表情😀'; --")}) {
            KV_Record fields;
            Special_Point(name, {114.0 + 1.0 / 3.0, 30.7, -1.0 / 7.0}).evalute_record(fields);
            sql.insertRecord("special_point", fields);
            fields.clear();
            Special_Area area(name, {114.0, 30.7, 50.0});
            area.m_vertices = {{114.1, 30.1, 1.0 / 3.0}, {114.2, 30.1, 2.0}, {114.2, 30.2, 3.0}};
            area.evalute_record(fields);
            fields["id"] = ++id;
            sql.insertRecord("special_area", fields);
            sql.insertRecord("high_consequence_area", fields);
        }
        m_opened.database.reset();
    }
    Project& project() { return m_opened.project; }
    Result<DatabaseMove> moveTo(const QString& target, const DatabaseMoveProgress& progress = {}) {
        return moveDatabase(project(), target, progress);
    }
    QString storedDatabase() const {
        QFile file(m_opened.files.file("project.json"));
        EXPECT_TRUE(file.open(QIODevice::ReadOnly));
        return QJsonDocument::fromJson(file.readAll()).object()["database"].toString();
    }
    void expectUnmoved(const std::vector<KV_Rows>& before) {
        EXPECT_EQ(storedDatabase(), QString());
        EXPECT_EQ(tablesIn(valueOf(readAgain()).databaseUrl()), before);
    }
    Result<ProjectDescription> readAgain() const {
        return valueOf(Project::open(m_opened.files.folder(), Project::Access::ReadOnly)).description();
    }

    OpenedProject m_opened;
    QString m_file = m_opened.files.file("inspection.db");
    MariaDbServer& m_server = MariaDbServer::instance();
};

TEST_F(DatabaseMoveTest, ThereAndBackGivesTheSameTables) {
    const auto before = tablesIn(m_file);
    const QString url = m_server.newDatabase();
    const DatabaseMove there = valueOf(moveTo(url));
    EXPECT_EQ(storedDatabase(), url);
    EXPECT_EQ(there.rows, 2 + 1 + 1 + 2 + 3 + 3 * 3 + 2)
        << "the comparison, the revision and what the computation noted, too";
    EXPECT_FALSE(QFile::exists(m_file));
    EXPECT_EQ(tablesIn(there.keptDatabase), before);
    EXPECT_EQ(tablesIn(url), before);
    EXPECT_EQ(readStations(*m_opened.open()->GetMySQL()).size(), 2U);

    const DatabaseMove back = valueOf(moveTo("inspection.db"));
    EXPECT_EQ(storedDatabase(), QString());
    EXPECT_EQ(back.rows, there.rows);
    EXPECT_EQ(tablesIn(m_file), before);
    EXPECT_EQ(tablesIn(url), before);
    EXPECT_EQ(valueOf(readAgain()).databaseUrl(), m_file);
}

TEST_F(DatabaseMoveTest, WhatCanBeUndoneCanBeUndoneInTheNewPlace) {
    const auto historyOf = [this](KV_MySQL& database, ProjectHistory& history) {
        history.setDatabase(&database, inspectorOf(project().description()));
    };
    {
        const auto database = m_opened.open();
        ProjectHistory history;
        historyOf(*database->GetMySQL(), history);
        ASSERT_TRUE(history.perform("编辑", [](EditTransaction& edit) {
            edit.update("special_point", 1, {{"attribute", toGbk("一")}}, 0);
        }));
    }
    for (const QString& target : {m_server.newDatabase(), QStringLiteral("inspection.db")}) {
        valueOf(moveTo(target));
        const auto database = m_opened.open();
        ProjectHistory history;
        historyOf(*database->GetMySQL(), history);
        ASSERT_TRUE(history.CanUndo()) << target.toStdString();
        history.TakeUndo()->Undo(true);
        history.TakeRedo()->Redo(true);
        EXPECT_FALSE(history.CanRedo());
    }
}

TEST_F(DatabaseMoveTest, AnotherFileIsNamedRelativeToTheFolder) {
    const auto before = tablesIn(m_file);
    valueOf(moveTo("other.db"));
    EXPECT_EQ(storedDatabase(), "other.db");
    EXPECT_EQ(tablesIn(m_opened.files.file("other.db")), before);
    EXPECT_EQ(valueOf(readAgain()).databaseUrl(), m_opened.files.file("other.db"));
}

TEST_F(DatabaseMoveTest, ADatabaseOfAnotherProjectIsRefusedAndLeftAlone) {
    const auto before = tablesIn(m_file);
    const QString url = m_server.newDatabase();
    const OpenedProject other(url);
    const auto others = tablesIn(url);
    const Failure failure = failureOf(moveTo(url));
    EXPECT_TRUE(failure.message.contains("already holds")) << failure.message.toStdString();
    EXPECT_EQ(tablesIn(url), others);
    expectUnmoved(before);
    EXPECT_TRUE(failureOf(moveTo("inspection.db")).message.contains("already"));
    expectUnmoved(before);
}

TEST_F(DatabaseMoveTest, WhatCannotBeReachedLeavesTheProjectAsItIs) {
    const auto before = tablesIn(m_file);
    failureOf(moveTo(m_server.address("missing_database")));
    failureOf(moveTo("mysql://root@/x?socket=/nowhere/socket"));
    failureOf(moveTo("/nowhere/inspection.db"));
    expectUnmoved(before);
}

TEST_F(DatabaseMoveTest, AStoppedMoveCanBeRepeated) {
    const auto before = tablesIn(m_file);
    const QString url = m_server.newDatabase();
    for (const QString& target : {url, QStringLiteral("other.db")}) {
        for (const double stopAt : {0.0, 0.3, 0.6, 1.0}) {
            EXPECT_TRUE(failureOf(moveTo(target, [=](double done) { return done < stopAt; })).cancelled);
            expectUnmoved(before);
        }
    }
    valueOf(moveTo(url));
    EXPECT_EQ(tablesIn(url), before);
}

TEST_F(DatabaseMoveTest, AConnectionThatIsLostOnTheWayLeavesTheProjectAsItIs) {
    const auto before = tablesIn(m_file);
    const QString url = m_server.newDatabase();
    bool isCut = false;
    const Failure failure = failureOf(moveTo(url, [&](double done) {
        if (done > 0.3 && !isCut) {
            m_server.killConnections();
            isCut = true;
        }
        return true;
    }));
    EXPECT_TRUE(failure.message.contains("connection lost")) << failure.message.toStdString();
    expectUnmoved(before);
    valueOf(moveTo(url));
    EXPECT_EQ(tablesIn(url), before);
}

TEST_F(DatabaseMoveTest, ACopyThatIsNotTheOriginalIsNotUsed) {
    const auto before = tablesIn(m_file);
    const QString url = m_server.newDatabase();
    const QString name = url.section('/', 3).section('?', 0, 0);
    {
        KV_MySQL target(url.toStdString());
        createTables(target);
    }
    m_server.run(
        "create trigger spoil before insert on special_point for each row set new.lat_deg=new.lat_deg+1e-9",
        name);
    const Failure failure = failureOf(moveTo(url));
    EXPECT_TRUE(failure.message.contains("special_point")) << failure.message.toStdString();
    expectUnmoved(before);
    EXPECT_EQ(m_server.run("select count(*) from station", name), QStringList{"0"});
}

TEST_F(DatabaseMoveTest, OnAFullDiskTheProjectKeepsItsDatabase) {
    const auto before = tablesIn(m_file);
    {
        const FullDisk full;
        failureOf(moveTo(m_server.newDatabase()));
    }
    expectUnmoved(before);
}

} // namespace
