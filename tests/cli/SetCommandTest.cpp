// A project is changed by the command: what it says, what it leaves.

#include "tests/cli/CorridorRun.h"
#include "tests/support/ForeignConnection.h"
#include "tests/support/SmallProject.h"
#include "tests/support/VectorFile.h"

#include <gtest/gtest.h>

#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

namespace {

class SetCommand : public testing::Test {
protected:
    SetCommand() {
        done({"compute", m_project.folder()});
        const ForeignConnection database(m_project.file("inspection.db"));
        database.run("update anomaly set attribute='塌陷' where name='S1-0001'");
    }

    static CorridorRun done(const QStringList& arguments) {
        CorridorRun run = corridor(arguments);
        EXPECT_EQ(run.status, 0) << run.errors.join('\n').toStdString();
        return run;
    }
    CorridorRun set(const QStringList& options) const {
        return corridor(QStringList{"project", "set", m_project.folder()} + options);
    }
    QJsonObject json() const {
        QFile file(m_project.file("project.json"));
        EXPECT_TRUE(file.open(QIODevice::ReadOnly));
        return QJsonDocument::fromJson(file.readAll()).object();
    }
    QVariantList read(const QString& sql) const {
        return ForeignConnection(m_project.file("inspection.db")).read(sql);
    }
    void expectClean() const { EXPECT_EQ(done({"check", m_project.folder()}).output, "未发现问题\n"); }
    /// The rasters lie elsewhere from now on.
    QString moved() const {
        const QString away = m_project.beside("移走");
        EXPECT_TRUE(QDir().mkpath(away));
        for (const char* name : {"old", "new"}) {
            EXPECT_TRUE(QDir().rename(m_project.file(name), away + '/' + name));
        }
        return away;
    }

    SmallProject m_project;
};

TEST_F(SetCommand, StationsAreLaidOutAnewUnderTheVerdicts) {
    const CorridorRun tried = set({"--station-length", "50", "--half-width=45", "--dry-run"});
    EXPECT_EQ(tried.status, 0);
    EXPECT_TRUE(tried.output.contains("站段：2 个 → 4 个")) << tried.output.toStdString();
    EXPECT_TRUE(tried.output.contains("3 处异常中 3 处归入其他站段"));
    EXPECT_TRUE(tried.output.endsWith("以上更改尚未进行\n"));
    EXPECT_EQ(read("select name from station").size(), 2);
    const CorridorRun run = set({"--station-length", "50", "--half-width=45", "--quiet"});
    EXPECT_EQ(run.status, 0) << run.errors.join('\n').toStdString();
    EXPECT_TRUE(run.progress.isEmpty());
    EXPECT_TRUE(run.output.endsWith("项目已更改\n"));
    EXPECT_EQ(
        read("select s.name from anomaly a join station s on s.id=a.station_id where a.attribute='塌陷'"),
        QVariantList{"K0+000—K0+050"});
    expectClean();
    EXPECT_TRUE(set({"--half-width", "12"}).output.contains("2 处异常在新站段之外"));
    EXPECT_TRUE(read("select name from station").contains("K0+050—K0+100")) << "as long as before";
    expectClean();
}

TEST_F(SetCommand, NameLineAndChainages) {
    writeBytes(m_project.beside("pipe.csv"), "x,y\n500200,3400040\n500000,3400040\n");
    const CorridorRun run = set(
        {"--name", "西二线", "--centerline", m_project.beside("pipe.csv"), "--turn", "--start", "K12+500"});
    EXPECT_EQ(run.status, 0) << run.errors.join('\n').toStdString();
    EXPECT_TRUE(run.output.contains("项目名称：西二线"));
    EXPECT_TRUE(run.output.contains("中心线：0.200 公里"));
    EXPECT_EQ(json()["name"].toString(), "西二线");
    EXPECT_EQ(json()["remark"].toString(), "kept");
    EXPECT_EQ(read("select name from station order by id").front(), "K12+500—K12+600");
    expectClean();
    EXPECT_EQ(set({"--start", "K0+000"}).status, 0) << "of the line that there is";
    EXPECT_EQ(read("select name from station order by id").front(), "K0+000—K0+100");
    EXPECT_EQ(set({"--no-centerline"}).status, 0);
    EXPECT_EQ(read("select name from station"), QVariantList{"1号区"});
    expectFailure(set({"--half-width", "20"}), 2, "没有中心线");
    expectClean();
}

TEST_F(SetCommand, FilesThatWereMovedAreNamedAndFound) {
    const QString away = moved();
    expectFailure(corridor({"compute", m_project.folder()}), 1, "--epoch 2024-05-18 --dsm NEW");
    const CorridorRun report =
        corridor({"report", m_project.folder(), "--out", m_project.beside("report.html")});
    EXPECT_EQ(report.errors.filter("corridor project set").size(), 4)
        << report.errors.join('\n').toStdString();
    const CorridorRun notFound = set({"--locate", m_project.beside("nowhere")});
    EXPECT_EQ(notFound.status, 1);
    EXPECT_EQ(notFound.errors.filter("未找到").size(), 4);
    const CorridorRun found = set({"--locate", away});
    EXPECT_EQ(found.status, 0) << found.errors.join('\n').toStdString();
    EXPECT_EQ(json()["epochs"].toArray()[1].toObject()["dom"].toString(), away + "/new/dom.tif");
    expectClean();
    EXPECT_EQ(corridor({"compute", m_project.folder()}).status, 0);
}

TEST_F(SetCommand, AnEpochIsPointedToOneFile) {
    const QString away = moved();
    EXPECT_EQ(set({"--epoch", "2024-05-18=" + away + "/old/dsm.tif," + away + "/old/dom.tif"}).status, 0);
    EXPECT_EQ(set({"--epoch", "2025-05-20", "--dsm", away + "/new/dsm.tif", "--dom="}).status, 0);
    EXPECT_FALSE(json()["epochs"].toArray()[1].toObject().contains("dom"));
    expectClean();
    EXPECT_EQ(set({"--heights", "2025-05-20=EPSG:5773"}).status, 0);
    EXPECT_EQ(json()["epochs"].toArray()[1].toObject()["heights"].toString(), "EPSG:5773");
    expectClean();
}

TEST_F(SetCommand, WrongUseIsOneLine) {
    expectFailure(corridor({"project", "set"}), 2, "缺少项目文件夹");
    expectFailure(set({}), 2, "没有给出要更改的内容");
    expectFailure(set({"--layer", "x"}), 2, "--layer");
    expectFailure(set({"--start", "zwölf"}), 2, "--start");
    expectFailure(set({"--start", "1", "--posts", "x.csv"}), 2, "只能给出一个");
    expectFailure(set({"--no-centerline", "--turn"}), 2, "--no-centerline");
    expectFailure(set({"--stations", "x.shp", "--half-width", "10"}), 2, "--stations");
    expectFailure(set({"--station-length=-5"}), 2, "正数");
    expectFailure(set({"--dsm", "x.tif"}), 2, "--epoch");
    expectFailure(set({"--epoch", "1999-01-01=x.tif"}), 2, "1999-01-01");
    expectFailure(set({"--heights", "EPSG:5773"}), 2, "--heights");
    expectFailure(set({"--centerline", m_project.beside("nowhere.kml")}), 1, "nowhere.kml");
    expectFailure(corridor({"project", "set", m_project.beside("nowhere"), "--name", "x"}), 1, "nowhere");
    EXPECT_TRUE(corridor({"project", "set", "--help"}).output.contains("--locate"));
}

} // namespace
