// A line with more stations and anomalies than can be shown at once.
#include "tests/inspection/windows/WindowFixture.h"
#include "tests/support/SamplePair.h"
#include "tests/support/StatementTrace.h"

#include "host/inspection/StationWindow.h"
#include "workbench/inspectiondata/database/AnomalyTable.h"
#include "workbench/inspectiondata/database/StationTable.h"
#include "workbench/inspectiondata/project/Project.h"

#include <QApplication>
#include <QTest>
#include <QToolButton>

namespace {

using mysqlhelper::KV_MySQL;

/// The computed sample, its first station and that one's anomalies many times over.
class ManyStationsTest : public InspectionWindowTest {
protected:
    void openMany(int stations, int anomaliesOfEach) {
        openComputed();
        const KV_StationItem& model = *checkedStationWithMostAnomalies();
        const KV_Station place = model.m_station;
        const SdiffData anomaly = model.m_diffData.m_anomalies.front();
        const std::string file = context().project()->description().databaseFile().toStdString();
        context().closeProject();
        {
            KV_MySQL database(file);
            KV_MySQL::Transaction transaction(database);
            auto result = inspection::readStationResult(database, place.m_id, kSamplePair).value();
            database.deleteRecord("station", "where id>0");
            for (int number = 1; number <= stations; ++number) {
                addStation(database, place, number);
                result.stationId = static_cast<std::uint32_t>(number);
                inspection::storeStationResult(database, result);
                std::vector<SdiffData> anomalies(static_cast<std::size_t>(anomaliesOfEach), anomaly);
                for (std::size_t i = 0; i < anomalies.size(); ++i) {
                    anomalies[i].id = 0;
                    anomalies[i].name = "S" + std::to_string(number) + '-' + std::to_string(1000 + i);
                }
                inspection::insertAnomalies(database, result.stationId, kSamplePair, anomalies);
            }
            transaction.commit();
        }
        ASSERT_FALSE(context().openProject(m_project));
        ASSERT_EQ(tree().topLevelItem(0)->childCount(), stations);
    }
    static void addStation(KV_MySQL& database, const KV_Station& place, int number) {
        KV_Station station = place;
        station.m_name = std::to_string(number);
        mysqlhelper::KV_Record fields = inspection::stationRecord(station);
        fields["id"] = std::int64_t{number};
        database.insertRecord("station", fields);
    }
    void click(const QString& text) {
        for (QToolButton* button : context().GetStationWindow()->findChildren<QToolButton*>()) {
            if (button->text() == text) {
                QTest::mouseClick(button, Qt::LeftButton);
            }
        }
    }
    int ticked() const {
        int count = 0;
        for (int row = 0; row < tree().topLevelItem(0)->childCount(); ++row) {
            count += station(row)->checkState(0) == Qt::Checked ? 1 : 0;
        }
        return count;
    }
};

TEST_F(ManyStationsTest, TheFirstOfThoseTickedTogetherAreShownAtOnceAndTheOthersSoon) {
    constexpr int kStations = 400;
    openMany(kStations, 10);
    const StatementTrace trace;
    click("全选");
    EXPECT_EQ(ticked(), kStations);
    EXPECT_GE(overlayGroups().size(), 100U);
    EXPECT_LT(overlayGroups().size(), 300U) << "the window answers in between";
    EXPECT_TRUE(waitUntil([&] { return overlayGroups().size() == kStations; }));
    EXPECT_LT(trace.statements().size(), kStations) << "many stations are read by one statement";
    const auto items = context().GetStationWindow()->GetSelectedStationItem();
    ASSERT_EQ(items.size(), static_cast<std::size_t>(kStations));
    EXPECT_EQ(items.back()->m_diffData.m_anomalies.size(), 10U);
}

TEST_F(ManyStationsTest, AStationIsWorkedOnAlsoBeforeItsAnomaliesAreOnTheGlobe) {
    openMany(300, 10);
    click("全选");
    const KV_StationItem* last = context().GetStationWindow()->GetSelectedStationItem().back();
    EXPECT_LT(overlayGroups().size(), 300U);
    EXPECT_TRUE(context().GetStationWindow()->IsDiffChecked(last));
}

TEST_F(ManyStationsTest, WhatIsUntickedBeforeItsTurnNeverAppears) {
    openMany(400, 10);
    click("全选");
    click("全不选");
    EXPECT_EQ(ticked(), 0);
    EXPECT_TRUE(overlayGroups().empty());
    clickCheckBox(station(0)); // comes after all that had waited
    EXPECT_TRUE(waitUntil([&] { return !overlayGroups().empty(); }));
    QApplication::processEvents();
    EXPECT_EQ(overlayGroups().size(), 1U);
}

TEST_F(ManyStationsTest, AtFirstAsManyAreTickedAsHaveTwentyThousandAnomalies) {
    openMany(30, 1000);
    context().showComputedStations();
    EXPECT_EQ(ticked(), 20);
    EXPECT_TRUE(waitUntil([&] { return table().model()->rowCount() == 20000; }));
}

} // namespace
