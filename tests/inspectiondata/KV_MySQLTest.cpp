#include "TestDatabase.h"

#include "host/Gbk.h"
#include "host/inspection/KV_MySQL.h"
#include "workbench/inspectiondata/project/ServerAddress.h"

#include <gtest/gtest.h>

#include <QFile>
#include <QTemporaryDir>

#include <sqlite3.h>

#include <array>
#include <cstring>
#include <limits>

using mysqlhelper::KV_Blob;
using mysqlhelper::KV_MySQL;
using mysqlhelper::KV_MySQL_Exception;
using mysqlhelper::KV_Record;
using mysqlhelper::KV_Value;

namespace {

constexpr auto kSqliteThing = "create table thing (id integer primary key, words text default 'none', "
                              "number integer, size real, bytes blob, other integer)";
constexpr auto kMariaDbThing =
    "create table thing (id bigint auto_increment primary key, "
    "words longtext default 'none', number bigint, size double, bytes longblob, "
    "other bigint) engine=InnoDB default charset=utf8mb4 collate=utf8mb4_nopad_bin";

const char* columnFor(const KV_Value& value) {
    constexpr std::array kColumns{"words", "number", "size", "words", "bytes"};
    return kColumns.at(value.index());
}

class KV_MySQLTest : public ::testing::TestWithParam<DatabaseKind> {
protected:
    KV_MySQLTest() { m_database.execute(isSqlite() ? kSqliteThing : kMariaDbThing); }

    static bool isSqlite() { return GetParam() == DatabaseKind::Sqlite; }
    KV_Value roundTrip(const KV_Value& value) {
        const std::string column = columnFor(value);
        const auto id = m_database.insertRecord("thing", {{column, value}});
        return m_database.queryRecord("select * from thing where id=?", {id}).at(0).at(column);
    }
    std::int64_t count() {
        return std::get<std::int64_t>(m_database.queryRecord("select count(*) as n from thing")[0].at("n"));
    }

    QTemporaryDir m_folder;
    std::string m_url = isSqlite() ? m_folder.filePath("数据.db").toStdString()
                                   : MariaDbServer::instance().newDatabase().toStdString();
    KV_MySQL m_database{m_url};
};
INSTANTIATE_TEST_SUITE_P(On, KV_MySQLTest, kEachKind, kindName);

TEST_P(KV_MySQLTest, TextsComeBackByteForByte) {
    for (const std::string& text :
         {std::string(), std::string("it's \"quoted\"; drop table thing; --"), std::string("a\0b", 3),
          toGbk("重物占压"), toGbk("表情😀与𠮷字"), std::string("%_?:1 $x"), std::string("line\nbreak\ttab"),
          std::string("back\\slash \\' `x` "), std::string(" blanks  "), std::string("NULL")}) {
        EXPECT_EQ(std::get<std::string>(roundTrip(text)), text);
    }
    EXPECT_EQ(count(), 10);
}

TEST_P(KV_MySQLTest, NumbersBlobsAndNullComeBackWithTheirSort) {
    EXPECT_EQ(std::get<std::int64_t>(roundTrip(std::int64_t{-9223372036854775807LL})),
              -9223372036854775807LL);
    EXPECT_EQ(std::get<double>(roundTrip(0.1)), 0.1);
    EXPECT_EQ(std::get<double>(roundTrip(1e300)), 1e300);
    EXPECT_EQ(std::get<KV_Blob>(roundTrip(KV_Blob{0, 255, 7})), (KV_Blob{0, 255, 7}));
    EXPECT_EQ(std::get<KV_Blob>(roundTrip(KV_Blob{})), KV_Blob{});
    EXPECT_TRUE(std::holds_alternative<std::monostate>(roundTrip(std::monostate())));
    EXPECT_TRUE(std::holds_alternative<std::monostate>(roundTrip(std::numeric_limits<double>::quiet_NaN())));
}

TEST_P(KV_MySQLTest, EveryFiniteDoubleComesBackBitForBit) {
    using Limits = std::numeric_limits<double>;
    for (const double value :
         {0.0, 1.0, -1.0 / 3.0, 500010.12345678901, -1.2345678901234567e-10, Limits::max(), Limits::lowest(),
          Limits::min(), -Limits::min(), Limits::denorm_min(), -Limits::denorm_min(), Limits::epsilon()}) {
        const double back = std::get<double>(roundTrip(value));
        EXPECT_EQ(std::memcmp(&back, &value, sizeof value), 0) << value;
    }
}

TEST_P(KV_MySQLTest, IntegersHave64Bits) {
    for (const std::int64_t value :
         {std::numeric_limits<std::int64_t>::min(), std::numeric_limits<std::int64_t>::max(), std::int64_t{0},
          std::int64_t{-1}}) {
        EXPECT_EQ(std::get<std::int64_t>(roundTrip(value)), value);
    }
}

TEST_P(KV_MySQLTest, ValuesMayHaveTenMegabytes) {
    constexpr std::size_t kSize = 10'000'000;
    std::string text(kSize, 'x');
    KV_Blob blob(kSize);
    for (std::size_t i = 0; i < kSize; ++i) {
        text[i] = static_cast<char>(' ' + i % 90);
        blob[i] = static_cast<unsigned char>(i * 7);
    }
    EXPECT_TRUE(std::get<std::string>(roundTrip(text)) == text);
    EXPECT_TRUE(std::get<KV_Blob>(roundTrip(blob)) == blob);
}

TEST(KV_MySQLSqliteTest, TheFileHoldsUtf8) {
    const QTemporaryDir folder;
    const std::string file = folder.filePath("数据.db").toStdString();
    KV_MySQL database(file);
    database.execute(kSqliteThing);
    database.insertRecord("thing", {{"words", toGbk("塌陷")}});
    sqlite3* raw = nullptr;
    ASSERT_EQ(sqlite3_open(file.c_str(), &raw), SQLITE_OK);
    sqlite3_stmt* statement = nullptr;
    ASSERT_EQ(sqlite3_prepare_v2(raw, "select words from thing", -1, &statement, nullptr), SQLITE_OK);
    ASSERT_EQ(sqlite3_step(statement), SQLITE_ROW);
    EXPECT_STREQ(reinterpret_cast<const char*>(sqlite3_column_text(statement, 0)), "塌陷");
    sqlite3_finalize(statement);
    sqlite3_close(raw);
}

TEST_P(KV_MySQLTest, StatementsMayCarryGbkLiterals) {
    m_database.insertRecord("thing", {{"words", toGbk("深挖")}});
    EXPECT_EQ(m_database.queryRecord(toGbk("select * from thing where words='深挖'")).size(), 1U);
}

TEST_P(KV_MySQLTest, BoundValuesAreNeverPartOfTheStatement) {
    m_database.insertRecord("thing", {{"words", std::string("x")}});
    const KV_Value attack = std::string("x' or '1'='1");
    EXPECT_TRUE(m_database.queryRecord("select * from thing where words=?", {attack}).empty());
    EXPECT_EQ(m_database.deleteRecord("thing", "where words=?", {attack}), 0);
    EXPECT_EQ(count(), 1);
}

TEST_P(KV_MySQLTest, UpdateAndDeleteTellHowManyRowsTheyChanged) {
    const auto first =
        m_database.insertRecord("thing", {{"number", std::int64_t{1}}, {"other", std::int64_t{5}}});
    m_database.insertRecord("thing", {{"number", std::int64_t{2}}, {"other", std::int64_t{5}}});
    EXPECT_EQ(
        m_database.updateRecord("thing", {{"number", std::int64_t{9}}}, "where id=" + std::to_string(first)),
        1);
    EXPECT_EQ(
        m_database.updateRecord("thing", {{"number", std::int64_t{8}}}, "where other=?", {std::int64_t{5}}),
        2);
    EXPECT_EQ(m_database.updateRecord("thing", {{"number", std::int64_t{9}}}, "where id=77"), 0);
    EXPECT_EQ(m_database.deleteRecord("thing", "where other=?", {std::int64_t{5}}), 2);
}

TEST_P(KV_MySQLTest, RefusalIsAnExceptionOfOneLineThatNamesTheDatabase) {
    const std::string shown = inspection::shownDatabase(QString::fromStdString(m_url)).toStdString();
    for (const char* statement :
         {"select * from missing", "not sql at all", "insert into thing (nothing) values (1)"}) {
        try {
            m_database.execute(statement);
            FAIL() << statement;
        } catch (const KV_MySQL_Exception& exception) {
            const std::string what = exception.what();
            EXPECT_NE(what.find(shown), std::string::npos) << what;
            EXPECT_EQ(what.find('\n'), std::string::npos) << what;
        }
    }
    EXPECT_THROW(m_database.insertRecord("thing", {{"no\" column", std::int64_t{1}}}), KV_MySQL_Exception);
}

TEST_P(KV_MySQLTest, ARowNeedsNoValue) {
    const auto id = m_database.insertRecord("thing", {});
    EXPECT_GT(id, 0);
    const KV_Record row = m_database.queryRecord("select * from thing where id=?", {id}).at(0);
    EXPECT_EQ(std::get<std::string>(row.at("words")), "none");
    EXPECT_TRUE(std::holds_alternative<std::monostate>(row.at("number")));
}

TEST_P(KV_MySQLTest, AnIdThatIsGivenIsKeptAndGoesOnFromThere) {
    EXPECT_EQ(m_database.insertRecord("thing", {{"id", std::int64_t{41}}}), 41);
    EXPECT_EQ(m_database.insertRecord("thing", {{"id", std::int64_t{0}}}), 0);
    EXPECT_EQ(m_database.insertRecord("thing", {{"id", std::monostate()}}), 42);
    EXPECT_EQ(m_database.queryRecord("select id from thing where id=0").size(), 1U);
}

TEST_P(KV_MySQLTest, AnUpdateTellsTheRowsItFoundAlsoWhenTheyWereSoAlready) {
    const auto id = m_database.insertRecord("thing", {{"number", std::int64_t{5}}});
    EXPECT_EQ(m_database.updateRecord("thing", {{"number", std::int64_t{5}}}, "where id=?", {id}), 1);
}

TEST_P(KV_MySQLTest, NamesMayHoldAnything) {
    const std::string table = "odd `t\"; --";
    const std::string column = "c\"'`?";
    m_database.execute(std::string("create table \"odd `t\"\"; --\" (\"c\"\"'`?\" ") +
                       (isSqlite() ? "integer)" : "bigint)"));
    m_database.insertRecord(table, {{column, std::int64_t{4}}});
    EXPECT_EQ(m_database.updateRecord(table, {{column, std::int64_t{5}}}, "where \"c\"\"'`?\"=?",
                                      {std::int64_t{4}}),
              1);
    const KV_Record row = m_database.queryRecord("select \"c\"\"'`?\" as c from \"odd `t\"\"; --\"").at(0);
    EXPECT_EQ(std::get<std::int64_t>(row.at("c")), 5);
    EXPECT_EQ(m_database.deleteRecord(table, ""), 1);
}

TEST_P(KV_MySQLTest, ValuesAndMarksMustBeAsMany) {
    EXPECT_THROW(m_database.queryRecord("select * from thing where id=?"), KV_MySQL_Exception);
    EXPECT_THROW(m_database.queryRecord("select * from thing where id=?", {std::int64_t{1}, std::int64_t{2}}),
                 KV_MySQL_Exception);
}

TEST_P(KV_MySQLTest, TransactionsRollBackUnlessCommitted) {
    {
        KV_MySQL::Transaction transaction(m_database);
        m_database.insertRecord("thing", {{"number", std::int64_t{1}}});
    }
    EXPECT_EQ(count(), 0);
    {
        KV_MySQL::Transaction transaction(m_database);
        m_database.insertRecord("thing", {{"number", std::int64_t{1}}});
        transaction.commit();
    }
    EXPECT_EQ(count(), 1);
}

TEST_P(KV_MySQLTest, AnInnerTransactionBelongsToTheOuterOne) {
    {
        KV_MySQL::Transaction outer(m_database);
        m_database.insertRecord("thing", {{"number", std::int64_t{1}}});
        {
            KV_MySQL::Transaction dropped(m_database);
            m_database.insertRecord("thing", {{"number", std::int64_t{2}}});
        }
        {
            KV_MySQL::Transaction kept(m_database);
            m_database.insertRecord("thing", {{"number", std::int64_t{3}}});
            kept.commit();
        }
        EXPECT_EQ(count(), 2);
        outer.commit();
    }
    EXPECT_EQ(count(), 2);
    {
        KV_MySQL::Transaction outer(m_database);
        KV_MySQL::Transaction inner(m_database);
        m_database.execute("delete from thing");
        inner.commit();
    }
    EXPECT_EQ(count(), 2);
}

TEST_P(KV_MySQLTest, AnotherConnectionSeesOnlyWhatIsCommitted) {
    KV_MySQL reader(m_url);
    KV_MySQL::Transaction transaction(m_database);
    m_database.insertRecord("thing", {{"number", std::int64_t{1}}});
    EXPECT_TRUE(reader.queryRecord("select * from thing").empty());
    transaction.commit();
    EXPECT_EQ(reader.queryRecord("select * from thing").size(), 1U);
}

TEST_P(KV_MySQLTest, ForeignKeysAreEnforced) {
    m_database.execute(isSqlite()
                           ? "create table part (id integer primary key, thing integer references thing(id))"
                           : "create table part (id bigint auto_increment primary key, thing bigint, "
                             "foreign key (thing) references thing(id))");
    EXPECT_THROW(m_database.insertRecord("part", {{"thing", std::int64_t{42}}}), KV_MySQL_Exception);
}

TEST(KV_MySQLOpenTest, AFileThatIsNoDatabaseOrCannotBeMadeIsRefused) {
    QTemporaryDir folder;
    QFile file(folder.filePath("text.db"));
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(QByteArray(4096, 'x'));
    file.close();
    EXPECT_THROW(KV_MySQL(file.fileName().toStdString()), KV_MySQL_Exception);
    EXPECT_THROW(KV_MySQL(folder.filePath("missing/x.db").toStdString()), KV_MySQL_Exception);
}

} // namespace
