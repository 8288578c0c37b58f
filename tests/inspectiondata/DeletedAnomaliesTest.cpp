// Anomalies that an inspector has deleted: they stay deleted when they are found again, and can be restored.

#include "Opened.h"
#include "TestDatabase.h"

#include "host/Gbk.h"
#include "workbench/inspectiondata/check/CheckProject.h"
#include "workbench/inspectiondata/database/AnomalyTable.h"
#include "workbench/inspectiondata/database/ComparisonTable.h"
#include "workbench/inspectiondata/database/Inspector.h"
#include "workbench/inspectiondata/history/ProjectHistory.h"
#include "workbench/inspectiondata/output/InspectionData.h"

namespace {

using namespace inspection;
using mysqlhelper::KV_MySQL;
using mysqlhelper::KV_Record;

/// A computed project, where station 1 has one anomaly and station 2 two.
class DeletedAnomaliesTest : public testing::TestWithParam<DatabaseKind> {
protected:
    DeletedAnomaliesTest() { compute(0.5); }

    KV_MySQL& sql() { return m_opened.sql(); }
    const ProjectDescription& description() const { return m_opened.project.description(); }
    ComputationSummary compute(double thresholdMetres) {
        ComputationRequest request = m_opened.request();
        request.project.parameters.thresholdMetres = thresholdMetres;
        ComputationSummary summary = valueOf(computeAnomalies(request));
        m_history.setDatabase(&sql(), inspectorOf(description()));
        return summary;
    }
    std::vector<SdiffData> present() { return readAnomalies(sql(), 1, kSamplePair); }
    std::vector<DeletedAnomaly> deleted() { return readDeletedAnomalies(sql(), kSamplePair); }
    Status remove(const SdiffData& anomaly) {
        return m_history.perform("删除 1 处异常", [&](EditTransaction& edit) {
            edit.markDeleted(kAnomalyTable, {{anomaly.id, anomaly.version}});
        });
    }
    Status set(const SdiffData& anomaly, const KV_Record& fields) {
        return m_history.perform("编辑异常", [&](EditTransaction& edit) {
            edit.update(kAnomalyTable, anomaly.id, fields, anomaly.version);
        });
    }
    Status restore(const SdiffData& anomaly) { return set(anomaly, {{kDeletedColumn, std::int64_t{0}}}); }
    void expectClean() {
        QStringList lines;
        for (const Finding& finding : checkProject(description(), sql())) {
            lines << finding.line();
        }
        EXPECT_EQ(lines.join('\n').toStdString(), "");
    }

    OpenedProject m_opened{newProjectDatabase(GetParam())};
    ProjectHistory m_history;
};
INSTANTIATE_TEST_SUITE_P(On, DeletedAnomaliesTest, kEachKind, kindName);

TEST_P(DeletedAnomaliesTest, OneThatIsFoundAgainStaysDeletedWithItsVerdict) {
    ASSERT_TRUE(set(present().at(0), {{"attribute", toGbk("误报")}}));
    ASSERT_TRUE(remove(present().at(0)));
    EXPECT_EQ(compute(0.9).anomalies, 2) << "those of station 2";
    EXPECT_TRUE(present().empty());
    ASSERT_EQ(deleted().size(), 1U);
    EXPECT_EQ(deleted()[0].stationId, 1U);
    EXPECT_EQ(deleted()[0].anomaly.attribute, toGbk("误报"));
    EXPECT_FALSE(m_history.CanUndo()) << "edits of the earlier rows have gone";
    expectClean();

    ASSERT_TRUE(restore(deleted()[0].anomaly));
    EXPECT_EQ(compute(0.5).anomalies, 3);
    ASSERT_EQ(present().size(), 1U);
    EXPECT_EQ(present()[0].attribute, toGbk("误报"));
    EXPECT_TRUE(deleted().empty());
    expectClean();
}

TEST_P(DeletedAnomaliesTest, AVerdictOfAFalseAlarmIsKeptAsAnyOther) {
    ASSERT_TRUE(set(present().at(0), {{"attribute", toGbk("误报")}}));
    compute(0.9);
    EXPECT_EQ(present().at(0).attribute, toGbk("误报"));
}

TEST_P(DeletedAnomaliesTest, UndoingADeletionAndRestoringAgree) {
    const SdiffData anomaly = present().at(0);
    const auto expectDeleted = [&](bool isDeleted) {
        EXPECT_EQ(present().size(), isDeleted ? 0U : 1U);
        EXPECT_EQ(deleted().size(), isDeleted ? 1U : 0U);
        expectClean();
    };
    ASSERT_TRUE(remove(anomaly));
    ASSERT_TRUE(restore(deleted().at(0).anomaly));
    expectDeleted(false);
    m_history.TakeUndo()->Undo(true);
    expectDeleted(true);
    m_history.TakeUndo()->Undo(true);
    expectDeleted(false);
    EXPECT_EQ(present()[0].name, anomaly.name);
    m_history.TakeRedo()->Redo(true);
    expectDeleted(true);
    m_history.TakeRedo()->Redo(true);
    expectDeleted(false);
}

TEST_P(DeletedAnomaliesTest, ADeletedOneIsNotJudgedAndNotDeletedTwice) {
    const SdiffData anomaly = present().at(0);
    ASSERT_TRUE(remove(anomaly));
    const Failure failure = failureOf(set(anomaly, {{"attribute", toGbk("深挖")}}));
    EXPECT_TRUE(failure.userMessage.contains("删除，您的修改未保存")) << failure.userMessage.toStdString();
    EXPECT_TRUE(failure.userMessage.contains(fromGbk(anomaly.name)));
    ASSERT_TRUE(remove(anomaly));
    m_history.TakeUndo()->Undo(true);
    EXPECT_EQ(present().size(), 1U);
    EXPECT_FALSE(m_history.CanUndo()) << "the second deletion changed nothing";
}

TEST_P(DeletedAnomaliesTest, OneThatAlsoLiesWhereAnotherWasLeftIsShown) {
    std::vector<SdiffData> twin{present().at(0)};
    twin[0].id = 0;
    twin[0].name = "twin";
    insertAnomalies(sql(), 1, kSamplePair, twin, true);
    compute(0.5);
    EXPECT_EQ(present().size(), 1U);
    EXPECT_TRUE(deleted().empty());
}

TEST_P(DeletedAnomaliesTest, OutputsAndFiguresLeaveThemOut) {
    ASSERT_TRUE(remove(present().at(0)));
    const auto data = valueOf(readInspectionData(description(), sql()));
    EXPECT_EQ(data.anomalyCount(), 2);
    EXPECT_EQ(countAnomalies(sql(), kSamplePair).count(1), 0U);
    const Comparison comparison = readComparisons(sql()).at(0);
    EXPECT_EQ(comparison.anomalies, 2);
    EXPECT_EQ(comparison.deleted, 1);
}

TEST_P(DeletedAnomaliesTest, TheCheckNamesAMarkThatIsNone) {
    sql().execute("update anomaly set is_deleted=2 where id=" + std::to_string(present().at(0).id));
    const Findings findings = checkProject(description(), sql());
    ASSERT_EQ(findings.size(), 1U);
    EXPECT_TRUE(findings[0].line().contains("is_deleted 既不是 0 也不是 1"))
        << findings[0].line().toStdString();
}

} // namespace
