// What a double-click brings into the image window and the table, and when it does not.

#include "tests/plugin/anomaly/AnomalyFixture.h"

#include "host/inspection/DataSet.h"

#include <QLabel>
#include <QMetaObject>
#include <QSignalSpy>

#include <osgEarth/SpatialReference>

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

TEST_F(Zooming, LooksAtThePlaceOfTheLastPressAsWell) {
    showStation(1);
    leftClick(pixelOf(known::cut));
    checkAgain();
    EXPECT_TRUE(caption().contains(known::cut)) << caption().toStdString();
    showStation(0);
    leftClick(pixelOf(known::fill));
    checkAgain();
    EXPECT_TRUE(caption().contains(known::fill)) << caption().toStdString();
}

TEST_F(Zooming, LooksAtThePressInTheSystemOfTheFirstStationThere) {
    // The third station lies across the first, in another reference system. Only it has a value to show, so
    // that a press asks both.
    addThirdResult();
    removeDifference(1);
    setDifference(3, 9.0);
    leftClick(onOverlapping());
    ASSERT_NE(valueLabel(), nullptr);
    ASSERT_EQ(valueLabel()->getText(), "9") << "the third station is asked as well";
    const auto* system = osgEarth::SpatialReference::get("EPSG:4549");
    const auto* ours = osgEarth::SpatialReference::get("EPSG:4547");
    osg::Vec3d corner;
    ASSERT_TRUE(
        ours->transform(osg::Vec3d(SmallProject::kLeft, SmallProject::kTop - 80.0, 0.0), system, corner));
    change(QString("update station set srs='EPSG:4549', x_min=%1, x_max=%2, y_min=%3, y_max=%4 where id=3")
               .arg(corner.x() - 200.0, 0, 'f', 3)
               .arg(corner.x() + 200.0, 0, 'f', 3)
               .arg(corner.y() - 200.0, 0, 'f', 3)
               .arg(corner.y() + 200.0, 0, 'f', 3));
    showStation(0);
    leftClick(onOverlapping());
    checkAgain();
    EXPECT_TRUE(caption().contains(known::below)) << caption().toStdString();
}

} // namespace
