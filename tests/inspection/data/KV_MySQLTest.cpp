#include "host/inspection/KV_MySQL.h"
#include "host/Gbk.h"

#include <gtest/gtest.h>

#include <QFile>
#include <QTemporaryDir>

#include <sqlite3.h>

using mysqlhelper::KV_Blob;
using mysqlhelper::KV_MySQL;
using mysqlhelper::KV_MySQL_Exception;
using mysqlhelper::KV_Record;
using mysqlhelper::KV_Value;

namespace {

class KV_MySQLTest : public ::testing::Test {
protected:
    KV_MySQLTest() { database.execute("create table thing (id integer primary key, value, other)"); }

    KV_Value roundTrip(const KV_Value& value) {
        const auto id = database.insertRecord("thing", {{"value", value}});
        return database.queryRecord("select value from thing where id=?", {id}).at(0).at("value");
    }
    std::int64_t count() {
        return std::get<std::int64_t>(database.queryRecord("select count(*) as n from thing")[0].at("n"));
    }

    QTemporaryDir folder;
    std::string file = folder.filePath("数据.db").toStdString();
    KV_MySQL database{file};
};

TEST_F(KV_MySQLTest, TextsComeBackByteForByte) {
    for (const std::string& text : {std::string(), std::string("it's \"quoted\"; drop table thing; --"),
                                    std::string("a\0b", 3), toGbk("重物占压"), toGbk("表情😀与𠮷字"),
                                    std::string("%_?:1 $x"), std::string("line\nbreak\ttab")}) {
        EXPECT_EQ(std::get<std::string>(roundTrip(text)), text);
    }
    EXPECT_EQ(count(), 7);
}

TEST_F(KV_MySQLTest, NumbersBlobsAndNullComeBackWithTheirSort) {
    EXPECT_EQ(std::get<std::int64_t>(roundTrip(std::int64_t{-9223372036854775807LL})),
              -9223372036854775807LL);
    EXPECT_EQ(std::get<double>(roundTrip(0.1)), 0.1);
    EXPECT_EQ(std::get<double>(roundTrip(1e300)), 1e300);
    EXPECT_EQ(std::get<KV_Blob>(roundTrip(KV_Blob{0, 255, 7})), (KV_Blob{0, 255, 7}));
    EXPECT_EQ(std::get<KV_Blob>(roundTrip(KV_Blob{})), KV_Blob{});
    EXPECT_TRUE(std::holds_alternative<std::monostate>(roundTrip(std::monostate())));
}

TEST_F(KV_MySQLTest, TheFileHoldsUtf8) {
    database.insertRecord("thing", {{"value", toGbk("塌陷")}});
    sqlite3* raw = nullptr;
    ASSERT_EQ(sqlite3_open(file.c_str(), &raw), SQLITE_OK);
    sqlite3_stmt* statement = nullptr;
    ASSERT_EQ(sqlite3_prepare_v2(raw, "select value from thing", -1, &statement, nullptr), SQLITE_OK);
    ASSERT_EQ(sqlite3_step(statement), SQLITE_ROW);
    EXPECT_STREQ(reinterpret_cast<const char*>(sqlite3_column_text(statement, 0)), "塌陷");
    sqlite3_finalize(statement);
    sqlite3_close(raw);
}

TEST_F(KV_MySQLTest, StatementsMayCarryGbkLiterals) {
    database.insertRecord("thing", {{"value", toGbk("深挖")}});
    EXPECT_EQ(database.queryRecord(toGbk("select * from thing where value='深挖'")).size(), 1U);
}

TEST_F(KV_MySQLTest, BoundValuesAreNeverPartOfTheStatement) {
    database.insertRecord("thing", {{"value", std::string("x")}});
    const KV_Value attack = std::string("x' or '1'='1");
    EXPECT_TRUE(database.queryRecord("select * from thing where value=?", {attack}).empty());
    EXPECT_EQ(database.deleteRecord("thing", "where value=?", {attack}), 0);
    EXPECT_EQ(count(), 1);
}

TEST_F(KV_MySQLTest, UpdateAndDeleteTellHowManyRowsTheyChanged) {
    const auto first =
        database.insertRecord("thing", {{"value", std::int64_t{1}}, {"other", std::int64_t{5}}});
    database.insertRecord("thing", {{"value", std::int64_t{2}}, {"other", std::int64_t{5}}});
    EXPECT_EQ(
        database.updateRecord("thing", {{"value", std::int64_t{9}}}, "where id=" + std::to_string(first)), 1);
    EXPECT_EQ(
        database.updateRecord("thing", {{"value", std::int64_t{8}}}, "where other=?", {std::int64_t{5}}), 2);
    EXPECT_EQ(database.updateRecord("thing", {{"value", std::int64_t{9}}}, "where id=77"), 0);
    EXPECT_EQ(database.deleteRecord("thing", "where other=?", {std::int64_t{5}}), 2);
}

TEST_F(KV_MySQLTest, RefusalIsAnExceptionOfOneLineThatNamesTheFile) {
    for (const char* statement :
         {"select * from missing", "not sql at all", "insert into thing (nothing) values (1)"}) {
        try {
            database.execute(statement);
            FAIL() << statement;
        } catch (const KV_MySQL_Exception& exception) {
            const std::string what = exception.what();
            EXPECT_NE(what.find(file), std::string::npos) << what;
            EXPECT_EQ(what.find('\n'), std::string::npos) << what;
        }
    }
    EXPECT_THROW(database.insertRecord("thing", {{"no\" column", std::int64_t{1}}}), KV_MySQL_Exception);
}

TEST_F(KV_MySQLTest, TransactionsRollBackUnlessCommitted) {
    {
        KV_MySQL::Transaction transaction(database);
        database.insertRecord("thing", {{"value", std::int64_t{1}}});
    }
    EXPECT_EQ(count(), 0);
    {
        KV_MySQL::Transaction transaction(database);
        database.insertRecord("thing", {{"value", std::int64_t{1}}});
        transaction.commit();
    }
    EXPECT_EQ(count(), 1);
}

TEST_F(KV_MySQLTest, AnInnerTransactionBelongsToTheOuterOne) {
    {
        KV_MySQL::Transaction outer(database);
        database.insertRecord("thing", {{"value", std::int64_t{1}}});
        {
            KV_MySQL::Transaction dropped(database);
            database.insertRecord("thing", {{"value", std::int64_t{2}}});
        }
        {
            KV_MySQL::Transaction kept(database);
            database.insertRecord("thing", {{"value", std::int64_t{3}}});
            kept.commit();
        }
        EXPECT_EQ(count(), 2);
        outer.commit();
    }
    EXPECT_EQ(count(), 2);
    {
        KV_MySQL::Transaction outer(database);
        KV_MySQL::Transaction inner(database);
        database.execute("delete from thing");
        inner.commit();
    }
    EXPECT_EQ(count(), 2);
}

TEST_F(KV_MySQLTest, AnotherConnectionSeesOnlyWhatIsCommitted) {
    KV_MySQL reader(file);
    KV_MySQL::Transaction transaction(database);
    database.insertRecord("thing", {{"value", std::int64_t{1}}});
    EXPECT_TRUE(reader.queryRecord("select * from thing").empty());
    transaction.commit();
    EXPECT_EQ(reader.queryRecord("select * from thing").size(), 1U);
}

TEST_F(KV_MySQLTest, ForeignKeysAreEnforced) {
    database.execute("create table part (id integer primary key, thing integer references thing(id))");
    EXPECT_THROW(database.insertRecord("part", {{"thing", std::int64_t{42}}}), KV_MySQL_Exception);
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
