#include "Opened.h"

#include "host/Gbk.h"
#include "workbench/inspectiondata/database/SpecialObjectImport.h"
#include "workbench/inspectiondata/output/InspectionData.h"
#include "workbench/inspectiondata/output/Report.h"
#include "workbench/inspectiondata/output/ReportFacts.h"
#include "workbench/inspectiondata/output/ShapeOutput.h"
#include "workbench/inspectiondata/project/Georeference.h"
#include "workbench/inspectiondata/text/AnomalyFields.h"

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QRegularExpression>

#include <ogrsf_frmts.h>

namespace {

using namespace inspection;

class OutputTest : public ::testing::Test {
protected:
    OutputTest() {
        valueOf(computeAnomalies(m_opened.request()));
        m_opened.sql().execute("update anomaly set attribute=? where name='S1-0001'",
                               {toGbk("建构筑物（已拆除）")});
        m_data = valueOf(readInspectionData(m_opened.project.description(), m_opened.sql()));
    }

    QString run(const QString& program, const QStringList& arguments) {
        QProcess process;
        process.start(program, arguments);
        EXPECT_TRUE(process.waitForFinished()) << program.toStdString();
        EXPECT_EQ(process.exitCode(), 0) << process.readAllStandardError().toStdString();
        return QString::fromUtf8(process.readAllStandardOutput());
    }
    QByteArray read(const QString& name) {
        QFile file(name);
        EXPECT_TRUE(file.open(QIODevice::ReadOnly)) << name.toStdString();
        return file.readAll();
    }

    /// One anomaly beside the pipe in two areas, one across it, one 5 m from it.
    void placeAnomalies() {
        const double y = SmallProject::kTop - 40.0;
        ASSERT_EQ(m_data.stations.at(0).anomalies.size(), 1U);
        ASSERT_EQ(m_data.stations.at(1).anomalies.size(), 2U);
        m_data.stations[0].anomalies[0].outlineWkt = boxText(500020.0, y + 12.5);
        m_data.stations[1].anomalies[0].outlineWkt = boxText(500120.0, y - 2.0);
        m_data.stations[1].anomalies[1].outlineWkt = boxText(500160.0, y + 5.0);
        for (const char* name : {"东关村", "李庄"}) {
            Special_Polygon area(toGbk(name), {});
            const auto toGeographic = transformationBetween(*referenceOf(m_data.project.crs), wgs84());
            for (auto [east, north] : {std::pair(500000.0, y), {500050.0, y}, {500025.0, y + 40.0}}) {
                ASSERT_NE(toGeographic->Transform(1, &east, &north), 0);
                area.m_vertices.emplace_back(east, north, 0.0);
            }
            m_data.highConsequenceAreas.push_back(area);
        }
    }
    /// A box of 8 m x 6 m.
    static std::string boxText(double x, double y) {
        return QStringLiteral("POLYGON ((%1 %3,%2 %3,%2 %4,%1 %4,%1 %3))")
            .arg(x, 0, 'f', 3)
            .arg(x + 8.0, 0, 'f', 3)
            .arg(y, 0, 'f', 3)
            .arg(y + 6.0, 0, 'f', 3)
            .toStdString();
    }
    /// The features of layer "anomalies" by name.
    static std::map<std::string, std::unique_ptr<OGRFeature>> anomaliesIn(const QString& file) {
        const GDALDatasetUniquePtr dataset(GDALDataset::Open(file.toUtf8().constData(), GDAL_OF_VECTOR));
        EXPECT_TRUE(dataset != nullptr);
        std::map<std::string, std::unique_ptr<OGRFeature>> features;
        for (const auto& feature : *dataset->GetLayerByName("anomalies")) {
            features[feature->GetFieldAsString("name")].reset(feature->Clone());
        }
        return features;
    }
    static int dist(const OGRFeature& feature) { return feature.GetFieldIndex("dist_m"); }

    OpenedProject m_opened;
    InspectionData m_data;
};

TEST_F(OutputTest, TheReportNamesProjectAnomaliesAndVerdictsInChinese) {
    QImage globe(640, 400, QImage::Format_RGB32);
    globe.fill(Qt::darkGreen);
    const QString file = m_opened.files.beside("report.pdf");
    ASSERT_TRUE(writeReport({m_data, globe}, file).has_value());
    const QString text = run("pdftotext", {"-layout", file, "-"});
    for (const char* expected :
         {"管道巡检报告", "试验管道", "2024-05-18", "2025-05-20", "S1-0001", "S2-0002", "建构筑物（已拆除）",
          "异常汇总表", "三维场景", "一号站", "K0+026", "|dZ| ≥ 0.50 m"}) {
        EXPECT_TRUE(text.contains(QString::fromUtf8(expected))) << expected;
    }
    // Title, summary, method with the scene, station maps, table, sheets; the high-consequence areas have
    // none.
    const QString info = run("pdfinfo", {file});
    EXPECT_TRUE(info.contains(QRegularExpression("Pages:\\s+6\\b"))) << info.toStdString();
    EXPECT_TRUE(QString(text).remove(' ').contains(QStringLiteral("第6页/共6页")));
    EXPECT_TRUE(info.contains("A4"));
}

TEST_F(OutputTest, TheReportTellsHowFarFromThePipeAndInWhichHighConsequenceArea) {
    placeAnomalies();
    for (const char* format : {"html", "pdf"}) {
        const QString file = m_opened.files.beside(QStringLiteral("report.") + format);
        ASSERT_TRUE(writeReport({m_data, {}}, file).has_value());
        const QString written =
            file.endsWith("pdf") ? run("pdftotext", {file, "-"}) : QString::fromUtf8(read(file));
        const QString text = QString(written).remove(QRegularExpression("\\s"));
        EXPECT_TRUE(text.contains("距管道中心线5m以内2处，50m以内3处。涉及高后果区1处。")) << format;
        EXPECT_TRUE(text.contains("距管线m")) << format;
        EXPECT_TRUE(text.contains("12.5")) << format;
        EXPECT_TRUE(text.contains("东关村、李庄")) << format;
    }
}

TEST_F(OutputTest, AReportWithoutLineOrAreasSaysNothingOfThem) {
    m_data.project.centerline = m_opened.files.beside("missing.gpkg");
    const QString file = m_opened.files.beside("report.html");
    ASSERT_TRUE(writeReport({m_data, {}}, file).has_value());
    const QString text = QString::fromUtf8(read(file));
    EXPECT_TRUE(text.contains("检出地表变化异常 3 处"));
    EXPECT_FALSE(text.contains("距管道中心线"));
    EXPECT_FALSE(text.contains("涉及高后果区"));
}

TEST_F(OutputTest, AReportIsAlsoTextOrHtml) {
    const QString html = m_opened.files.beside("report.html");
    ASSERT_TRUE(writeReport({m_data, {}}, html).has_value());
    const QString text = QString::fromUtf8(read(html));
    EXPECT_TRUE(text.contains("S2-0001"));
    EXPECT_EQ(text.count("data:image/jpeg;base64"), 3);
    const QString odt = m_opened.files.beside("report.odt");
    ASSERT_TRUE(writeReport({m_data, {}}, odt).has_value());
    EXPECT_TRUE(read(odt).startsWith("PK"));
}

TEST_F(OutputTest, WhatLooksLikeMarkUpIsWrittenAsItIs) {
    m_opened.sql().execute("update anomaly set attribute=?",
                           {toGbk("<b>甲</b><img src='file:///etc/hostname'>")});
    m_data = valueOf(readInspectionData(m_opened.project.description(), m_opened.sql()));
    m_data.project.name = "<u>线</u>";
    const QString html = m_opened.files.beside("report.html");
    ASSERT_TRUE(writeReport({m_data, {}}, html).has_value());
    const QString text = QString::fromUtf8(read(html));
    EXPECT_TRUE(text.contains("&lt;b&gt;甲&lt;/b&gt;&lt;img src='file:///etc/hostname'&gt;"));
    EXPECT_TRUE(text.contains("&lt;u&gt;线&lt;/u&gt;"));
    EXPECT_FALSE(text.contains("<img src='file"));
    const QString pdf = m_opened.files.beside("report.pdf");
    ASSERT_TRUE(writeReport({m_data, {}}, pdf).has_value());
    EXPECT_TRUE(run("pdftotext", {pdf, "-"}).contains("<b>甲</b>"));
}

TEST_F(OutputTest, AReportOfNothingFoundSaysSo) {
    m_opened.sql().execute("delete from anomaly");
    m_data = valueOf(readInspectionData(m_opened.project.description(), m_opened.sql()));
    const QString file = m_opened.files.beside("report.pdf");
    ASSERT_TRUE(writeReport({m_data, {}}, file).has_value());
    EXPECT_TRUE(run("pdftotext", {file, "-"}).contains(QStringLiteral("未检出超过阈值的地表变化")));
}

TEST_F(OutputTest, AReportThatIsStoppedOrRefusedLeavesTheEarlierOne) {
    const QString file = m_opened.files.beside("report.pdf");
    QFile earlier(file);
    ASSERT_TRUE(earlier.open(QIODevice::WriteOnly));
    earlier.write("earlier");
    earlier.close();
    for (const double limit : {0.1, 0.6}) {
        const auto status = writeReport({m_data, {}}, file, [limit](double done) { return done < limit; });
        ASSERT_FALSE(status.has_value());
        EXPECT_TRUE(status.error().cancelled);
        EXPECT_EQ(read(file), "earlier");
    }
    EXPECT_FALSE(writeReport({m_data, {}}, m_opened.files.beside("report.doc")).has_value());
    EXPECT_FALSE(writeReport({m_data, {}}, m_opened.files.beside("missing/report.pdf")).has_value());
    const QFileInfo place(file);
    EXPECT_EQ(place.dir().entryList(QDir::Files | QDir::Hidden), QStringList{"report.pdf"});
}

TEST_F(OutputTest, ShapesOpenWithTheirReferenceSystemAndUtf8Texts) {
    const QString folder = m_opened.files.beside("shape");
    ASSERT_TRUE(writeShapes(m_data, folder).has_value());
    for (const char* layer : {"anomalies", "stations", "centerline", "special_points", "special_areas",
                              "high_consequence_areas", "nodes"}) {
        for (const char* ending : {"shp", "shx", "dbf", "prj", "cpg"}) {
            EXPECT_TRUE(QFile::exists(folder + '/' + layer + '.' + ending)) << layer << ending;
        }
        EXPECT_EQ(read(folder + '/' + layer + ".cpg").trimmed(), "UTF-8");
    }
    EXPECT_EQ(QDir(folder).entryList(QDir::Hidden | QDir::Dirs | QDir::NoDotAndDotDot), QStringList());
    for (const QString& name : {folder + "/anomalies.shp", folder + "/corridor.gpkg"}) {
        const GDALDatasetUniquePtr dataset(GDALDataset::Open(name.toUtf8().constData(), GDAL_OF_VECTOR));
        ASSERT_TRUE(dataset != nullptr);
        OGRLayer* layer = dataset->GetLayerByName("anomalies");
        ASSERT_TRUE(layer != nullptr);
        ASSERT_EQ(layer->GetFeatureCount(), 3);
        ASSERT_TRUE(layer->GetSpatialRef() != nullptr);
        EXPECT_NE(layer->GetSpatialRef()->IsProjected(), 0);
        layer->SetAttributeFilter("name = 'S1-0001'");
        const std::unique_ptr<OGRFeature> feature(layer->GetNextFeature());
        ASSERT_TRUE(feature != nullptr);
        EXPECT_STREQ(feature->GetFieldAsString("attribute"), "建构筑物（已拆除）");
        EXPECT_STREQ(feature->GetFieldAsString("kind"), "fill");
        const KnownChange& change = SmallProject::changes()[0];
        EXPECT_NEAR(feature->GetFieldAsDouble("volume_m3"), change.volumeCubicMetres(),
                    change.volumeCubicMetres() * 0.05);
        EXPECT_NEAR(feature->GetGeometryRef()->toPolygon()->get_Area(), feature->GetFieldAsDouble("area_m2"),
                    1.0);
        EXPECT_NE(feature->GetGeometryRef()->IsValid(), 0);
    }
}

TEST_F(OutputTest, ShapesHaveEveryFigureOfAnAnomalyInTheOrderThatOthersRely) {
    const QString folder = m_opened.files.beside("shape");
    ASSERT_TRUE(writeShapes(m_data, folder).has_value());
    for (const QString& name : {folder + "/anomalies.shp", folder + "/corridor.gpkg"}) {
        const GDALDatasetUniquePtr dataset(GDALDataset::Open(name.toUtf8().constData(), GDAL_OF_VECTOR));
        OGRFeatureDefn* layer = dataset->GetLayerByName("anomalies")->GetLayerDefn();
        QStringList written;
        for (int field = 0; field < layer->GetFieldCount(); ++field) {
            written << layer->GetFieldDefn(field)->GetNameRef();
        }
        EXPECT_EQ(written, QStringList({"name",      "station",   "kind",      "area_m2",   "volume_m3",
                                        "fill_m3",   "cut_m3",    "dz_mean_m", "dz_max_m",  "dz_min_m",
                                        "suggested", "attribute", "lon",       "lat",       "chain_m",
                                        "offset_m",  "dist_m",    "hca",       "old_epoch", "new_epoch",
                                        "vol_sd_m3", "sigma_m",   "lod_m",     "signif",    "sugg_conf"}));
        for (const AnomalyField& field : kAnomalyFields) {
            using Sort = AnomalyField::Sort;
            const bool isTold = field.sort != Sort::Position && field.sort != Sort::Outline;
            const QString told = field.sort == Sort::Place ? QString(field.name).remove("_deg") : field.name;
            EXPECT_EQ(written.contains(told), isTold) << field.name;
        }
    }
}

TEST_F(OutputTest, SpecialObjectsInTheShapesCanBeImportedWithTheirLook) {
    Special_Polygon area(toGbk("堆场"), {114.0, 30.0, 0.0});
    area.m_attribute = toGbk("渣土");
    area.m_vertices = {{114.0, 30.0, 0.0}, {114.001, 30.0, 0.0}, {114.001, 30.001, 0.0}};
    area.m_fillColor = {0.2F, 0.4F, 0.6F};
    area.m_borderColor = {1.0F, 0.0F, 0.2F};
    area.m_borderWidth = 7;
    area.m_opacity = 0.35F;
    area.m_level = 2;
    m_data.specialAreas.emplace_back(area);
    area.SetName(toGbk("东关村"));
    m_data.highConsequenceAreas.push_back(area);
    m_data.specialPoints.emplace_back(toGbk("一号阀室"), osg::Vec3d(114.0005, 30.0005, 12.5));
    const QString folder = m_opened.files.beside("shape");
    ASSERT_TRUE(writeShapes(m_data, folder).has_value());

    const struct {
        const char* layer;
        KV_ObjectType type;
    } kinds[] = {{"special_points", KV_SPECIAL_POINT},
                 {"special_areas", KV_SPECIAL_AREA},
                 {"high_consequence_areas", KV_HIGH_CONSEQUENCE_AREA}};
    for (const auto& kind : kinds) {
        const auto imported = valueOf(importSpecialObjects(
            m_opened.project.description(), {folder + '/' + kind.layer + ".shp", kind.type, {}, {}}, true,
            m_opened.sql(), {}));
        EXPECT_EQ(imported.stored, 1) << kind.layer;
        EXPECT_TRUE(imported.refusals.isEmpty()) << imported.refusals.join('\n').toStdString();
    }
    const InspectionData again = valueOf(readInspectionData(m_opened.project.description(), m_opened.sql()));
    ASSERT_EQ(again.specialPoints.size(), 1U);
    EXPECT_EQ(again.specialPoints[0].GetName(), toGbk("一号阀室"));
    EXPECT_NEAR(again.specialPoints[0].GetCoor().x(), 114.0005, 1e-7);
    ASSERT_EQ(again.specialAreas.size(), 1U);
    ASSERT_EQ(again.highConsequenceAreas.size(), 1U);
    const Special_Area& taken = again.specialAreas[0];
    EXPECT_EQ(taken.m_attribute, toGbk("渣土"));
    ASSERT_EQ(taken.m_vertices.size(), 3U);
    EXPECT_NEAR(taken.m_fillColor.y(), 0.4F, 1e-3F);
    EXPECT_NEAR(taken.m_borderColor.z(), 0.2F, 1e-3F);
    EXPECT_EQ(taken.m_borderWidth, 7);
    EXPECT_FLOAT_EQ(taken.m_opacity, 0.35F);
    EXPECT_EQ(taken.m_level, 2);
}

TEST_F(OutputTest, AnEarlierExportsObjectsGoWhenThereAreNoneAnyMore) {
    m_data.specialPoints.emplace_back(toGbk("一号阀室"), osg::Vec3d(114.0005, 30.0005, 12.5));
    const QString folder = m_opened.files.beside("shape");
    ASSERT_TRUE(writeShapes(m_data, folder).has_value());
    m_data.specialPoints.clear();
    ASSERT_TRUE(writeShapes(m_data, folder).has_value());
    const GDALDatasetUniquePtr dataset(
        GDALDataset::Open((folder + "/special_points.shp").toUtf8().constData(), GDAL_OF_VECTOR));
    ASSERT_TRUE(dataset != nullptr);
    EXPECT_EQ(dataset->GetLayer(0)->GetFeatureCount(), 0);
}

TEST_F(OutputTest, ATableOfTheReportHasATextForEachColumn) {
    const ReportFacts facts = reportFacts(m_data, Pipeline::read(m_data.project));
    ASSERT_EQ(facts.anomalies.size(), 3U);
    QStringList titles;
    for (const ReportColumn& column : ReportFacts::columns()) {
        titles << column.title;
    }
    EXPECT_EQ(titles, QStringList({"编号", "里程", "距管线 m", "经度 °", "纬度 °", "填/挖", "面积 m²",
                                   "体积 m³", "平均dZ m", "极值dZ m", "建议类别", "核查结论", "高后果区"}));
    const AnomalyFacts& first = facts.anomalies.front();
    ASSERT_EQ(first.row.size(), titles.size());
    EXPECT_EQ(first.row[ReportFacts::Area], QString::number(first.anomaly->areaSquareMetres, 'f', 1));
    EXPECT_EQ(first.row[ReportFacts::Latitude], QString::number(first.anomaly->latDegrees, 'f', 6));
    EXPECT_EQ(first.row[ReportFacts::Suggested], fromGbk(first.anomaly->suggested));
    EXPECT_TRUE(first.row[ReportFacts::HighConsequenceAreas].isEmpty());
}

TEST_F(OutputTest, ShapesTellHowFarFromThePipeAndInWhichHighConsequenceArea) {
    placeAnomalies();
    const QString folder = m_opened.files.beside("shape");
    ASSERT_TRUE(writeShapes(m_data, folder).has_value());
    for (const QString& name : {folder + "/anomalies.shp", folder + "/corridor.gpkg"}) {
        const auto features = anomaliesIn(name);
        ASSERT_EQ(features.size(), 3U);
        EXPECT_NEAR(features.at("S1-0001")->GetFieldAsDouble("dist_m"), 12.5, 1e-6);
        EXPECT_EQ(features.at("S2-0001")->GetFieldAsDouble("dist_m"), 0.0);
        EXPECT_NE(features.at("S2-0001")->IsFieldSetAndNotNull(dist(*features.at("S2-0001"))), 0);
        EXPECT_STREQ(features.at("S1-0001")->GetFieldAsString("hca"), "东关村、李庄");
        EXPECT_STREQ(features.at("S2-0001")->GetFieldAsString("hca"), "");
    }
}

TEST_F(OutputTest, ShapesLeaveOpenWhatTheProjectDoesNotKnow) {
    m_data.project.centerline = m_opened.files.beside("missing.gpkg");
    const QString folder = m_opened.files.beside("shape");
    ASSERT_TRUE(writeShapes(m_data, folder).has_value());
    for (const QString& name : {folder + "/anomalies.shp", folder + "/corridor.gpkg"}) {
        for (const auto& [anomaly, feature] : anomaliesIn(name)) {
            ASSERT_GE(dist(*feature), 0);
            EXPECT_EQ(feature->IsFieldSetAndNotNull(dist(*feature)), 0) << anomaly;
            EXPECT_EQ(feature->IsFieldSetAndNotNull(feature->GetFieldIndex("hca")), 0) << anomaly;
        }
    }
}

TEST_F(OutputTest, ShapesReplaceEarlierOnesOnlyWhenComplete) {
    const QString folder = m_opened.files.beside("shape");
    ASSERT_TRUE(writeShapes(m_data, folder).has_value());
    const QByteArray before = read(folder + "/anomalies.dbf");
    m_data.stations[0].anomalies.clear();
    const auto status = writeShapes(m_data, folder, [](double done) { return done < 0.8; });
    ASSERT_FALSE(status.has_value());
    EXPECT_TRUE(status.error().cancelled);
    EXPECT_EQ(read(folder + "/anomalies.dbf"), before);
    ASSERT_TRUE(writeShapes(m_data, folder).has_value());
    EXPECT_NE(read(folder + "/anomalies.dbf"), before);
    EXPECT_TRUE(QDir(folder).entryList({".*"}, QDir::Hidden | QDir::Dirs | QDir::NoDotAndDotDot).isEmpty());
}

} // namespace
