// What a double-click brings into the image window and the table, and when it does not.

#include "tests/plugin/anomaly/AnomalyFixture.h"

#include "host/inspection/DataSet.h"

#include <QLabel>
#include <QMetaObject>
#include <QSignalSpy>

namespace {

class Zooming : public AnomalyTest {
protected:
    Zooming() { startTool(); }

    QString caption() const { return m_host.window.findChild<QLabel*>("imageCaption")->text(); }
    void checkAgain() const { EXPECT_TRUE(QMetaObject::invokeMethod(&m_host.command(m_tool), "checkDff")); }
    static mysqlhelper::KV_MySQL& database() {
        auto& data = dynamic_cast<PipelineDataSet&>(
            *InspectionContext::instance().GetDataSet(PipelineDataSet::kIndex));
        return *data.GetMySQL();
    }
};

TEST_F(Zooming, ShowsNothingBeforeTheFirstDoubleClickAndNothingAgainOnceTheToolWasLeft) {
    const QString before = caption();
    checkAgain();
    EXPECT_EQ(caption(), before);

    doubleClick(pixelOf(known::cut));
    ASSERT_TRUE(caption().contains(known::cut)) << caption().toStdString();
    stopTool();
    startTool();
    showStation(0);
    const QString after = caption();
    checkAgain();
    EXPECT_EQ(caption(), after);
    EXPECT_FALSE(tableNames().contains(known::cut));
}

TEST_F(Zooming, FillsTheTableOnlyForAnotherStationThanTheOneItShows) {
    showStation(0);
    QSignalSpy fillings(table().model(), &QAbstractItemModel::modelReset);
    doubleClick(pixelOf(known::fill));
    EXPECT_EQ(selectedRows(), QStringList{known::fill});
    EXPECT_TRUE(caption().contains(known::fill)) << caption().toStdString();
    EXPECT_EQ(fillings.count(), 0);
    doubleClick(pixelOf(known::cut));
    EXPECT_EQ(selectedRows(), QStringList{known::cut});
    EXPECT_GT(fillings.count(), 0);
}

TEST_F(Zooming, LeavesTheTableWhereTheOtherStationCannotBeRead) {
    showStation(0);
    const QStringList before = tableNames();
    ASSERT_TRUE(before.contains(known::fill));
    database().execute("alter table anomaly rename to elsewhere");
    doubleClick(pixelOf(known::cut));
    EXPECT_EQ(tableNames(), before);
    database().execute("alter table elsewhere rename to anomaly");
}

TEST_F(Zooming, BesideAllAnomaliesShowsTheStationAlone) {
    doubleClick(pixelOf(known::fill));
    ASSERT_TRUE(caption().contains(known::fill));
    const QVariantList names = readStored("select name from station where id=1");
    ASSERT_EQ(names.size(), 1);
    doubleClick(emptyGround());
    EXPECT_EQ(caption(), names[0].toString());
}

} // namespace
