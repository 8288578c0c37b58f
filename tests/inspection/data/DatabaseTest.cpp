#include "Opened.h"

#include "host/Gbk.h"
#include "workbench/inspection/database/AnomalyTable.h"
#include "workbench/inspection/database/Schema.h"
#include "workbench/inspection/database/StationTable.h"

#include <QDir>
#include <QFile>

namespace {

using namespace inspection;
using mysqlhelper::KV_MySQL;
using mysqlhelper::KV_MySQL_Exception;
using mysqlhelper::KV_Record;

SdiffData someAnomaly(const std::string& name) {
    SdiffData anomaly;
    anomaly.name = name;
    anomaly.suggested = toGbk("深挖");
    anomaly.isFill = false;
    anomaly.x = 500010.1;
    anomaly.y = 3400012.3;
    anomaly.cutCubicMetres = 12.5;
    anomaly.outlineWkt = "POLYGON ((0 0,1 0,1 1,0 0))";
    return anomaly;
}

TEST(DatabaseTest, FirstOpenTakesStationsAndNodesFromTheCentreLineFile) {
    OpenedProject opened;
    const auto stations = readStations(opened.sql());
    ASSERT_EQ(stations.size(), 2U);
    EXPECT_EQ(stations[0].m_id, 1U);
    EXPECT_EQ(fromGbk(stations[0].m_name), QStringLiteral("一号站"));
    EXPECT_EQ(stations[0].m_tableKind, KV_STATION);
    EXPECT_EQ(stations[0].m_srs, "EPSG:4547");
    EXPECT_DOUBLE_EQ(stations[0].m_xMax, SmallProject::kMiddle);
    EXPECT_DOUBLE_EQ(stations[1].m_startMetres, 100.0);
    const auto nodes = readPipeNodes(opened.sql());
    ASSERT_EQ(nodes.size(), 1U);
    EXPECT_EQ(fromGbk(nodes[0].GetName()), QStringLiteral("起点"));
    EXPECT_NEAR(nodes[0].GetCoor().x(), 114.0, 0.01);
    EXPECT_DOUBLE_EQ(nodes[0].GetCoor().z(), 50.0);
}

TEST(DatabaseTest, ASecondOpenKeepsWhatIsStored) {
    OpenedProject opened;
    opened.sql().execute("update station set name='renamed' where id=1");
    opened.database.reset();
    const auto again =
        valueOf(PipelineDatabase::open(opened.project.description(), Project::Access::Exclusive));
    EXPECT_EQ(readStations(*again->GetMySQL())[0].m_name, "renamed");
}

TEST(DatabaseTest, EveryTypeCodeHasItsTableAndOthersHaveNone) {
    OpenedProject opened;
    for (const int type : {1, 4, 5, 16, 17}) {
        const std::string table = opened.database->Gettablename(type);
        ASSERT_FALSE(table.empty()) << type;
        EXPECT_NO_THROW(opened.sql().queryRecord("select * from " + table + " ")) << type;
    }
    for (const int type : {0, 2, 3, 18, -1}) {
        EXPECT_TRUE(opened.database->Gettablename(type).empty()) << type;
    }
    EXPECT_TRUE(opened.database->GetConncetDBState());
    EXPECT_FALSE(opened.database->GetConncetDBState(1));
}

TEST(DatabaseTest, ASpecialRegionComesBackExactly) {
    OpenedProject opened;
    Special_Area area(toGbk("堆土场"), {114.123456789012345, 30.7, 51.25});
    area.m_attribute = toGbk("渣土");
    area.m_vertices = {{114.1, 30.1, 1.0 / 3.0}, {114.2, 30.1, 2.0}, {114.2, 30.2, 3.0}};
    area.m_fillColor = {10.0F / 255.0F, 0.5F, 1.0F};
    area.m_borderColor = {0.0F, 0.25F, 77.0F / 255.0F};
    area.m_borderWidth = 7;
    area.m_opacity = 0.35F;
    area.m_level = 4;
    KV_Record fields;
    area.evalute_record(fields);
    const auto id = opened.sql().insertRecord(tableName(KV_SPECIAL_AREA), fields);
    const auto areas = readSpecialAreas(opened.sql());
    ASSERT_EQ(areas.size(), 1U);
    const Special_Area& stored = areas[0];
    EXPECT_EQ(stored.m_id, static_cast<std::uint32_t>(id));
    EXPECT_EQ(stored.m_type, KV_SPECIAL_AREA);
    EXPECT_EQ(stored.GetName(), area.GetName());
    EXPECT_EQ(stored.GetCoor(), area.GetCoor());
    EXPECT_EQ(stored.m_attribute, area.m_attribute);
    EXPECT_EQ(stored.m_vertices, area.m_vertices);
    EXPECT_EQ(stored.m_fillColor, area.m_fillColor);
    EXPECT_EQ(stored.m_borderColor, area.m_borderColor);
    EXPECT_EQ(stored.m_borderWidth, 7);
    EXPECT_EQ(stored.m_opacity, area.m_opacity);
    EXPECT_EQ(stored.m_level, 4);
}

TEST(DatabaseTest, TwoSpecialObjectsOfOneKindCannotShareAName) {
    OpenedProject opened;
    KV_Record fields;
    Special_Point(toGbk("阀室"), {114.0, 30.7, 50.0}).evalute_record(fields);
    opened.sql().insertRecord(tableName(KV_SPECIAL_POINT), fields);
    EXPECT_THROW(opened.sql().insertRecord(tableName(KV_SPECIAL_POINT), fields), KV_MySQL_Exception);
}

TEST(DatabaseTest, AttributesAreStoredAndDeletedAnomaliesComeBackAsTheyWere) {
    OpenedProject opened;
    std::vector<SdiffData> anomalies{someAnomaly("S1-0001"), someAnomaly("S1-0002")};
    insertAnomalies(opened.sql(), 1, anomalies);
    ASSERT_NE(anomalies[0].id, 0);
    anomalies[0].attribute = toGbk("塌陷");
    storeAttributes(opened.sql(), {anomalies[0]});
    EXPECT_EQ(readAnomalies(opened.sql(), 1)[0].attribute, toGbk("塌陷"));

    std::vector<SdiffData> gone{anomalies[0]};
    deleteAnomalies(opened.sql(), gone);
    EXPECT_EQ(readAnomalies(opened.sql(), 1).size(), 1U);
    insertAnomalies(opened.sql(), 1, gone);
    const auto back = readAnomalies(opened.sql(), 1);
    ASSERT_EQ(back.size(), 2U);
    EXPECT_EQ(back[0].id, anomalies[0].id);
    EXPECT_EQ(back[0].attribute, toGbk("塌陷"));
    EXPECT_EQ(back[0].outlineWkt, anomalies[0].outlineWkt);
    EXPECT_EQ(back[0].x, anomalies[0].x);
    EXPECT_FALSE(back[0].isFill);
}

TEST(DatabaseTest, AnAnomalyOfNoStationIsRefused) {
    OpenedProject opened;
    std::vector<SdiffData> anomalies{someAnomaly("S9-0001")};
    EXPECT_THROW(insertAnomalies(opened.sql(), 9, anomalies), KV_MySQL_Exception);
}

TEST(DatabaseTest, ANewerSchemaIsRefusedAndLeftAlone) {
    OpenedProject opened;
    opened.sql().execute("pragma user_version=99");
    opened.database.reset();
    for (const auto access : {Project::Access::Exclusive, Project::Access::ReadOnly}) {
        const Failure failure = failureOf(PipelineDatabase::open(opened.project.description(), access));
        EXPECT_TRUE(failure.message.contains("99")) << failure.message.toStdString();
        EXPECT_TRUE(failure.message.contains("inspection.db"));
    }
    KV_MySQL database(opened.project.description().databaseFile().toStdString());
    EXPECT_EQ(storedSchemaVersion(database), 99);
    EXPECT_THROW(migrateSchema(database), KV_MySQL_Exception);
}

TEST(DatabaseTest, AProjectWithoutStationsIsRefusedAndItsDatabaseStaysEmpty) {
    const SmallProject files;
    QFile::remove(files.file("centerline.gpkg"));
    const auto project = valueOf(Project::open(files.folder()));
    const Failure failure =
        failureOf(PipelineDatabase::open(project.description(), Project::Access::Exclusive));
    EXPECT_TRUE(failure.message.contains("centerline.gpkg"));
    KV_MySQL database(project.description().databaseFile().toStdString());
    EXPECT_EQ(storedSchemaVersion(database), 0);
}

TEST(DatabaseTest, ReadingOnlyNeedsADatabaseAndChangesNothing) {
    const SmallProject files;
    const auto project = valueOf(Project::open(files.folder(), Project::Access::ReadOnly));
    failureOf(PipelineDatabase::open(project.description(), Project::Access::ReadOnly));
    EXPECT_FALSE(QFile::exists(project.description().databaseFile()));

    OpenedProject opened;
    const auto database =
        valueOf(PipelineDatabase::open(opened.project.description(), Project::Access::ReadOnly));
    EXPECT_EQ(readStations(*database->GetMySQL()).size(), 2U);
    EXPECT_THROW(database->GetMySQL()->execute("delete from station"), KV_MySQL_Exception);
}

} // namespace
