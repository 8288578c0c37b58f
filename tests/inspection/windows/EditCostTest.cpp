// How many statements an edit of many anomalies costs the GUI thread.
#include "tests/inspection/windows/WindowFixture.h"
#include "tests/support/SamplePair.h"
#include "tests/support/StatementTrace.h"

#include "host/Gbk.h"
#include "host/inspection/AVWindow.h"
#include "host/inspection/EditHistory.h"
#include "host/inspection/StationWindow.h"
#include "workbench/inspectiondata/database/AnomalyTable.h"
#include "workbench/inspectiondata/project/Project.h"

namespace {

constexpr int kAnomalies = 1000;
/// 500 rows are read, written and read again by one statement each.
constexpr int kOfEachBatch = 3;
/// Of an edit, an undo or a redo, whatever it changes: the transaction, its revision, its entry and what the
/// windows look up for one station.
constexpr int kOfEachEdit = 7;

/// A computed station with a thousand anomalies, which the tree and the table show.
class EditCostTest : public InspectionWindowTest {
protected:
    void SetUp() override {
        InspectionWindowTest::SetUp();
        openComputed();
        const std::uint32_t id = checkedStationWithMostAnomalies()->GetStationId();
        multiplyAnomalies(id);
        for (int row = 0; row < tree().topLevelItem(0)->childCount(); ++row) {
            if (station(row)->data(0, Qt::UserRole).toUInt() == id) {
                clickCheckBox(station(row));
                tree().setCurrentItem(station(row));
            }
        }
        ASSERT_EQ(shown().size(), static_cast<std::size_t>(kAnomalies));
    }

    void multiplyAnomalies(std::uint32_t stationId) {
        const QString folder = context().project()->description().folder;
        const std::string file = context().project()->description().databaseFile().toStdString();
        context().closeProject();
        {
            mysqlhelper::KV_MySQL database(file);
            std::vector<SdiffData> anomalies = inspection::readAnomalies(database, stationId, kSamplePair);
            inspection::deleteAnomalies(database, anomalies);
            anomalies.resize(kAnomalies, anomalies.front());
            for (std::size_t i = 0; i < anomalies.size(); ++i) {
                anomalies[i].id = 0;
                anomalies[i].name = "N" + std::to_string(i);
            }
            mysqlhelper::KV_MySQL::Transaction transaction(database);
            inspection::insertAnomalies(database, stationId, kSamplePair, anomalies);
            transaction.commit();
        }
        ASSERT_FALSE(context().openProject(folder));
    }

    AVWindow& anomalies() { return *context().GetAVWindow(); }
    const std::vector<SdiffData>& shown() { return anomalies().GetCurrentItem()->m_diffData.m_anomalies; }
    std::vector<SdiffData> first(int count) { return {shown().begin(), shown().begin() + count}; }
    static qsizetype statementsOf(const std::function<void()>& work) {
        const StatementTrace trace;
        work();
        return trace.statements().size();
    }
    qsizetype classifying(int count, const char* attribute) {
        std::vector<SdiffData> judged = first(count);
        for (SdiffData& anomaly : judged) {
            anomaly.attribute = toGbk(attribute);
        }
        return statementsOf([&] { anomalies().SetItemAtrii(anomalies().GetCurrentItem(), judged); });
    }
    qsizetype deleting(int count) {
        const std::vector<SdiffData> gone = first(count);
        return statementsOf([&] { anomalies().DeleteItems(anomalies().GetCurrentItem(), gone); });
    }
    qsizetype undoing() {
        return statementsOf([this] { context().GetEditHistory()->TakeUndo()->Undo(true); });
    }
    qsizetype redoing() {
        return statementsOf([this] { context().GetEditHistory()->TakeRedo()->Redo(true); });
    }
};

TEST_F(EditCostTest, AThousandRowsCostAFewStatementsMoreThanOne) {
    for (const int rows : {1, kAnomalies}) {
        SCOPED_TRACE(rows);
        const int most = kOfEachEdit + kOfEachBatch * ((rows + 499) / 500);
        EXPECT_LE(classifying(rows, "深挖"), most);
        EXPECT_LE(undoing(), most);
        EXPECT_LE(redoing(), most);
        EXPECT_EQ(fromGbk(shown().front().attribute), "深挖");
        EXPECT_LE(deleting(rows), most);
        EXPECT_EQ(shown().size(), static_cast<std::size_t>(kAnomalies - rows));
        EXPECT_LE(undoing(), most);
        EXPECT_EQ(shown().size(), static_cast<std::size_t>(kAnomalies));
        EXPECT_EQ(table().model()->rowCount(), kAnomalies);
    }
}

} // namespace
