#include "tests/cli/ImportFixture.h"
#include "tests/support/MariaDbServer.h"

#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QLockFile>
#include <QProcess>
#include <QRegularExpression>

namespace {

class CheckCommandTest : public ImportFixture {
protected:
    CheckCommandTest() { EXPECT_EQ(corridor({"compute", folder()}).status, 0); }

    CorridorRun check(const QStringList& more = {}) const {
        return corridor(QStringList{"check", folder()} + more);
    }
    /// With SQLite's own program; gives what it prints.
    QByteArray run(const QString& sql) const {
        QProcess sqlite;
        // Newer builds start in a mode in which nothing can be damaged.
        sqlite.start("sqlite3", {database(), ".dbconfig defensive off", sql});
        EXPECT_TRUE(sqlite.waitForFinished());
        EXPECT_EQ(sqlite.exitCode(), 0) << sql.toStdString();
        const QByteArray output = sqlite.readAllStandardOutput();
        return output.mid(output.indexOf('\n') + 1); // the first line is the mode's
    }
    /// Without those that SQLite's readers share.
    QStringList files() const {
        return QDir(folder())
            .entryList(QDir::AllEntries | QDir::Hidden)
            .filter(QRegularExpression("^(?!inspection\\.db-)"));
    }
    QByteArray content() const {
        QFile file(database());
        EXPECT_TRUE(file.open(QIODevice::ReadOnly));
        return file.readAll();
    }
};

TEST_F(CheckCommandTest, AProjectWithoutFaultsIsSaidToBeCleanAndIsLeftAlone) {
    expectSuccess(importAreas(geoPackage(areas(manyRows(3)))), QStringLiteral("导入 3 个特殊面，拒绝 0 行"));
    const QByteArray before = content();
    const QStringList files = this->files();
    QLockFile lock(m_project.file(".corridor.lock"));
    ASSERT_TRUE(lock.tryLock()) << "somebody has the project open";
    const CorridorRun outcome = check();
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.output, QStringLiteral("未发现问题\n"));
    EXPECT_TRUE(outcome.errors.isEmpty()) << outcome.errors.join('\n').toStdString();
    lock.unlock();
    EXPECT_EQ(content(), before);
    EXPECT_EQ(this->files(), files);
}

TEST_F(CheckCommandTest, EachFaultIsOneLineAndTheStatusIsOne) {
    run("update anomaly set fill_m3=-1 where name='S1-0001'");
    run("update station set name='' where id=2");
    const CorridorRun outcome = check();
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.output, QStringLiteral("station 2：name 为空\nanomaly 1 “S1-0001”：fill_m3 为负\n"));
    EXPECT_TRUE(outcome.errors.isEmpty()) << outcome.errors.join('\n').toStdString();
    const CorridorRun json = check({"--json"});
    EXPECT_EQ(json.status, 1);
    const QJsonArray findings = QJsonDocument::fromJson(json.output.toUtf8()).object()["findings"].toArray();
    ASSERT_EQ(findings.size(), 2);
    EXPECT_EQ(findings[1].toObject(), (QJsonObject{{"subject", "anomaly"},
                                                   {"object", QStringLiteral("1 “S1-0001”")},
                                                   {"problem", QStringLiteral("fill_m3 为负")}}));
}

TEST_F(CheckCommandTest, WhatSqliteFindsDamagedIsAFinding) {
    run("pragma writable_schema=on; "
        "update sqlite_master set rootpage=(select rootpage from sqlite_master as other where other.name="
        "'sqlite_autoindex_special_area_1') where name='anomaly_by_station'");
    const CorridorRun damaged = check();
    EXPECT_EQ(damaged.status, 1);
    EXPECT_TRUE(damaged.output.startsWith(QStringLiteral("数据库：已损坏：")))
        << damaged.output.toStdString();
    EXPECT_TRUE(damaged.output.contains("anomaly_by_station")) << damaged.output.toStdString();
}

TEST_F(CheckCommandTest, AFileThatCannotBeReadToItsEndIsAFinding) {
    run("pragma wal_checkpoint(truncate)");
    const qint64 page = run("select rootpage from sqlite_master where name='anomaly'").trimmed().toLongLong();
    ASSERT_GT(page, 1);
    QFile file(database());
    ASSERT_TRUE(file.open(QIODevice::ReadWrite));
    constexpr qint64 kPageBytes = 4096;
    ASSERT_TRUE(file.seek((page - 1) * kPageBytes));
    ASSERT_EQ(file.write(QByteArray(kPageBytes, '\x5a')), kPageBytes);
    file.close();
    const CorridorRun damaged = check();
    EXPECT_EQ(damaged.status, 1);
    EXPECT_TRUE(damaged.output.contains(QStringLiteral("无法读取："))) << damaged.output.toStdString();
    EXPECT_TRUE(damaged.errors.isEmpty()) << damaged.errors.join('\n').toStdString();
}

TEST_F(CheckCommandTest, AProjectOnAServerIsCheckedToo) {
    MariaDbServer& server = MariaDbServer::instance();
    const QString url = server.newDatabase();
    ASSERT_EQ(corridor({"project", "set-database", folder(), url}).status, 0);
    EXPECT_EQ(check().output, QStringLiteral("未发现问题\n"));
    const QString name = url.section('/', 3).section('?', 0, 0);
    server.run("update anomaly set lat_deg=100 where id=1", name);
    const CorridorRun outcome = check();
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.output, QStringLiteral("anomaly 1 “S1-0001”：lat_deg 100 超出范围 -90 到 90\n"));
}

TEST_F(CheckCommandTest, WhatCannotBeOpenedIsSaidAsOpeningSaysIt) {
    expectFailure(corridor({"check", file("missing")}), 1, "missing");
    run("pragma user_version=2");
    expectFailure(check(), 1, QStringLiteral("数据库版本较旧"));
    run("pragma user_version=99");
    expectFailure(check(), 1, QStringLiteral("数据库版本比本程序新"));
    ASSERT_TRUE(QFile::remove(database()));
    expectFailure(check(), 1, QStringLiteral("数据库不存在"));
}

TEST_F(CheckCommandTest, WrongUseIsStatusTwo) {
    for (const QStringList& arguments :
         {QStringList{"check"}, QStringList{"check", folder(), "more"}, QStringList{"check", "--fast"}}) {
        const CorridorRun outcome = corridor(arguments);
        EXPECT_EQ(outcome.status, 2) << arguments.join(' ').toStdString();
        EXPECT_EQ(outcome.errors.size(), 1) << arguments.join(' ').toStdString();
    }
    EXPECT_TRUE(corridor({"check", "--help"}).output.contains("corridor check PROJECT"));
    EXPECT_TRUE(corridor({"--help"}).output.contains("corridor check"));
}

} // namespace
