// Projects that somebody else has made or damaged: one line, nothing lost, nothing left.

#include "CorridorRun.h"
#include "tests/support/ForeignConnection.h"
#include "tests/support/SmallProject.h"

#include <gtest/gtest.h>

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <csignal>

namespace {

class HostileProject : public testing::Test {
protected:
    void SetUp() override { ASSERT_EQ(corridor({"compute", m_project.folder()}).status, 0); }

    void change(const QString& statement) const {
        ForeignConnection(m_project.file("inspection.db")).run(statement);
    }
    QStringList names() const {
        QStringList all;
        const QDir folder(m_project.folder());
        for (const QString& name : folder.entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot)) {
            all << name;
        }
        return all +
               QDir(m_project.beside({})).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot);
    }

    SmallProject m_project;
};

TEST_F(HostileProject, CheckTellsOfARowWithoutANumberThatRefersToNothing) {
    change("create table foreign_rows (a integer primary key, s references station(id)) without rowid");
    change("insert into foreign_rows values (1, 99)");
    const CorridorRun run = corridor({"check", m_project.folder()});
    EXPECT_EQ(run.status, 1);
    EXPECT_TRUE(run.output.contains("foreign_rows")) << run.output.toStdString();
}

TEST_F(HostileProject, ARevisionThatIsNoWholeNumberIsToldByCheckAndCompute) {
    change("update project_revision set revision=1.5");
    const CorridorRun check = corridor({"check", m_project.folder()});
    EXPECT_EQ(check.status, 1);
    EXPECT_TRUE(check.output.contains("revision")) << check.output.toStdString();
    expectFailure(corridor({"compute", m_project.folder()}), 1, "revision");
}

TEST_F(HostileProject, OutlinesThatAreNoneCostOneLine) {
    const auto before = names();
    for (const QString& outline :
         {QString("GEOMETRYCOLLECTION(").repeated(500) + "POINT(1 1)" + QString(")").repeated(500),
          QString("POLYGON((0 0,1e308 0,1e308 1e308,0 0))"), QString("POLYGON((0 0,nan 0,1 1,0 0))")}) {
        change("update anomaly set outline_wkt='" + outline + '\'');
        for (const QStringList& arguments :
             {QStringList{"report", m_project.folder(), "--out", m_project.beside("r.pdf")},
              QStringList{"shape", m_project.folder(), "--out", m_project.beside("s")}}) {
            const CorridorRun run = corridor(arguments);
            EXPECT_EQ(run.status, 0);
            EXPECT_EQ(run.errors.size(), 1) << run.errors.join('\n').left(2000).toStdString();
        }
        EXPECT_EQ(corridor({"check", m_project.folder()}).status, 1);
    }
    EXPECT_EQ(names().size(), before.size() + 2);
}

TEST_F(HostileProject, ReadersLeaveNoLogBehindAndChangeNothing) {
    const auto before = names();
    const auto bytes = [this] {
        QFile file(m_project.file("inspection.db"));
        EXPECT_TRUE(file.open(QIODevice::ReadOnly));
        return file.readAll();
    };
    const QByteArray stored = bytes();
    for (const char* command : {"info", "check"}) {
        EXPECT_EQ(corridor({command, m_project.folder()}).status, 0);
        EXPECT_EQ(names(), before) << command;
    }
    EXPECT_EQ(bytes(), stored);
    change("pragma journal_mode=delete"); // as a copy that another program has made
    const QByteArray unlogged = bytes();
    EXPECT_EQ(corridor({"check", m_project.folder()}).status, 0);
    EXPECT_EQ(names(), before);
    EXPECT_EQ(bytes(), unlogged);
}

TEST_F(HostileProject, AReportIsNoDevice) {
    const QString link = m_project.beside("full.pdf");
    ASSERT_TRUE(QFile::link("/dev/full", link));
    expectFailure(corridor({"report", m_project.folder(), "--out", link}), 1, "full.pdf");
    EXPECT_FALSE(QFileInfo("/dev/full").isFile());
}

TEST_F(HostileProject, ShapesNeverReplaceTheProjectsLine) {
    for (const char* name : {"corridor.gpkg", "centerline.shp"}) {
        const SmallProject project;
        ASSERT_EQ(corridor({"compute", project.folder()}).status, 0);
        QFile json(project.file("project.json"));
        ASSERT_TRUE(json.open(QIODevice::ReadOnly));
        const QByteArray text =
            json.readAll().replace("\"remark\"", QByteArray("\"centerline\": \"") + name + "\", \"remark\"");
        json.close();
        ASSERT_TRUE(json.open(QIODevice::WriteOnly));
        json.write(text);
        json.close();
        ASSERT_TRUE(QFile::copy(project.file("centerline.gpkg"), project.file(name)));
        expectFailure(corridor({"shape", project.folder(), "--out", project.folder()}), 1, name);
        EXPECT_FALSE(QFileInfo::exists(project.file("anomalies.shp")));
    }
}

TEST_F(HostileProject, ShapesAreReplacedAllOrNotAtAll) {
    const QString folder = m_project.beside("shapes");
    ASSERT_EQ(corridor({"shape", m_project.folder(), "--out", folder}).status, 0);
    ASSERT_TRUE(QFile::remove(folder + "/stations.prj"));
    ASSERT_TRUE(QDir(folder).mkdir("stations.prj"));
    QFile kept(folder + "/anomalies.dbf");
    ASSERT_TRUE(kept.open(QIODevice::WriteOnly));
    kept.write("earlier");
    kept.close();
    const CorridorRun run = corridor({"shape", m_project.folder(), "--out", folder});
    expectFailure(run, 1, "stations.prj");
    EXPECT_EQ(QFileInfo(kept).size(), 7);
    EXPECT_TRUE(
        QDir(folder).entryList({".*"}, QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot).isEmpty());
}

#ifndef __SANITIZE_ADDRESS__ // which needs terabytes of addresses itself, and ends where it does not get them
TEST_F(HostileProject, LittleMemoryEndsInOneLineAndLeavesNothing) {
    const auto before = names();
    for (const rlim_t megabytes : {260, 300, 340, 400}) {
        const CorridorRun run =
            corridor({"report", m_project.folder(), "--out", m_project.beside("r.pdf")}, [megabytes] {
                const rlimit limit{megabytes << 20, megabytes << 20};
                setrlimit(RLIMIT_AS, &limit);
            });
        if (run.status == 0) {
            ASSERT_TRUE(QFile::remove(m_project.beside("r.pdf")));
        } else {
            EXPECT_EQ(run.status, 1);
            EXPECT_EQ(run.errors.size(), 1) << run.errors.join('\n').toStdString();
        }
        EXPECT_EQ(names(), before) << megabytes;
    }
}
#endif

TEST_F(HostileProject, WhatSteersATerminalIsShownAndNotDone) {
    const CorridorRun run = corridor({"info", QString::fromUtf8("a\x1b[31mb\xc2\x9b\xe2\x80\xae")});
    expectFailure(run, 1, "a\\u001b[31mb\\u009b\\u202e");
    expectFailure(corridor({"info", QString("x").repeated(100000)}), 1, "…");
    EXPECT_LT(corridor({"info", QString("x").repeated(100000)}).errors.value(0).size(), 2000);
    change("update station set name='a' || char(27) || ']0;title' || char(7)");
    const CorridorRun compute = corridor({"compute", m_project.folder()});
    EXPECT_FALSE(compute.output.contains(QChar(27))) << compute.output.toStdString();
}

TEST_F(HostileProject, TheNextRunRemovesWhatAKilledOneLeft) {
    const auto before = names();
    killedCorridor({"report", m_project.folder(), "--out", m_project.beside("r.pdf")}, "20%");
    EXPECT_GT(names().size(), before.size());
    EXPECT_EQ(corridor({"report", m_project.folder(), "--out", m_project.beside("r.pdf")}).status, 0);
    EXPECT_EQ(names().size(), before.size() + 1);
}

} // namespace
