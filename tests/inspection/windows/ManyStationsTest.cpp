// A line with more stations and anomalies than can be shown at once.
#include "tests/inspection/windows/WindowFixture.h"
#include "tests/support/SamplePair.h"
#include "tests/support/StatementTrace.h"

#include "host/Gbk.h"
#include "host/inspection/AVWindow.h"
#include "host/inspection/EditHistory.h"
#include "host/inspection/StationWindow.h"
#include "workbench/inspectiondata/database/AnomalyTable.h"
#include "workbench/inspectiondata/database/StationTable.h"
#include "workbench/inspectiondata/project/Project.h"

#include <QApplication>
#include <QComboBox>
#include <QLineEdit>
#include <QSignalSpy>
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
    EXPECT_GE(overlayGroups().size(), 20U);
    EXPECT_LT(overlayGroups().size(), 300U) << "the window answers in between";
    EXPECT_TRUE(waitUntil([&] { return overlayGroups().size() == kStations; }));
    EXPECT_LT(trace.statements().size(), kStations) << "many stations are read by one statement";
    const auto items = context().GetStationWindow()->GetSelectedStationItem();
    ASSERT_EQ(items.size(), static_cast<std::size_t>(kStations));
    EXPECT_EQ(items.back()->m_diffData.m_anomalies.size(), 10U);
}

TEST_F(ManyStationsTest, BoxesThatAreSetTogetherAreOneChangeForTheView) {
    constexpr int kStations = 60;
    openMany(kStations, 2);
    const QSignalSpy changes(tree().model(), &QAbstractItemModel::dataChanged);
    const QSignalSpy single(&tree(), &QTreeWidget::itemChanged);
    qsizetype before = 0;
    const auto expectFew = [&](int count, const char* how) {
        EXPECT_EQ(ticked(), count) << how;
        EXPECT_EQ(tree().topLevelItem(0)->checkState(0), count == 0 ? Qt::Unchecked : Qt::Checked) << how;
        EXPECT_LE(changes.size() - before, 4) << how;
        EXPECT_TRUE(waitUntil([&] { return overlayGroups().size() == static_cast<std::size_t>(count); }))
            << how;
        before = changes.size();
    };
    click("全选");
    expectFew(kStations, "all");
    click("全不选");
    expectFew(0, "none");
    clickCheckBox(tree().topLevelItem(0));
    expectFew(kStations, "the group's box");
    clickCheckBox(tree().topLevelItem(0));
    expectFew(0, "the group's box again");
    context().showComputedStations();
    expectFew(kStations, "those that are computed");
    click("全不选");
    expectFew(0, "none");
    EXPECT_TRUE(single.isEmpty());
    clickCheckBox(station(0));
    before = changes.size();
    clickCheckBox(station(kStations - 1), Qt::ShiftModifier);
    expectFew(kStations, "with Shift");
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

class ManyRowsTest : public ManyStationsTest {
protected:
    void showWholeLine() { tree().setCurrentItem(tree().topLevelItem(0)); }
    int rows() const { return table().model()->rowCount(); }
    QStringList everyThird() const {
        QStringList names;
        for (int row = 0; row < rows(); row += 3) {
            names << table().model()->index(row, 0).data().toString();
        }
        return names;
    }
    void select(const QStringList& names) {
        QMetaObject::invokeMethod(context().GetAVWindow(), "SetSelectedbyname", Q_ARG(QStringList, names));
        ASSERT_TRUE(waitUntil([&] { return selected() == names.size(); }));
    }
    qsizetype selected() const { return table().selectionModel()->selectedRows().size(); }
    QString current() const { return table().currentIndex().siblingAtColumn(0).data().toString(); }
    EditHistory& history() { return *context().GetEditHistory(); }
};

TEST_F(ManyRowsTest, RowsAllOverTheTableAreJudgedAndDeletedAndComeBackTogether) {
    openMany(10, 120);
    showWholeLine();
    m_window->findChild<QComboBox*>("attributeFilter")->setCurrentIndex(1); // not judged
    ASSERT_EQ(rows(), 1200);
    const QStringList names = everyThird();
    const QString& last = names.back();
    const QString next = table().model()->index(rows() - 2, 0).data().toString();
    const QSignalSpy removed(table().model(), &QAbstractItemModel::rowsRemoved);
    const QSignalSpy inserted(table().model(), &QAbstractItemModel::rowsInserted);

    select(names);
    ASSERT_EQ(current(), last);
    QTest::keyClick(&table(), Qt::Key_1);
    EXPECT_EQ(rows(), 800);
    EXPECT_EQ(current(), next) << "the neighbour of the row that has gone";
    EXPECT_EQ(selected(), 1);
    history().TakeUndo()->Undo(true);
    EXPECT_EQ(rows(), 1200);
    EXPECT_EQ(selected(), names.size());

    const MessageWatch messages;
    QTest::keyClick(&table(), Qt::Key_Delete);
    EXPECT_EQ(rows(), 800);
    history().TakeUndo()->Undo(true);
    EXPECT_EQ(rows(), 1200);
    history().TakeRedo()->Redo(true);
    EXPECT_EQ(rows(), 800);
    EXPECT_EQ(tree().topLevelItem(0)->text(1), "800");
    EXPECT_EQ(station(9)->text(1), "80");
    EXPECT_LE(removed.size() + inserted.size(), 4)
        << "views and filters look at all rows for each single change";
}

TEST_F(ManyRowsTest, RowsThatStayAreFoundByTheirNamesWhenManyHaveGone) {
    openMany(10, 120);
    showWholeLine();
    const QStringList gone = everyThird();
    const QPersistentModelIndex held = table().model()->index(rows() - 2, 0);
    const QString last = table().model()->index(rows() - 1, 0).data().toString();
    const QString next = held.data().toString();
    const MessageWatch messages;
    select(gone);
    QTest::keyClick(&table(), Qt::Key_Delete);
    ASSERT_EQ(rows(), 800);
    EXPECT_EQ(held.data().toString(), next);
    select({last});
    EXPECT_TRUE(waitUntil([&] { return current() == last; }));

    auto& shown = *m_window->findChild<QComboBox*>("attributeFilter");
    shown.setCurrentIndex(shown.count() - 1); // deleted
    ASSERT_EQ(rows(), gone.size());
    for (int row = 0; row < rows(); ++row) {
        EXPECT_TRUE(gone.contains(table().model()->index(row, 0).data().toString()));
    }
}

TEST_F(ManyRowsTest, AFilterTakesRowsAllOverTheTableAwayTogether) {
    openMany(10, 120);
    showWholeLine();
    select(everyThird());
    const QSignalSpy removed(table().model(), &QAbstractItemModel::rowsRemoved);
    auto& words = *m_window->findChild<QLineEdit*>("anomalySearch");
    words.setText("7 S");
    EXPECT_LT(rows(), 1200);
    EXPECT_GT(rows(), 100);
    for (int row = 0; row < rows(); ++row) {
        EXPECT_TRUE(table().model()->index(row, 0).data().toString().contains('7'));
    }
    words.clear();
    EXPECT_EQ(rows(), 1200);
    EXPECT_EQ(selected(), 400);
    EXPECT_TRUE(removed.isEmpty());
}

/// More special objects than come onto the globe at once.
class ManyObjectsTest : public InspectionWindowTest {
protected:
    static constexpr int kPoints = 1000;

    void SetUp() override {
        InspectionWindowTest::SetUp();
        openSample();
        const std::string file = context().project()->description().databaseFile().toStdString();
        context().closeProject();
        {
            KV_MySQL database(file);
            KV_MySQL::Transaction transaction(database);
            database.execute("delete from special_point");
            for (int number = 1; number <= kPoints; ++number) {
                database.insertRecord("special_point", {{"id", std::int64_t{number}},
                                                        {"name", "P" + std::to_string(1000 + number)},
                                                        {"lon_deg", 108.9},
                                                        {"lat_deg", 34.3},
                                                        {"height_m", 0.0}});
            }
            transaction.commit();
        }
        ASSERT_FALSE(context().openProject(m_project));
        ASSERT_EQ(points().childCount(), kPoints);
    }
    QTreeWidgetItem& points() { return *tree().topLevelItem(1); }
    const OsgDataSet::PointMap& onGlobe() {
        return dynamic_cast<OsgDataSet*>(context().GetDataSet(OsgDataSet::kIndex))->getPipePoints();
    }
    const osg::Group* groupOf(const std::string& name) {
        for (const auto& [group, record] : onGlobe()) {
            if (record.GetName() == name) {
                return group.get();
            }
        }
        return nullptr;
    }
    void waitForAll() {
        EXPECT_TRUE(waitUntil([this] { return onGlobe().size() == std::size_t{kPoints}; }));
    }
};

TEST_F(ManyObjectsTest, TheFirstAreOnTheGlobeAtOnceAndTheOthersSoon) {
    EXPECT_GE(onGlobe().size(), 100U);
    EXPECT_LT(onGlobe().size(), 600U) << "the window answers in between";
    waitForAll();
}

TEST_F(ManyObjectsTest, WhatIsDoneToOneBeforeItsTurnHolds) {
    QTreeWidgetItem* hidden = points().child(kPoints - 1);
    QTreeWidgetItem* renamed = points().child(kPoints - 2);
    hidden->setCheckState(0, Qt::Unchecked);
    renamed->setText(0, "新名");
    EXPECT_NE(groupOf(toGbk("新名")), nullptr);
    EXPECT_EQ(groupOf("P2000"), nullptr) << "it waits still";
    waitForAll();
    ASSERT_NE(groupOf("P2000"), nullptr);
    EXPECT_EQ(groupOf("P2000")->getNodeMask(), 0U);
    EXPECT_EQ(groupOf("P1999"), nullptr);
    points().setCheckState(0, Qt::Unchecked);
    EXPECT_EQ(groupOf("P1001")->getNodeMask(), 0U);
}

TEST_F(ManyObjectsTest, WhatWaitsDoesNotComeOnceItsProjectIsClosed) {
    context().closeProject();
    bool isLater = false;
    QTimer::singleShot(0, [&] { isLater = true; }); // behind the turns that were to come
    ASSERT_TRUE(waitUntil([&] { return isLater; }));
    EXPECT_TRUE(onGlobe().empty());
}

} // namespace
