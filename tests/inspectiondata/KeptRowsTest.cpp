#include "TestDatabase.h"

#include "host/inspection/KV_MySQL.h"
#include "tests/support/StatementTrace.h"
#include "workbench/inspectiondata/database/Driver.h"

#include <gtest/gtest.h>

#include <QTemporaryDir>

using mysqlhelper::KV_MySQL;
using mysqlhelper::KV_MySQL_Exception;

namespace {

class KeptRowsTest : public ::testing::TestWithParam<DatabaseKind> {
protected:
    KeptRowsTest() {
        m_database.execute("create table thing (id integer primary key, number integer)");
        m_database.execute("insert into thing values (1, 10), (2, 20)");
    }
    std::int64_t kept(std::int64_t id) {
        const auto& rows = m_database.driver().queryKept("select * from thing where id=?", {id});
        return rows.empty() ? -1 : std::get<std::int64_t>(rows.at(0).at("number"));
    }

    QTemporaryDir m_folder;
    std::string m_url = GetParam() == DatabaseKind::Sqlite
                            ? m_folder.filePath("kept.db").toStdString()
                            : MariaDbServer::instance().newDatabase().toStdString();
    KV_MySQL m_database{m_url};
};
INSTANTIATE_TEST_SUITE_P(On, KeptRowsTest, kEachKind, kindName);

TEST_P(KeptRowsTest, AreToldApartByStatementAndValues) {
    EXPECT_EQ(kept(1), 10);
    EXPECT_EQ(kept(2), 20);
    EXPECT_EQ(kept(1), 10);
    EXPECT_EQ(kept(3), -1);
    EXPECT_EQ(m_database.driver().queryKept("select * from thing", {}).size(), 2U);
}

TEST_P(KeptRowsTest, ShowWhatTheirOwnConnectionStores) {
    EXPECT_EQ(kept(1), 10);
    m_database.execute("update thing set number=11 where id=1");
    EXPECT_EQ(kept(1), 11);
    m_database.updateRecord("thing", {{"number", std::int64_t{12}}}, "where id=1");
    EXPECT_EQ(kept(1), 12);
    m_database.deleteRecord("thing", "where id=1");
    EXPECT_EQ(kept(1), -1);
    m_database.insertRecord("thing", {{"id", std::int64_t{1}}, {"number", std::int64_t{13}}});
    EXPECT_EQ(kept(1), 13);
}

TEST_P(KeptRowsTest, ShowWhatAnotherConnectionStores) {
    KV_MySQL other(m_url);
    for (const std::int64_t number : {31, 32, 33}) {
        other.execute("update thing set number=? where id=1", {number});
        EXPECT_EQ(kept(1), number);
        EXPECT_EQ(kept(2), 20);
    }
}

TEST_P(KeptRowsTest, ShowNothingOfWhatWasRolledBack) {
    EXPECT_EQ(kept(1), 10);
    {
        KV_MySQL::Transaction transaction(m_database);
        m_database.execute("update thing set number=11 where id=1");
        EXPECT_EQ(kept(1), 11);
        {
            KV_MySQL::Transaction inner(m_database);
            m_database.execute("update thing set number=12 where id=1");
            EXPECT_EQ(kept(1), 12);
        }
        EXPECT_EQ(kept(1), 11);
    }
    EXPECT_EQ(kept(1), 10);
}

TEST_P(KeptRowsTest, ARefusalIsToldAgainAndAgain) {
    for (int round = 0; round < 2; ++round) {
        EXPECT_THROW(m_database.driver().queryKept("select * from nothing", {}), KV_MySQL_Exception);
    }
}

TEST(KeptRowsOfSqliteTest, AreReadOnceWhileNothingIsStored) {
    const QTemporaryDir folder;
    KV_MySQL database(folder.filePath("kept.db").toStdString());
    database.execute("create table thing (id integer)");
    const QString select = QStringLiteral("select * from thing");
    const StatementTrace trace;
    for (int round = 0; round < 3; ++round) {
        database.driver().queryKept(select, {});
    }
    EXPECT_EQ(trace.statements().count(select), 1);
    database.execute("insert into thing values (1)");
    for (int round = 0; round < 3; ++round) {
        EXPECT_EQ(database.driver().queryKept(select, {}).size(), 1U);
    }
    EXPECT_EQ(trace.statements().count(select), 2);
}

} // namespace
