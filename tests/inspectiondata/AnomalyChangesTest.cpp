// Records in memory that follow an edit instead of being read anew.
#include "Opened.h"
#include "TestDatabase.h"

#include "host/Gbk.h"
#include "workbench/inspectiondata/database/AnomalyChanges.h"
#include "workbench/inspectiondata/database/AnomalyTable.h"
#include "workbench/inspectiondata/database/ComparisonTable.h"
#include "workbench/inspectiondata/database/Schema.h"
#include "workbench/inspectiondata/history/ProjectHistory.h"

namespace {

using namespace inspection;

/// Two stations with anomalies, held in memory while a history edits them.
class AnomalyChangesTest : public testing::TestWithParam<DatabaseKind> {
protected:
    AnomalyChangesTest() {
        store(1, {"乙", "Z2", "甲", "z1", "异常10", "异常9", "啊", "Z10"});
        store(2, {"丁", "丙"});
        m_history.setDatabase(&m_opened.sql(), "");
        QObject::connect(&m_history, &ProjectHistory::rowsChanged,
                         [this](const RowChanges& changes) { follow(changes); });
    }

    void store(std::uint32_t stationId, const std::vector<const char*>& names) {
        std::vector<SdiffData> anomalies;
        for (const char* name : names) {
            SdiffData anomaly;
            anomaly.name = toGbk(name);
            anomaly.areaSquareMetres = 1.0 / (3.0 + static_cast<double>(anomalies.size()));
            anomaly.xMax = 500000.0; // comes back as a whole number from the history
            anomaly.outlineWkt = "POLYGON ((0 0,1 0,1 1,0 0))";
            anomalies.push_back(anomaly);
        }
        insertAnomalies(m_opened.sql(), stationId, kSamplePair, anomalies);
        m_held[stationId] = readAnomalies(m_opened.sql(), stationId, kSamplePair);
    }
    void follow(const RowChanges& changes) {
        for (auto& [stationId, anomalies] : m_held) {
            applyChanges(anomalyChanges(changes, findComparison(m_opened.sql(), kSamplePair)), stationId,
                         anomalies);
        }
    }
    void expectWhatIsStored() {
        for (const auto& [stationId, anomalies] : m_held) {
            const std::vector<SdiffData> stored = readAnomalies(m_opened.sql(), stationId, kSamplePair);
            ASSERT_EQ(anomalies.size(), stored.size());
            for (std::size_t i = 0; i < stored.size(); ++i) {
                SCOPED_TRACE(gbkToUtf8(stored[i].name));
                EXPECT_EQ(anomalies[i].name, stored[i].name);
                EXPECT_EQ(anomalies[i].id, stored[i].id);
                EXPECT_EQ(anomalies[i].version, stored[i].version);
                EXPECT_EQ(anomalies[i].attribute, stored[i].attribute);
                EXPECT_EQ(anomalies[i].areaSquareMetres, stored[i].areaSquareMetres);
                EXPECT_EQ(anomalies[i].xMax, stored[i].xMax);
                EXPECT_EQ(anomalies[i].outlineWkt, stored[i].outlineWkt);
            }
        }
    }
    void classify(const char* attribute) {
        EXPECT_TRUE(m_history.perform("分类", [&](EditTransaction& edit) {
            for (const auto& [stationId, anomalies] : m_held) {
                edit.update(kAnomalyTable, anomalies.front().id, {{"attribute", toGbk(attribute)}},
                            anomalies.front().version);
            }
        }));
    }
    void deleteEverySecond() {
        EXPECT_TRUE(m_history.perform("删除", [&](EditTransaction& edit) {
            for (const auto& [stationId, anomalies] : m_held) {
                for (std::size_t i = 0; i < anomalies.size(); i += 2) {
                    edit.remove(kAnomalyTable, anomalies[i].id, anomalies[i].version);
                }
            }
        }));
    }

    OpenedProject m_opened{newProjectDatabase(GetParam())};
    ProjectHistory m_history;
    std::map<std::uint32_t, std::vector<SdiffData>> m_held;
};
INSTANTIATE_TEST_SUITE_P(On, AnomalyChangesTest, kEachKind, kindName);

TEST_P(AnomalyChangesTest, RecordsAreWhatReadingThemAnewWouldGive) {
    classify("深挖");
    expectWhatIsStored();
    deleteEverySecond();
    EXPECT_EQ(m_held[1].size(), 4U);
    expectWhatIsStored();
    m_history.TakeUndo()->Undo(true);
    EXPECT_EQ(m_held[1].size(), 8U);
    expectWhatIsStored();
    m_history.TakeRedo()->Redo(true);
    expectWhatIsStored();
    m_history.UndoSteps(2); // the row that was classified and deleted is changed twice
    EXPECT_EQ(m_held[1].size(), 8U);
    EXPECT_TRUE(m_held[1].front().attribute.empty());
    expectWhatIsStored();
}

TEST_P(AnomalyChangesTest, WhatAnUndoDoesNotShowIsShownWithTheNextChange) {
    classify("深挖");
    m_history.TakeUndo()->Undo(false);
    EXPECT_EQ(m_held[1].front().attribute, toGbk("深挖"));
    deleteEverySecond();
    expectWhatIsStored();
}

TEST(AnomalyChangeTest, ARowThatComesBackAndIsChangedAtOnceIsNewAsItIsInTheEnd) {
    const mysqlhelper::KV_Record row{{"id", std::int64_t{7}}, {"station_id", std::int64_t{2}}};
    mysqlhelper::KV_Record changed = row;
    changed["attribute"] = std::string("judged");
    const auto changes = anomalyChanges({{kAnomalyTable, 7, std::nullopt, row},
                                         {"special_point", 7, std::nullopt, row},
                                         {kAnomalyTable, 7, row, changed}},
                                        kNoComparison);
    ASSERT_EQ(changes.size(), 1U);
    EXPECT_EQ(changes[0].stationId, 2U);
    EXPECT_EQ(changes[0].anomaly.attribute, "judged");
    EXPECT_TRUE(changes[0].isNew);
    EXPECT_FALSE(changes[0].isGone);
}

} // namespace
