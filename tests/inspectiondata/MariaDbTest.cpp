// What only a server can do: refuse a login, lose a connection, end a transaction.
#include "tests/support/MariaDbServer.h"

#include "host/inspection/KV_MySQL.h"

#include <gtest/gtest.h>

#include <QUrl>

#include <atomic>
#include <functional>
#include <future>
#include <limits>

using mysqlhelper::KV_MySQL;
using mysqlhelper::KV_MySQL_Exception;

namespace {

/// The one line that the work fails with, which must hold `part`.
void expectRefusal(const std::function<void()>& work, const std::string& part) {
    try {
        work();
        FAIL() << "not refused: " << part;
    } catch (const KV_MySQL_Exception& exception) {
        const std::string what = exception.what();
        EXPECT_NE(what.find(part), std::string::npos) << what;
        EXPECT_EQ(what.find('\n'), std::string::npos) << what;
        EXPECT_NE(what.find("mysql://"), std::string::npos) << what;
    }
}

class MariaDbTest : public testing::Test {
protected:
    MariaDbTest() {
        m_database.execute(
            "create table thing (id bigint auto_increment primary key, number bigint) engine=InnoDB");
    }
    void insert(std::int64_t number) { m_database.insertRecord("thing", {{"number", number}}); }
    /// Counted on another connection.
    int count() const { return m_server.run("select count(*) from thing", m_name)[0].toInt(); }

    MariaDbServer& m_server = MariaDbServer::instance();
    QString m_url = m_server.newDatabase();
    QString m_name = m_url.section('/', 3).section('?', 0, 0);
    KV_MySQL m_database{m_url.toStdString()};
};

TEST_F(MariaDbTest, WhatCannotBeOpenedIsSaidInOneLineWithoutThePassword) {
    const auto open = [](const QString& address) { return [=] { KV_MySQL(address.toStdString()); }; };
    expectRefusal(open(m_server.address(m_name, "root", "wrong-secret")), "Access denied");
    expectRefusal(open(m_server.address("missing_database")), "Unknown database 'missing_database'");
    expectRefusal(open("mysql://root@/x?socket=/nowhere/socket"), "/nowhere/socket");
    expectRefusal(open("mysql://root:wrong-secret@"), "not a database address");
    try {
        KV_MySQL(m_server.address(m_name, "root", "wrong-secret").toStdString());
    } catch (const KV_MySQL_Exception& exception) {
        EXPECT_EQ(std::string(exception.what()).find("wrong-secret"), std::string::npos);
    }
    expectRefusal([&] { m_database.queryRecord("select * from missing"); }, "missing");
}

TEST_F(MariaDbTest, ThePasswordMayHoldAnythingAndMayComeFromTheEnvironment) {
    m_server.run("create user 'walker'@'localhost' identified by 'p:/?@% 密'");
    m_server.run("grant all on " + m_name + ".* to 'walker'@'localhost'");
    const QString encoded = QString::fromLatin1(QUrl::toPercentEncoding("p:/?@% 密"));
    EXPECT_TRUE(KV_MySQL(m_server.address(m_name, "walker", encoded).toStdString()).isOpen());
    qputenv("CORRIDOR_DATABASE_PASSWORD", "p:/?@% 密");
    EXPECT_TRUE(KV_MySQL(m_server.address(m_name, "walker").toStdString()).isOpen());
    qunsetenv("CORRIDOR_DATABASE_PASSWORD");
    expectRefusal([&] { KV_MySQL(m_server.address(m_name, "walker").toStdString()); }, "Access denied");
}

TEST_F(MariaDbTest, ValuesThatDoNotFitAreRefused) {
    expectRefusal([&] { m_database.insertRecord("thing", {{"number", std::string("many")}}); }, "number");
    expectRefusal([&] { m_database.execute("insert into thing (number) values (99999999999999999999)"); },
                  "number");
    m_database.execute("create table short (words varchar(3), size double) engine=InnoDB");
    expectRefusal([&] { m_database.insertRecord("short", {{"words", std::string("four")}}); }, "words");
    const double infinite = std::numeric_limits<double>::infinity();
    expectRefusal([&] { m_database.insertRecord("short", {{"size", infinite}}); }, "size");
    EXPECT_EQ(count(), 0);
    EXPECT_EQ(m_server.run("select count(*) from short", m_name), QStringList{"0"});
}

TEST_F(MariaDbTest, AReadOnlyConnectionChangesNothingAlsoAfterItWasLost) {
    KV_MySQL reader((m_url + "&mode=ro").toStdString());
    expectRefusal([&] { reader.execute("insert into thing (number) values (1)"); }, "READ ONLY");
    m_server.killConnections();
    expectRefusal([&] { reader.execute("insert into thing (number) values (1)"); }, "READ ONLY");
    EXPECT_TRUE(reader.queryRecord("select * from thing").empty());
    EXPECT_EQ(count(), 0);
}

TEST_F(MariaDbTest, TheServerMayBeRestartedBetweenStatements) {
    insert(1);
    m_server.stop();
    m_server.start();
    insert(2);
    m_server.stop();
    m_server.start();
    EXPECT_EQ(m_database.queryRecord("select * from thing where number>?", {std::int64_t{0}}).size(), 2U);
    m_server.stop();
    m_server.start();
    {
        KV_MySQL::Transaction transaction(m_database);
        insert(3);
        transaction.commit();
    }
    EXPECT_EQ(count(), 3);
}

TEST_F(MariaDbTest, AServerThatComesBackLaterIsWaitedFor) {
    m_server.stop();
    auto writing = std::async(std::launch::async,
                              [this] { return m_database.execute("insert into thing (number) values (7)"); });
    m_server.start();
    EXPECT_EQ(writing.get(), 1);
    EXPECT_EQ(count(), 1);
}

TEST_F(MariaDbTest, AServerThatIsGoneIsGivenUpAndFoundAgain) {
    m_server.stop();
    expectRefusal([&] { insert(1); }, "the server is gone");
    EXPECT_FALSE(m_database.isOpen());
    m_server.start();
    insert(2);
    EXPECT_TRUE(m_database.isOpen());
    EXPECT_EQ(count(), 1);
}

TEST_F(MariaDbTest, AConnectionThatWasCutIsMadeAnewWithItsSettings) {
    m_server.killConnections();
    insert(1);
    EXPECT_EQ(count(), 1);
    expectRefusal([&] { m_database.insertRecord("thing", {{"number", std::string("many")}}); }, "number");
    EXPECT_EQ(m_database.queryRecord("select \"number\" from thing").size(), 1U);
}

TEST_F(MariaDbTest, ATransactionDoesNotOutliveItsConnection) {
    {
        KV_MySQL::Transaction transaction(m_database);
        insert(1);
        m_server.killConnections();
        expectRefusal([&] { insert(2); }, "connection lost inside a transaction");
        // No statement of the lost transaction is stored by itself.
        expectRefusal([&] { insert(3); }, "the transaction is over");
        expectRefusal([&] { m_database.queryRecord("select * from thing"); }, "the transaction is over");
        expectRefusal([&] { KV_MySQL::Transaction inner(m_database); }, "the transaction is over");
        expectRefusal([&] { transaction.commit(); }, "the transaction is over");
    }
    EXPECT_EQ(count(), 0);
    insert(4);
    EXPECT_EQ(count(), 1);
}

TEST_F(MariaDbTest, AnInnerTransactionGivenUpDoesNotReviveTheLostOne) {
    {
        KV_MySQL::Transaction outer(m_database);
        insert(1);
        {
            KV_MySQL::Transaction inner(m_database);
            m_server.killConnections();
            expectRefusal([&] { insert(2); }, "connection lost");
        }
        expectRefusal([&] { insert(3); }, "the transaction is over");
    }
    EXPECT_EQ(count(), 0);
}

TEST_F(MariaDbTest, ACommitOnALostConnectionFailsAndStoresNothing) {
    {
        KV_MySQL::Transaction transaction(m_database);
        insert(1);
        m_server.killConnections();
        expectRefusal([&] { transaction.commit(); }, "connection lost");
    }
    EXPECT_EQ(count(), 0);
}

TEST_F(MariaDbTest, ATransactionMayBeginOnAConnectionThatWasCut) {
    m_server.killConnections();
    KV_MySQL::Transaction transaction(m_database);
    insert(1);
    transaction.commit();
    EXPECT_EQ(count(), 1);
}

TEST_F(MariaDbTest, AWriteThatWasCutShortIsReportedAndNotRepeated) {
    insert(1);
    const auto killer =
        std::async(std::launch::async, [this] { m_server.killConnectionInside("/* slow write */"); });
    expectRefusal([&] { m_database.execute("/* slow write */ update thing set number=number+1+sleep(30)"); },
                  "stored or not");
    killer.wait();
    EXPECT_EQ(m_database.execute("update thing set number=number+1"), 1);
    EXPECT_EQ(m_server.run("select number from thing", m_name), QStringList{"2"});
}

TEST_F(MariaDbTest, AReadThatWasCutShortIsRepeated) {
    insert(5);
    const auto killer =
        std::async(std::launch::async, [this] { m_server.killConnectionInside("/* slow read */"); });
    const auto rows = m_database.queryRecord("select /* slow read */ number, sleep(1) as slept from thing");
    killer.wait();
    ASSERT_EQ(rows.size(), 1U);
    EXPECT_EQ(std::get<std::int64_t>(rows[0].at("number")), 5);
}

TEST_F(MariaDbTest, ATransactionThatTheServerEndedStoresNothingMore) {
    insert(1);
    insert(2);
    std::promise<void> mineIsLocked;
    std::promise<void> othersIsLocked;
    std::atomic<int> ended{0};
    // By their primary keys: then each locks its one row, and no gap in which the other's row would have to wait.
    const auto work = [&](KV_MySQL& connection, const char* first, const char* second,
                          std::promise<void>& done, std::future<void> other) {
        KV_MySQL::Transaction transaction(connection);
        connection.execute(std::string("update thing set number=10 where ") + first);
        done.set_value();
        other.wait();
        try {
            connection.execute(std::string("update thing set number=20 where ") + second);
        } catch (const KV_MySQL_Exception& exception) {
            EXPECT_NE(std::string(exception.what()).find("Deadlock"), std::string::npos) << exception.what();
            expectRefusal([&] { connection.execute("insert into thing (number) values (3)"); }, "is over");
            ++ended;
        }
    };
    const auto other = std::async(std::launch::async, [&] {
        KV_MySQL connection(m_url.toStdString());
        work(connection, "id=2", "id=1", othersIsLocked, mineIsLocked.get_future());
    });
    work(m_database, "id=1", "id=2", mineIsLocked, othersIsLocked.get_future());
    other.wait();
    EXPECT_EQ(ended, 1);
    EXPECT_EQ(m_server.run("select number from thing order by id", m_name), (QStringList{"1", "2"}));
}

} // namespace
