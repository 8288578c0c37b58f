#include "Opened.h"

#include "host/Gbk.h"
#include "host/inspection/Station.h"
#include "tests/support/StatementTrace.h"
#include "workbench/inspectiondata/database/AnomalyTable.h"
#include "workbench/inspectiondata/database/StationTable.h"
#include "workbench/inspectiondata/project/CurrentProject.h"

namespace {

using namespace inspection;

SdiffData square(const std::string& name, double left, double side) {
    SdiffData anomaly;
    anomaly.name = name;
    anomaly.xMin = anomaly.yMin = left;
    anomaly.xMax = anomaly.yMax = left + side;
    anomaly.areaSquareMetres = side * side;
    const std::string a = std::to_string(left);
    const std::string b = std::to_string(left + side);
    anomaly.outlineWkt = "POLYGON ((" + a + ' ' + a + ',' + b + ' ' + a + ',' + b + ' ' + b + ',' + a + ' ' +
                         b + ',' + a + ' ' + a + "))";
    return anomaly;
}

TEST(DiffDataTest, FindsAnAnomalyByItsName) {
    KV_DiffData data;
    data.m_anomalies = {square(toGbk("异常1"), 0.0, 1.0), square("S1-0002", 5.0, 1.0)};
    SdiffData found;
    EXPECT_TRUE(data.GetdiffdataByname(toGbk("异常1"), found));
    EXPECT_DOUBLE_EQ(found.xMax, 1.0);
    EXPECT_FALSE(data.GetdiffdataByname("S1-0003", found));
    EXPECT_DOUBLE_EQ(found.xMax, 1.0);
}

TEST(DiffDataTest, FindsTheSmallestAnomalyAroundAPointAndNoneInItsHole) {
    KV_DiffData data;
    data.m_anomalies = {square("large", 0.0, 10.0), square("small", 4.0, 2.0)};
    SdiffData found;
    EXPECT_TRUE(data.GetdiffdataBycoor(5.0, 5.0, found));
    EXPECT_EQ(found.name, "small");
    EXPECT_TRUE(data.GetdiffdataBycoor(1.0, 1.0, found));
    EXPECT_EQ(found.name, "large");
    EXPECT_FALSE(data.GetdiffdataBycoor(11.0, 1.0, found));
    data.m_anomalies = {square("ring", 0.0, 10.0)};
    data.m_anomalies[0].outlineWkt = "POLYGON ((0 0,10 0,10 10,0 10,0 0),(3 3,3 7,7 7,7 3,3 3))";
    EXPECT_FALSE(data.GetdiffdataBycoor(5.0, 5.0, found));
    EXPECT_TRUE(data.GetdiffdataBycoor(1.0, 5.0, found));
}

TEST(DiffDataTest, HasNoDifferenceBeforeItIsRead) {
    double dz = 7.0;
    EXPECT_FALSE(KV_DiffData().GetdZ(0.0, 0.0, dz));
    EXPECT_DOUBLE_EQ(dz, 7.0);
}

class StationItemTest : public ::testing::Test {
protected:
    StationItemTest() { CurrentProject::set(&m_opened.project.description(), m_opened.database.get()); }
    ~StationItemTest() override { CurrentProject::clear(); }

    KV_StationItem station(std::uint32_t id) {
        return KV_StationItem(readStations(m_opened.sql()).at(id - 1));
    }

    OpenedProject m_opened;
};

TEST_F(StationItemTest, ReadsDifferencesOfTheLatestComputation) {
    KV_StationItem item = station(1);
    EXPECT_FALSE(item.readdiffvz());
    valueOf(computeAnomalies(m_opened.request()));
    ASSERT_TRUE(item.readdiffvz());
    const KnownChange& fill = SmallProject::changes()[0];
    double dz = 0.0;
    ASSERT_TRUE(item.m_diffData.GetdZ(fill.xCentre(), fill.yCentre(), dz));
    EXPECT_NEAR(dz, fill.dzMetres, 0.05);
    ASSERT_TRUE(item.m_diffData.GetdZ(SmallProject::kLeft + 5.0, SmallProject::kTop - 70.0, dz));
    EXPECT_NEAR(dz, 0.0, 0.05);
    EXPECT_FALSE(item.m_diffData.GetdZ(SmallProject::kLeft - 5.0, SmallProject::kTop - 70.0, dz));
    EXPECT_FALSE(item.m_diffData.GetdZ(1e300, 0.0, dz));

    const auto raster = item.m_diffData.m_elevationDifference;
    EXPECT_TRUE(item.readdiffvz());
    EXPECT_EQ(item.m_diffData.m_elevationDifference, raster) << "an unchanged raster is not opened again";
    valueOf(computeAnomalies(m_opened.request()));
    EXPECT_TRUE(item.readdiffvz());
    EXPECT_NE(item.m_diffData.m_elevationDifference, raster);
}

TEST_F(StationItemTest, InterpolatesBetweenCellCentres) {
    valueOf(computeAnomalies(m_opened.request()));
    KV_StationItem item = station(1);
    ASSERT_TRUE(item.readdiffvz());
    const KnownChange& fill = SmallProject::changes()[0];
    const double edge = SmallProject::kLeft + fill.column * SmallProject::kCellMetres;
    double dz = 0.0;
    ASSERT_TRUE(item.m_diffData.GetdZ(edge, fill.yCentre(), dz));
    EXPECT_NEAR(dz, fill.dzMetres / 2.0, 0.05);
}

TEST_F(StationItemTest, ReadsAnomaliesWithTheirAttributes) {
    valueOf(computeAnomalies(m_opened.request()));
    KV_StationItem item = station(2);
    ASSERT_TRUE(item.readclassfi());
    ASSERT_EQ(item.m_diffData.m_anomalies.size(), 2U);
    item.m_diffData.m_anomalies[0].attribute = toGbk("塌陷");
    m_opened.storeAttribute(item.m_diffData.m_anomalies[0]);
    KV_StationItem again = station(2);
    ASSERT_TRUE(again.readclassfi());
    EXPECT_EQ(again.m_diffData.m_anomalies[0].attribute, toGbk("塌陷"));
}

TEST_F(StationItemTest, ReaddomFollowsTheStoredBounds) {
    KV_StationItem item = station(1);
    m_opened.sql().execute("update station set x_min=x_min+7 where id=1");
    EXPECT_TRUE(item.readdom());
    EXPECT_DOUBLE_EQ(item.m_station.m_xMin, SmallProject::kLeft + 7.0);
    item.m_station.m_id = 55;
    EXPECT_FALSE(item.readdom());
}

TEST_F(StationItemTest, ReaddomRestoresWhatTheCallerChangedAlsoWhenNothingWasStored) {
    KV_StationItem item = station(1);
    ASSERT_TRUE(item.readdom());
    item.m_station.m_xMin += 7.0;
    item.m_station.m_srs.clear();
    EXPECT_TRUE(item.readdom());
    EXPECT_DOUBLE_EQ(item.m_station.m_xMin, SmallProject::kLeft);
    EXPECT_FALSE(item.m_station.m_srs.empty());
}

TEST_F(StationItemTest, SeesWhatAnotherConnectionStores) {
    valueOf(computeAnomalies(m_opened.request()));
    KV_StationItem item = station(1);
    ASSERT_TRUE(item.readdom());
    ASSERT_TRUE(item.readdiffvz());
    const auto other = m_opened.open();
    other->GetMySQL()->execute("update station set x_min=x_min+7 where id=1");
    other->GetMySQL()->execute("delete from comparison_result where station_id=1");
    EXPECT_TRUE(item.readdom());
    EXPECT_DOUBLE_EQ(item.m_station.m_xMin, SmallProject::kLeft + 7.0);
    EXPECT_FALSE(item.readdiffvz());
}

TEST_F(StationItemTest, ReadsNoTableAgainWhileNothingIsStored) {
    valueOf(computeAnomalies(m_opened.request()));
    KV_StationItem first = station(1);
    KV_StationItem second = station(2);
    const auto readAll = [&] {
        for (KV_StationItem* item : {&first, &second, &first, &second}) {
            EXPECT_TRUE(item->readdom());
            EXPECT_TRUE(item->readdiffvz());
        }
    };
    readAll();
    const StatementTrace trace;
    readAll();
    QStringList others = trace.statements();
    others.removeAll("pragma data_version");
    EXPECT_EQ(others, QStringList());
}

TEST_F(StationItemTest, IsSilentWithoutAProjectOrWithABrokenDatabase) {
    KV_StationItem item = station(1);
    m_opened.sql().execute("drop table anomaly");
    EXPECT_FALSE(item.readclassfi());
    CurrentProject::clear();
    EXPECT_FALSE(item.readdom());
    EXPECT_FALSE(item.readdiffvz());
    EXPECT_FALSE(item.readclassfi());
}

} // namespace
