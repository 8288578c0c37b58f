// Projects of more than two epochs, by the commands.

#include "tests/cli/CorridorRun.h"
#include "tests/support/ForeignConnection.h"
#include "tests/support/SmallProject.h"

#include <gtest/gtest.h>

#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

namespace {

constexpr auto kOldPair = "2024-05-18,2025-05-20";
constexpr auto kNewPair = "2025-05-20,2026-05-25";

class EpochCommands : public testing::Test {
protected:
    EpochCommands() {
        SmallProject::writeHeights(m_project.beside("third.tif"), [](int column, int row) {
            const bool isHeap = column >= 100 && column < 120 && row >= 20 && row < 40;
            return SmallProject::newHeight(column, row) + (isHeap ? 2.0 : 0.0);
        });
    }

    static CorridorRun done(const QStringList& arguments) {
        CorridorRun run = corridor(arguments);
        EXPECT_EQ(run.status, 0) << run.errors.join('\n').toStdString();
        return run;
    }
    CorridorRun addThird() const {
        return done(
            {"project", "add-epoch", m_project.folder(), "2026-05-25=" + m_project.beside("third.tif")});
    }
    CorridorRun remove(const QString& key, const QStringList& more = {}) const {
        return corridor(QStringList{"project", "remove-epoch", m_project.folder(), key} + more);
    }
    QJsonObject info() const {
        return QJsonDocument::fromJson(done({"info", m_project.folder(), "--json"}).output.toUtf8()).object();
    }
    void expectClean() const { EXPECT_EQ(done({"check", m_project.folder()}).output, "未发现问题\n"); }
    QByteArray json() const {
        QFile file(m_project.file("project.json"));
        EXPECT_TRUE(file.open(QIODevice::ReadOnly));
        return file.readAll();
    }

    SmallProject m_project;
};

TEST_F(EpochCommands, EveryPairIsComputedBesideTheOthersAndTheChoiceStays) {
    done({"compute", m_project.folder()});
    EXPECT_TRUE(addThird().output.contains("对比期次 2025-05-20 → 2026-05-25"));
    const QByteArray before = json();
    const CorridorRun computed = done({"compute", m_project.folder(), "--pair", kNewPair});
    EXPECT_TRUE(computed.output.contains("对比 2025-05-20 → 2026-05-25")) << computed.output.toStdString();
    EXPECT_TRUE(computed.output.contains("异常 1 处"));
    EXPECT_TRUE(done({"compute", m_project.folder(), "--pair", kOldPair}).output.contains("异常 3 处"));
    EXPECT_EQ(json(), before);
    const QJsonObject told = info();
    EXPECT_EQ(told["compared"].toArray(), (QJsonArray{"2025-05-20", "2026-05-25"}));
    EXPECT_EQ(told["anomalies"].toInt(), 1);
    EXPECT_EQ(told["epochs"].toArray().size(), 3);
    EXPECT_EQ(told["epochs"].toArray()[2].toObject()["key"].toString(), "2026-05-25");
    const QJsonArray comparisons = told["comparisons"].toArray();
    ASSERT_EQ(comparisons.size(), 2);
    EXPECT_EQ(comparisons[0].toObject()["pair"].toArray(), (QJsonArray{"2024-05-18", "2025-05-20"}));
    EXPECT_EQ(comparisons[0].toObject()["anomalies"].toInt(), 3);
    EXPECT_FALSE(comparisons[1].toObject()["computed_at"].toString().isEmpty());
    expectClean();
}

TEST_F(EpochCommands, ReportAndShapeShowThePairThatTheyAreAskedFor) {
    done({"compute", m_project.folder()});
    addThird();
    done({"compute", m_project.folder()});
    const auto report = [&](const QStringList& more) {
        const QString file = m_project.beside("report.html");
        done(QStringList{"report", m_project.folder(), "--out", file} + more);
        QFile html(file);
        EXPECT_TRUE(html.open(QIODevice::ReadOnly));
        return QString::fromUtf8(html.readAll());
    };
    EXPECT_TRUE(report({}).contains("2025-05-20 至 2026-05-25"));
    const QString older = report({"--pair", kOldPair});
    EXPECT_TRUE(older.contains("2024-05-18 至 2025-05-20"));
    EXPECT_TRUE(older.contains("S2-0002"));
    EXPECT_FALSE(older.contains("2026-05-25"));
    EXPECT_EQ(corridor({"shape", m_project.folder(), "--out", m_project.beside("shape"), "--pair", kOldPair})
                  .status,
              0);
    QFile table(m_project.beside("shape/anomalies.dbf"));
    ASSERT_TRUE(table.open(QIODevice::ReadOnly));
    const QByteArray rows = table.readAll();
    EXPECT_EQ(rows.count("2024-05-18"), 3);
    EXPECT_FALSE(rows.contains("2026-05-25"));
}

TEST_F(EpochCommands, AnEpochWithVerdictsIsRemovedOnlyWhenAskedTo) {
    done({"compute", m_project.folder()});
    addThird();
    done({"compute", m_project.folder()});
    ForeignConnection(m_project.file("inspection.db"))
        .run("update anomaly set attribute='x' where id=(select max(id) from anomaly)");
    expectFailure(remove("2026-05-25"), 1, "1 处异常已判定");
    EXPECT_EQ(info()["comparisons"].toArray().size(), 2);
    EXPECT_EQ(remove("2026-05-25", {"--with-results"}).status, 0);
    EXPECT_EQ(info()["comparisons"].toArray().size(), 1);
    EXPECT_EQ(info()["anomalies"].toInt(), 3);
    EXPECT_TRUE(QFile::exists(m_project.beside("third.tif")));
    EXPECT_EQ(QDir(m_project.file("output/stations/1")).entryList({"dz-*"}).size(), 1);
    expectClean();
    expectFailure(remove("2026-05-25"), 1, "没有期次 2026-05-25");
    expectFailure(remove("2025-05-20", {"--with-results"}), 1, "至少需要两期");
}

TEST_F(EpochCommands, AnUndatedEpochWithItsPhotoIsCalledByItsPath) {
    done({"project", "add-epoch", m_project.folder(),
          "=" + m_project.file("new/dsm.tif") + ',' + m_project.file("new/dom.tif")});
    const QJsonObject epoch = info()["epochs"].toArray()[2].toObject();
    EXPECT_EQ(epoch["key"].toString(), "new/dsm.tif");
    EXPECT_TRUE(epoch["dom"].toString().endsWith("new/dom.tif"));
    done({"compute", m_project.folder(), "--pair", "2024-05-18,new/dsm.tif"});
    expectClean();
    EXPECT_EQ(remove("new/dsm.tif").status, 0);
    expectClean();
}

TEST_F(EpochCommands, TheDateIsGuessedAndTheFilesAreCopied) {
    const QString flight = m_project.beside("flight 20260525");
    ASSERT_TRUE(QDir().mkpath(flight));
    ASSERT_TRUE(QFile::rename(m_project.beside("third.tif"), flight + "/dsm.tif"));
    const CorridorRun added =
        done({"project", "add-epoch", m_project.folder(), flight + "/dsm.tif", "--copy"});
    EXPECT_TRUE(added.output.startsWith("已增加期次 2026-05-25")) << added.output.toStdString();
    EXPECT_EQ(added.progress.back(), "增加期次 100%");
    ASSERT_TRUE(QDir(flight).removeRecursively());
    done({"compute", m_project.folder()});
    EXPECT_EQ(info()["anomalies"].toInt(), 1);
    expectClean();
}

TEST_F(EpochCommands, WrongUseAndUnknownEpochsAreOneLine) {
    const QString folder = m_project.folder();
    expectFailure(corridor({"project", "add-epoch", folder}), 2, "[DATE=]DSM");
    expectFailure(corridor({"project", "add-epoch", folder, "2026-05-25="}), 2, "DATE=");
    expectFailure(corridor({"project", "add-epoch", folder, "2026-05-25"}), 1, "2026-05-25：文件不存在");
    expectFailure(corridor({"project", "add-epoch", folder, "x.las", "--cell", "-1"}), 2, "正数");
    expectFailure(corridor({"project", "add-epoch", folder, "2026-05-25=/nowhere.tif"}), 1, "/nowhere.tif");
    expectFailure(corridor({"project", "add-epoch", folder, "2025-05-20=" + m_project.beside("third.tif")}),
                  1, "已有期次 2025-05-20");
    expectFailure(corridor({"project", "remove-epoch", folder}), 2, "期次");
    expectFailure(corridor({"compute", folder, "--pair", "2024-05-18"}), 1, "逗号");
    expectFailure(corridor({"compute", folder, "--pair", "2024-05-18,2020-01-01"}), 1, "没有期次 2020-01-01");
    expectFailure(corridor({"report", folder, "--out", "x.pdf", "--pair", "a,b"}), 1, "没有期次 a");
    for (const char* command : {"add-epoch", "remove-epoch"}) {
        EXPECT_TRUE(done({"project", command, "--help"}).output.contains(command));
    }
    EXPECT_TRUE(done({"compute", "--help"}).output.contains("该选择不因此改变"));
}

} // namespace
