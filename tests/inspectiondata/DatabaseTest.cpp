#include "Opened.h"
#include "TestDatabase.h"

#include "host/Gbk.h"
#include "workbench/inspectiondata/database/AnomalyTable.h"
#include "workbench/inspectiondata/database/Schema.h"
#include "workbench/inspectiondata/database/StationTable.h"
#include "workbench/inspectiondata/database/TableDescription.h"
#include "workbench/inspectiondata/project/ServerAddress.h"
#include "workbench/inspectiondata/text/AnomalyFields.h"

#include <QDir>
#include <QFile>

#include <algorithm>

namespace {

using namespace inspection;
using mysqlhelper::KV_MySQL;
using mysqlhelper::KV_MySQL_Exception;
using mysqlhelper::KV_Record;

std::vector<KV_BasicNode> pipeNodes(KV_MySQL& database) {
    std::vector<KV_BasicNode> nodes;
    for (const auto& row :
         database.queryRecord("select * from " + tableName(KV_PIPE_NODE) + " order by id")) {
        nodes.emplace_back().init_from_sqldata(row);
    }
    return nodes;
}

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

class DatabaseTest : public testing::TestWithParam<DatabaseKind> {
protected:
    QString databaseUrl() const { return m_opened.project.description().databaseUrl(); }
    void setStoredVersion(int version) {
        m_opened.sql().execute((GetParam() == DatabaseKind::Sqlite ? "pragma user_version="
                                                                   : "update schema_version set version=") +
                               std::to_string(version));
    }

    OpenedProject m_opened{newProjectDatabase(GetParam())};
};
INSTANTIATE_TEST_SUITE_P(On, DatabaseTest, kEachKind, kindName);

TEST_P(DatabaseTest, FirstOpenTakesStationsAndNodesFromTheCentreLineFile) {
    const auto stations = readStations(m_opened.sql());
    ASSERT_EQ(stations.size(), 2U);
    EXPECT_EQ(stations[0].m_id, 1U);
    EXPECT_EQ(fromGbk(stations[0].m_name), QStringLiteral("一号站"));
    EXPECT_EQ(stations[0].m_tableKind, KV_STATION);
    EXPECT_EQ(stations[0].m_srs, "EPSG:4547");
    EXPECT_DOUBLE_EQ(stations[0].m_xMax, SmallProject::kMiddle);
    EXPECT_DOUBLE_EQ(stations[1].m_startMetres, 100.0);
    const auto nodes = pipeNodes(m_opened.sql());
    ASSERT_EQ(nodes.size(), 1U);
    EXPECT_EQ(fromGbk(nodes[0].GetName()), QStringLiteral("起点"));
    EXPECT_NEAR(nodes[0].GetCoor().x(), 114.0, 0.01);
    EXPECT_DOUBLE_EQ(nodes[0].GetCoor().z(), 50.0);
}

TEST_P(DatabaseTest, ASecondOpenKeepsWhatIsStored) {
    m_opened.sql().execute("update station set name='renamed' where id=1");
    m_opened.database.reset();
    const auto again = m_opened.open();
    EXPECT_EQ(readStations(*again->GetMySQL())[0].m_name, "renamed");
}

TEST_P(DatabaseTest, EveryTypeCodeHasItsTableAndOthersHaveNone) {
    for (const int type : {1, 4, 5, 16, 17}) {
        const std::string table = m_opened.database->Gettablename(type);
        ASSERT_FALSE(table.empty()) << type;
        EXPECT_NO_THROW(m_opened.sql().queryRecord("select * from " + table + " ")) << type;
    }
    for (const int type : {0, 2, 3, 18, -1}) {
        EXPECT_TRUE(m_opened.database->Gettablename(type).empty()) << type;
    }
    EXPECT_TRUE(m_opened.database->GetConncetDBState());
    EXPECT_FALSE(m_opened.database->GetConncetDBState(1));
}

TEST_P(DatabaseTest, ASpecialRegionComesBackExactly) {
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
    const auto id = m_opened.sql().insertRecord(tableName(KV_SPECIAL_AREA), fields);
    const auto areas = readSpecialAreas(m_opened.sql());
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

TEST_P(DatabaseTest, TwoSpecialObjectsOfOneKindCannotShareAName) {
    KV_Record fields;
    Special_Point(toGbk("阀室"), {114.0, 30.7, 50.0}).evalute_record(fields);
    m_opened.sql().insertRecord(tableName(KV_SPECIAL_POINT), fields);
    EXPECT_THROW(m_opened.sql().insertRecord(tableName(KV_SPECIAL_POINT), fields), KV_MySQL_Exception);
}

TEST_P(DatabaseTest, TheFieldsOfAnAnomalyAreTheColumnsOfItsTable) {
    std::set<std::string> fields{"id", "version", "station_id", "comparison_id", kDeletedColumn};
    for (const AnomalyField& field : kAnomalyFields) {
        EXPECT_TRUE(fields.insert(field.name).second) << field.name;
    }
    EXPECT_EQ(fields, columnNames(m_opened.sql(), kAnomalyTable));
}

TEST_P(DatabaseTest, AttributesAreStoredAndDeletedAnomaliesComeBackAsTheyWere) {
    std::vector<SdiffData> anomalies{someAnomaly("S1-0001"), someAnomaly("S1-0002")};
    insertAnomalies(m_opened.sql(), 1, kSamplePair, anomalies);
    ASSERT_NE(anomalies[0].id, 0);
    anomalies[0].attribute = toGbk("塌陷");
    m_opened.storeAttribute(anomalies[0]);
    EXPECT_EQ(readAnomalies(m_opened.sql(), 1, kSamplePair)[0].attribute, toGbk("塌陷"));

    std::vector<SdiffData> gone{anomalies[0]};
    deleteAnomalies(m_opened.sql(), gone);
    EXPECT_EQ(readAnomalies(m_opened.sql(), 1, kSamplePair).size(), 1U);
    insertAnomalies(m_opened.sql(), 1, kSamplePair, gone);
    const auto back = readAnomalies(m_opened.sql(), 1, kSamplePair);
    ASSERT_EQ(back.size(), 2U);
    EXPECT_EQ(back[0].id, anomalies[0].id);
    EXPECT_EQ(back[0].attribute, toGbk("塌陷"));
    EXPECT_EQ(back[0].outlineWkt, anomalies[0].outlineWkt);
    EXPECT_EQ(back[0].x, anomalies[0].x);
    EXPECT_FALSE(back[0].isFill);
}

TEST_P(DatabaseTest, AnAnomalyOfNoStationIsRefused) {
    std::vector<SdiffData> anomalies{someAnomaly("S9-0001")};
    EXPECT_THROW(insertAnomalies(m_opened.sql(), 9, kSamplePair, anomalies), KV_MySQL_Exception);
}

TEST_P(DatabaseTest, ANewerSchemaIsRefusedAndLeftAlone) {
    setStoredVersion(99);
    m_opened.database.reset();
    for (const auto access : {Project::Access::Exclusive, Project::Access::ReadOnly}) {
        const Failure failure = failureOf(PipelineDatabase::open(m_opened.project.description(), access));
        EXPECT_TRUE(failure.message.contains("99")) << failure.message.toStdString();
        EXPECT_TRUE(failure.message.contains(shownDatabase(databaseUrl())));
    }
    KV_MySQL database(databaseUrl().toStdString());
    EXPECT_EQ(storedSchemaVersion(database), 99);
    EXPECT_THROW(migrateSchema(database, kSamplePair), KV_MySQL_Exception);
}

TEST_P(DatabaseTest, AProjectWithoutStationsIsRefusedAndItsTablesStayEmpty) {
    const SmallProject files;
    QFile::remove(files.file("centerline.gpkg"));
    const auto project = openedProject(files.folder(), newProjectDatabase(GetParam()));
    const Failure failure =
        failureOf(PipelineDatabase::open(project.description(), Project::Access::Exclusive));
    EXPECT_TRUE(failure.message.contains("centerline.gpkg"));
    KV_MySQL database(project.description().databaseUrl().toStdString());
    EXPECT_TRUE(readStations(database).empty());
    EXPECT_TRUE(pipeNodes(database).empty());
}

TEST_P(DatabaseTest, ReadingOnlyNeedsTablesAndChangesNothing) {
    const SmallProject files;
    const auto project = openedProject(files.folder(), newProjectDatabase(GetParam()));
    failureOf(PipelineDatabase::open(project.description(), Project::Access::ReadOnly));
    EXPECT_FALSE(QFile::exists(files.file("inspection.db")));

    const auto database = m_opened.open(Project::Access::ReadOnly);
    EXPECT_EQ(readStations(*database->GetMySQL()).size(), 2U);
    EXPECT_THROW(database->GetMySQL()->execute("delete from station"), KV_MySQL_Exception);
    EXPECT_THROW(database->GetMySQL()->execute("create table more (id integer)"), KV_MySQL_Exception);
    EXPECT_EQ(readStations(m_opened.sql()).size(), 2U);
}

TEST_P(DatabaseTest, ConstraintsAreTheSameOnEveryDatabase) {
    KV_Record area;
    Special_Area(toGbk("堆土场"), {114.0, 30.7, 50.0}).evalute_record(area);
    area["outline_wkt"] = std::string("POLYGON Z ((0 0 0,1 0 0,1 1 0,0 0 0))");
    area["opacity"] = 1.5;
    EXPECT_THROW(m_opened.sql().insertRecord("special_area", area), KV_MySQL_Exception);
    area["opacity"] = 1.0;
    area["level"] = std::int64_t{6};
    EXPECT_THROW(m_opened.sql().insertRecord("special_area", area), KV_MySQL_Exception);
    area["level"] = std::int64_t{5};
    area["name"] = std::monostate();
    EXPECT_THROW(m_opened.sql().insertRecord("special_area", area), KV_MySQL_Exception);
    area["name"] = std::string("x");
    area.erase("attribute");
    m_opened.sql().insertRecord("special_area", area);
    EXPECT_EQ(readSpecialAreas(m_opened.sql()).at(0).m_attribute, "");
    EXPECT_THROW(m_opened.sql().execute("update station set x_min=x_max"), KV_MySQL_Exception);

    std::vector<SdiffData> anomalies{someAnomaly("S1-0001")};
    insertAnomalies(m_opened.sql(), 1, kSamplePair, anomalies);
    EXPECT_THROW(m_opened.sql().execute("update anomaly set kind='other'"), KV_MySQL_Exception);
    m_opened.sql().execute("delete from station where id=1");
    EXPECT_TRUE(readAnomalies(m_opened.sql(), 1, kSamplePair).empty());
}

TEST_P(DatabaseTest, NamesAreComparedExactly) {
    KV_Record fields;
    Special_Point(std::string("x"), {114.0, 30.7, 50.0}).evalute_record(fields);
    const std::vector<std::string> different{"a",
                                             "A",
                                             toGbk("á"),
                                             "a ",
                                             " a",
                                             toGbk("ａ"),
                                             toGbk("表情😀"),
                                             toGbk("表情😁"),
                                             std::string("a\0", 2),
                                             ""};
    for (const std::string& name : different) {
        fields["name"] = name;
        m_opened.sql().insertRecord("special_point", fields);
        EXPECT_THROW(m_opened.sql().insertRecord("special_point", fields), KV_MySQL_Exception) << name;
    }
    for (const std::string& name : different) {
        const auto found = m_opened.sql().queryRecord("select name from special_point where name=?", {name});
        ASSERT_EQ(found.size(), 1U) << name;
        EXPECT_EQ(std::get<std::string>(found[0].at("name")), name);
    }
    EXPECT_EQ(readSpecialPoints(m_opened.sql()).size(), different.size());
}

TEST_P(DatabaseTest, AMigrationThatWasCutShortIsCompleted) {
    m_opened.sql().execute("drop table anomaly");
    m_opened.sql().execute("drop table special_point");
    setStoredVersion(0);
    migrateSchema(m_opened.sql(), kSamplePair);
    EXPECT_EQ(storedSchemaVersion(m_opened.sql()), kSchemaVersion);
    EXPECT_TRUE(readSpecialPoints(m_opened.sql()).empty());
    EXPECT_TRUE(readAnomalies(m_opened.sql(), 1, kSamplePair).empty());
    EXPECT_EQ(readStations(m_opened.sql()).size(), 2U);
}

TEST_P(DatabaseTest, AStepMayAddAColumnAndMayBeRepeated) {
    const Column column{"row_count", Column::Sort::Integer, true, "7"};
    const Column text{"remark", Column::Sort::Text, true, "'-'"};
    for (int time = 0; time < 2; ++time) {
        addColumn(m_opened.sql(), "station", column);
        addColumn(m_opened.sql(), "station", text);
    }
    const KV_Record row = m_opened.sql().queryRecord("select * from station").at(1);
    EXPECT_EQ(std::get<std::int64_t>(row.at("row_count")), 7);
    EXPECT_EQ(std::get<std::string>(row.at("remark")), "-");
}

TEST_P(DatabaseTest, JobsComputeWithAConnectionOfTheirOwn) {
    EXPECT_EQ(valueOf(computeAnomalies(m_opened.request())).anomalies, 3);
    EXPECT_EQ(valueOf(computeAnomalies(m_opened.request())).anomalies, 3);
    EXPECT_EQ(readAnomalies(m_opened.sql(), 1, kSamplePair).size() +
                  readAnomalies(m_opened.sql(), 2, kSamplePair).size(),
              3U);
    EXPECT_EQ(QFile::exists(m_opened.files.file("inspection.db")), GetParam() == DatabaseKind::Sqlite);
}

/// The SQL statements that the documents show.
QStringList documentedQueries() {
    QFile file(QStringLiteral(CORRIDOR_TEST_DATA "/../../docs/data-model.md"));
    EXPECT_TRUE(file.open(QIODevice::ReadOnly));
    QStringList lines =
        QString::fromUtf8(file.readAll()).section("```sql", 1, 1).section("```", 0, 0).split('\n');
    lines.erase(
        std::remove_if(lines.begin(), lines.end(), [](const QString& line) { return line.startsWith("--"); }),
        lines.end());
    return lines.join(' ').split(';', Qt::SkipEmptyParts).filter("select");
}

TEST_P(DatabaseTest, TheDocumentedQuestionsAreAnsweredOneForEachTable) {
    const QStringList queries = documentedQueries();
    for (const QString& query : queries) {
        EXPECT_NO_THROW(m_opened.sql().queryRecord(query.toStdString())) << query.toStdString();
    }
    for (const StoredTable& table : storedTables()) {
        EXPECT_FALSE(queries.filter("from " + QString::fromStdString(table.name)).isEmpty()) << table.name;
    }
}

} // namespace
