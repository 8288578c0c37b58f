// `corridor compute --plan`, `--piece` and `--collect` as a batch engine sees them.

#include "CorridorRun.h"
#include "tests/support/ForeignConnection.h"
#include "tests/support/SmallProject.h"

#include <gtest/gtest.h>

#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QLockFile>

namespace {

class ComputePieces : public testing::Test {
protected:
    /// Stations that are searched apart: one reaches far to the north, the other far to the east.
    void SetUp() override {
        ASSERT_EQ(corridor({"compute", folder()}).status, 0);
        const ForeignConnection database(m_project.file("inspection.db"));
        database.run("update station set x_max=500060, y_max=3410000 where id=1");
        database.run("update station set x_min=500060, x_max=510000 where id=2");
    }
    QString folder() const { return m_project.folder(); }
    QString beside(const QString& name) const { return m_project.beside(name); }
    CorridorRun compute(const QStringList& options) const {
        return corridor(QStringList{"compute", folder()} + options);
    }
    /// Hidden ones, too.
    QStringList names() const {
        return QDir(beside({})).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot);
    }
    static void expectDone(const CorridorRun& run) {
        EXPECT_EQ(run.status, 0) << run.errors.join('\n').toStdString();
    }

    SmallProject m_project;
};

TEST_F(ComputePieces, ThePlansGroupsAreComputedApartAndCollected) {
    const QString common = beside("common.json");
    const CorridorRun planned = compute({"--plan", "--json", "--coregistration", common});
    expectDone(planned);
    const QJsonArray groups = QJsonDocument::fromJson(planned.output.toUtf8()).object()["groups"].toArray();
    ASSERT_EQ(groups.size(), 2);
    QStringList folders;
    {
        QLockFile lock(m_project.file(".corridor.lock")); // somebody has the project open
        ASSERT_TRUE(lock.tryLock());
        for (const auto& group : groups) {
            folders << beside(QStringLiteral("piece-%1").arg(folders.size()));
            expectDone(compute({"--stations", group.toObject()["stations"].toString(), "--piece",
                                folders.back(), "--coregistration", common, "--threads", "1"}));
        }
        expectFailure(compute(QStringList{"--collect"} + folders), 1, folder());
    }
    const CorridorRun collected = compute(QStringList{"--collect"} + folders);
    expectDone(collected);
    EXPECT_TRUE(collected.output.contains(QStringLiteral("共 2 个站段，异常 3 处")))
        << collected.output.toStdString();
    const CorridorRun again = compute(QStringList{"--collect"} + folders);
    expectDone(again);
    EXPECT_TRUE(again.output.isEmpty()) << again.output.toStdString();
    EXPECT_TRUE(again.errors.join('\n').contains(QStringLiteral("站段 1、2 的这些结果已在项目中")));
    expectDone(corridor({"check", folder()}));
}

TEST_F(ComputePieces, StationsWithoutAPieceAreNamed) {
    expectDone(compute({"--stations", "2", "--piece", beside("piece")}));
    const CorridorRun collected = compute({"--collect", beside("piece")});
    expectDone(collected);
    EXPECT_TRUE(collected.errors.join('\n').contains(QStringLiteral("没有站段 1 的结果")))
        << collected.errors.join('\n').toStdString();
}

TEST_F(ComputePieces, WhatEndsOneEarlyLeavesNothing) {
    const QStringList before = names();
    const QStringList piece{"compute", folder(), "--piece", beside("piece")};
    expectFailure(interruptedCorridor(piece, QStringLiteral("计算异常")), 1, QStringLiteral("已取消"));
    EXPECT_EQ(names(), before);
    expectFailure(corridor(piece, withSmallDisk(10'000)), 1, "piece");
    EXPECT_EQ(names(), before);
    killedCorridor(piece, QStringLiteral("计算异常"));
    EXPECT_FALSE(QFile::exists(beside("piece")));
    expectDone(corridor(piece));
    EXPECT_EQ(names(), QStringList("piece") + before) << "the next one removes what a kill has left";
}

TEST_F(ComputePieces, WhatDoesNotGoTogetherIsWrong) {
    for (const QStringList& options :
         {QStringList{"--plan", "--piece", "x"}, QStringList{"--piece", "x", "--collect"},
          QStringList{"--collect"}, QStringList{"--json"}, QStringList{"--coregistration", "x"},
          QStringList{"--plan", "--stations", "1"}, QStringList{"--collect", "x", "--threads", "1"},
          QStringList{"--piece", ""}, QStringList{"another"}, QStringList{"--stations", "2-1"},
          QStringList{"--stations", "1-"}, QStringList{"--stations", "-2"}, QStringList{"--threads", "0"}}) {
        expectFailure(compute(options), 2, "compute");
    }
    expectFailure(compute({"--stations", "1-99"}), 1, "99");
    expectFailure(compute({"--piece", beside("gone/piece")}), 1, "gone");
    expectFailure(compute({"--piece", beside("piece"), "--coregistration", beside("gone")}), 1, "gone");
    expectFailure(compute({"--collect", beside("gone")}), 1, "gone");
}

TEST_F(ComputePieces, RangesOfStationsAreComputedAtOnceToo) {
    const CorridorRun run = compute({"--stations", "1-2"});
    expectDone(run);
    EXPECT_TRUE(run.output.contains(QStringLiteral("共 2 个站段")));
}

} // namespace
