// Results of several pairs of epochs beside each other.

#include "TestDatabase.h"
#include "ThreeEpochs.h"

#include "host/Gbk.h"
#include "workbench/inspectiondata/check/CheckProject.h"
#include "workbench/inspectiondata/compute/EpochRemoval.h"
#include "workbench/inspectiondata/database/ComparisonTable.h"
#include "workbench/inspectiondata/database/EditTable.h"
#include "workbench/inspectiondata/database/Inspector.h"
#include "workbench/inspectiondata/history/ProjectHistory.h"
#include "workbench/inspectiondata/output/InspectionData.h"

#include <QDirIterator>
#include <QFile>

#include <set>

namespace {

using namespace inspection;
using mysqlhelper::KV_MySQL;
using Names = std::vector<std::string>;

/// Two epochs were compared and one anomaly judged; then a third epoch came.
class ComparisonTest : public testing::TestWithParam<DatabaseKind> {
protected:
    ComparisonTest() {
        compute(kSamplePair);
        judge(anomaly(kSamplePair, 1, 0), "塌陷");
        const Status added = m_opened.project.addEpoch(thirdEpoch(m_opened.files));
        EXPECT_TRUE(added) << added.error().message.toStdString();
    }

    KV_MySQL& sql() { return m_opened.sql(); }
    const ProjectDescription& description() const { return m_opened.project.description(); }
    int compute(const EpochPair& pair, std::vector<std::uint32_t> stations = {}) {
        ComputationRequest request =
            pair == description().pair() ? m_opened.request() : requestFor(m_opened, pair);
        request.stationIds = std::move(stations);
        const int found = valueOf(computeAnomalies(request)).anomalies;
        m_history.setDatabase(&sql(), inspectorOf(description()));
        return found;
    }
    std::vector<SdiffData> anomalies(const EpochPair& pair, std::uint32_t station) {
        return readAnomalies(sql(), station, pair);
    }
    SdiffData anomaly(const EpochPair& pair, std::uint32_t station, std::size_t index) {
        return anomalies(pair, station).at(index);
    }
    Names names(const EpochPair& pair) {
        Names names;
        for (const std::uint32_t station : {1, 2}) {
            for (const SdiffData& each : anomalies(pair, station)) {
                names.push_back(each.name);
            }
        }
        return names;
    }
    void judge(const SdiffData& anomaly, const char* attribute) {
        EXPECT_TRUE(m_history.perform("分类 1 处异常", [&](EditTransaction& edit) {
            edit.update("anomaly", anomaly.id, {{"attribute", toGbk(attribute)}}, anomaly.version);
        }));
    }
    void remove(const SdiffData& anomaly) {
        EXPECT_TRUE(m_history.perform("删除 1 处异常", [&](EditTransaction& edit) {
            edit.remove("anomaly", anomaly.id, anomaly.version);
        }));
    }
    QString raster(const EpochPair& pair, std::uint32_t station) {
        return readStationResult(sql(), station, pair).value().dzRaster;
    }
    std::set<QString> rasters() const {
        std::set<QString> files;
        QDirIterator walk(description().outputFolder(), {"dz-*"}, QDir::Files, QDirIterator::Subdirectories);
        while (walk.hasNext()) {
            files.insert(QDir(description().folder).relativeFilePath(walk.next()));
        }
        return files;
    }
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
INSTANTIATE_TEST_SUITE_P(On, ComparisonTest, kEachKind, kindName);

TEST_P(ComparisonTest, EachPairHasAnomaliesVerdictsAndRastersOfItsOwn) {
    EXPECT_EQ(description().pair(), kThirdPair) << "none was chosen, so that these are the last two";
    EXPECT_TRUE(names(kThirdPair).empty());
    EXPECT_FALSE(readStationResult(sql(), 1, kThirdPair));
    EXPECT_EQ(compute(kThirdPair), 4);
    EXPECT_EQ(compute(kWidePair), 3);
    EXPECT_EQ(names(kSamplePair), (Names{"S1-0001", "S2-0001", "S2-0002"}));
    EXPECT_EQ(names(kThirdPair), (Names{"S1-0002", "S1-0003", "S2-0003", "S2-0004"}));
    EXPECT_EQ(names(kWidePair), (Names{"S1-0004", "S2-0005", "S2-0006"}));
    EXPECT_EQ(anomaly(kSamplePair, 1, 0).attribute, toGbk("塌陷"));
    EXPECT_TRUE(anomaly(kThirdPair, 1, 0).attribute.empty()) << "the same place in another pair";
    EXPECT_EQ(countAnomalies(sql(), kThirdPair), (std::map<std::uint32_t, std::size_t>{{1, 2}, {2, 2}}));
    EXPECT_EQ(rasters().size(), 3U) << "both stations are searched together";
    for (const EpochPair& pair : {kSamplePair, kThirdPair, kWidePair}) {
        for (const std::uint32_t station : {1, 2}) {
            EXPECT_EQ(rasters().count(raster(pair, station)), 1U);
        }
    }
    expectClean();
}

TEST_P(ComparisonTest, ComputingAPairAgainReplacesOnlyItsOwnResults) {
    compute(kThirdPair);
    judge(anomaly(kThirdPair, 2, 0), "深挖");
    const auto before = rasters();
    const QString kept = raster(kThirdPair, 1);
    const Names third = names(kThirdPair);
    compute(kSamplePair);
    EXPECT_EQ(names(kSamplePair), (Names{"S1-0001", "S2-0001", "S2-0002"})) << "as it was called before";
    EXPECT_EQ(anomaly(kSamplePair, 1, 0).attribute, toGbk("塌陷"));
    EXPECT_EQ(names(kThirdPair), third);
    EXPECT_EQ(anomaly(kThirdPair, 2, 0).attribute, toGbk("深挖"));
    EXPECT_EQ(rasters().size(), before.size());
    EXPECT_EQ(rasters().count(kept), 1U);
    EXPECT_EQ(raster(kThirdPair, 1), kept);
    compute(kThirdPair, {1});
    EXPECT_EQ(names(kThirdPair), third);
    EXPECT_EQ(rasters().count(kept), 1U) << "the other station needs it";
    compute(kThirdPair, {2});
    EXPECT_EQ(rasters().size(), before.size() + 1);
    EXPECT_EQ(rasters().count(kept), 0U);
    expectClean();
}

TEST_P(ComparisonTest, EditsOfAPairCanBeUndoneAfterAnotherOneWasComputed) {
    const SdiffData last = anomaly(kSamplePair, 2, 1); // SQLite would give its id to the next new row
    remove(last);
    compute(kThirdPair);
    EXPECT_EQ(names(kThirdPair), (Names{"S1-0002", "S1-0003", "S2-0003", "S2-0004"}));
    judge(anomaly(kThirdPair, 1, 0), "深挖");
    expectClean();
    ASSERT_TRUE(m_history.CanUndo());
    m_history.UndoSteps(2); // one in each pair
    EXPECT_TRUE(anomaly(kThirdPair, 1, 0).attribute.empty());
    EXPECT_EQ(anomaly(kSamplePair, 2, 1).name, last.name);
    EXPECT_EQ(anomaly(kSamplePair, 2, 1).id, last.id);
    expectClean();
    m_history.TakeUndo()->Undo(true);
    EXPECT_TRUE(anomaly(kSamplePair, 1, 0).attribute.empty());
    m_history.TakeRedo()->Redo(true);
    m_history.TakeRedo()->Redo(true);
    m_history.TakeRedo()->Redo(true);
    EXPECT_EQ(anomaly(kThirdPair, 1, 0).attribute, toGbk("深挖"));
    expectClean();

    compute(kSamplePair);
    expectClean();
    ASSERT_TRUE(m_history.CanUndo()) << "the edit of the other pair";
    m_history.TakeUndo()->Undo(true);
    EXPECT_TRUE(anomaly(kThirdPair, 1, 0).attribute.empty());
    EXPECT_FALSE(m_history.CanUndo()) << "anomalies that are no longer";
    expectClean();
}

TEST_P(ComparisonTest, OutputsAndReadersShowTheChosenPair) {
    compute(kThirdPair);
    const auto count = [&](const EpochPair& pair) {
        return valueOf(readInspectionData(valueOf(description().comparing(pair)), sql())).anomalyCount();
    };
    EXPECT_EQ(count(kSamplePair), 3);
    EXPECT_EQ(count(kThirdPair), 4);
    EXPECT_EQ(count(kWidePair), 0);
    const auto data = valueOf(readInspectionData(description(), sql()));
    ASSERT_EQ(data.comparisons.size(), 2U);
    EXPECT_EQ(data.comparisons[0].pair, kSamplePair);
    EXPECT_EQ(data.comparisons[0].judged, 1);
    EXPECT_EQ(data.comparisons[1].anomalies, 4);
    EXPECT_EQ(data.comparisons[1].stations, 2);
}

TEST_P(ComparisonTest, AnEpochWithVerdictsStaysUnlessTheyMayGo) {
    compute(kThirdPair);
    compute(kWidePair);
    judge(anomaly(kWidePair, 1, 0), "深挖");
    judge(anomaly(kSamplePair, 2, 0), "深挖");
    const auto before = rasters();
    const Failure failure = failureOf(removeEpoch(m_opened.project, sql(), kThirdPair.newer, Verdicts::Keep));
    EXPECT_TRUE(failure.userMessage.contains("有 1 处异常已判定")) << failure.userMessage.toStdString();
    EXPECT_EQ(rasters(), before);
    EXPECT_EQ(readComparisons(sql()).size(), 3U);
    EXPECT_EQ(description().epochs.size(), 3U);
    expectClean();

    EXPECT_TRUE(removeEpoch(m_opened.project, sql(), kThirdPair.newer, Verdicts::Remove));
    EXPECT_EQ(description().pair(), kSamplePair);
    EXPECT_EQ(readComparisons(sql()).size(), 1U);
    EXPECT_EQ(rasters().size(), 1U);
    EXPECT_TRUE(QFile::exists(m_opened.files.file("third/dsm.tif")));
    EXPECT_EQ(names(kSamplePair), (Names{"S1-0001", "S2-0001", "S2-0002"}));
    EXPECT_TRUE(names(kWidePair).empty());
    const auto notes = sql().queryRecord("select description from edit_history where is_dropped=1 and "
                                         "changes='[]' order by id desc limit 2");
    EXPECT_EQ(std::get<std::string>(notes.at(0).at("description")),
              toGbk("删除 2024-05-18 → 2026-05-25 的结果"));
    expectClean();
    m_history.reload();
    ASSERT_TRUE(m_history.CanUndo());
    m_history.UndoSteps(9);
    EXPECT_TRUE(anomaly(kSamplePair, 1, 0).attribute.empty()) << "edits of the pair that is left";
    expectClean();
    EXPECT_TRUE(failureOf(removeEpoch(m_opened.project, sql(), "2025-05-20", Verdicts::Remove))
                    .userMessage.contains("至少需要两期"));
    EXPECT_EQ(names(kSamplePair).size(), 3U);
}

TEST_P(ComparisonTest, AnEpochWithoutVerdictsGoesWithItsResults) {
    compute(kThirdPair);
    EXPECT_TRUE(removeEpoch(m_opened.project, sql(), kThirdPair.newer, Verdicts::Keep));
    EXPECT_EQ(readComparisons(sql()).size(), 1U);
    EXPECT_TRUE(removeEpoch(m_opened.project, sql(), kThirdPair.newer, Verdicts::Keep)
                    .error()
                    .userMessage.contains("没有期次 2026-05-25"));
    expectClean();
}

TEST_P(ComparisonTest, WhoEndsBetweenTheTwoStoresLeavesAnEpochThatWasNeverComputed) {
    compute(kThirdPair);
    judge(anomaly(kThirdPair, 1, 0), "深挖");
    // project.json cannot be replaced: the rows go first all the same.
    const QString json = m_opened.files.file("project.json");
    ASSERT_TRUE(QFile::rename(json, json + ".kept"));
    ASSERT_TRUE(QDir().mkpath(json));
    failureOf(removeEpoch(m_opened.project, sql(), kThirdPair.newer, Verdicts::Remove));
    ASSERT_TRUE(QDir().rmdir(json));
    ASSERT_TRUE(QFile::rename(json + ".kept", json));
    EXPECT_EQ(description().epochs.size(), 3U);
    EXPECT_TRUE(names(kThirdPair).empty());
    EXPECT_EQ(rasters().size(), 1U);
    expectClean();
    EXPECT_EQ(compute(kThirdPair), 4);
    EXPECT_TRUE(removeEpoch(m_opened.project, sql(), kThirdPair.newer, Verdicts::Keep));
    EXPECT_EQ(description().epochs.size(), 2U);
    expectClean();
}

TEST_P(ComparisonTest, TheCheckNamesWhatBelongsToNoComparisonOrNoEpoch) {
    compute(kThirdPair);
    const auto firstFinding = [&](const ProjectDescription& project) {
        const Findings findings = checkProject(project, sql());
        return findings.empty() ? QString() : findings.front().line();
    };
    ProjectDescription other = description();
    other.epochs.push_back(other.epochs.back());
    EXPECT_EQ(firstFinding(other), "project.json 2026-05-25：期次重复");
    other = description();
    other.compared = EpochPair{"2024-05-18", "2020-01-01"};
    EXPECT_EQ(firstFinding(other), "project.json compare：没有期次 2020-01-01");
    other = description();
    other.epochs.pop_back();
    EXPECT_EQ(firstFinding(other), "comparison 2 “2025-05-20 → 2026-05-25”：项目中没有期次 2026-05-25");
    sql().execute("update anomaly set comparison_id=7 where name='S1-0001'");
    EXPECT_EQ(firstFinding(description()), "anomaly 1 “S1-0001”：没有对比 7");
}

} // namespace
