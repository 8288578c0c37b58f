#include "Opened.h"

#include "host/Gbk.h"
#include "workbench/inspection/output/InspectionData.h"
#include "workbench/inspection/output/Report.h"
#include "workbench/inspection/output/ShapeOutput.h"

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
        valueOf(computeAnomalies(opened.request()));
        opened.sql().execute("update anomaly set attribute=? where name='S1-0001'",
                             {toGbk("建构筑物（已拆除）")});
        data = valueOf(readInspectionData(opened.project.description(), opened.sql()));
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

    OpenedProject opened;
    InspectionData data;
};

TEST_F(OutputTest, TheReportNamesProjectAnomaliesAndVerdictsInChinese) {
    QImage globe(640, 400, QImage::Format_RGB32);
    globe.fill(Qt::darkGreen);
    const QString file = opened.files.beside("report.pdf");
    ASSERT_FALSE(writeReport({data, globe}, file).has_value());
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

TEST_F(OutputTest, AReportIsAlsoTextOrHtml) {
    const QString html = opened.files.beside("report.html");
    ASSERT_FALSE(writeReport({data, {}}, html).has_value());
    const QString text = QString::fromUtf8(read(html));
    EXPECT_TRUE(text.contains("S2-0001"));
    EXPECT_EQ(text.count("data:image/jpeg;base64"), 3);
    const QString odt = opened.files.beside("report.odt");
    ASSERT_FALSE(writeReport({data, {}}, odt).has_value());
    EXPECT_TRUE(read(odt).startsWith("PK"));
}

TEST_F(OutputTest, AReportOfNothingFoundSaysSo) {
    opened.sql().execute("delete from anomaly");
    data = valueOf(readInspectionData(opened.project.description(), opened.sql()));
    const QString file = opened.files.beside("report.pdf");
    ASSERT_FALSE(writeReport({data, {}}, file).has_value());
    EXPECT_TRUE(run("pdftotext", {file, "-"}).contains(QStringLiteral("未检出超过阈值的地表变化")));
}

TEST_F(OutputTest, AReportThatIsStoppedOrRefusedLeavesTheEarlierOne) {
    const QString file = opened.files.beside("report.pdf");
    QFile earlier(file);
    ASSERT_TRUE(earlier.open(QIODevice::WriteOnly));
    earlier.write("earlier");
    earlier.close();
    for (const double limit : {0.1, 0.6}) {
        const auto status = writeReport({data, {}}, file, [limit](double done) { return done < limit; });
        ASSERT_TRUE(status.has_value());
        EXPECT_TRUE(status->cancelled);
        EXPECT_EQ(read(file), "earlier");
    }
    EXPECT_TRUE(writeReport({data, {}}, opened.files.beside("report.doc")).has_value());
    EXPECT_TRUE(writeReport({data, {}}, opened.files.beside("missing/report.pdf")).has_value());
    const QFileInfo place(file);
    EXPECT_EQ(place.dir().entryList(QDir::Files | QDir::Hidden), QStringList{"report.pdf"});
}

TEST_F(OutputTest, ShapesOpenWithTheirReferenceSystemAndUtf8Texts) {
    const QString folder = opened.files.beside("shape");
    ASSERT_FALSE(writeShapes(data, folder).has_value());
    for (const char* layer : {"anomalies", "stations", "centerline"}) {
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

TEST_F(OutputTest, ShapesReplaceEarlierOnesOnlyWhenComplete) {
    const QString folder = opened.files.beside("shape");
    ASSERT_FALSE(writeShapes(data, folder).has_value());
    const QByteArray before = read(folder + "/anomalies.dbf");
    data.stations[0].anomalies.clear();
    const auto status = writeShapes(data, folder, [](double done) { return done < 0.8; });
    ASSERT_TRUE(status.has_value());
    EXPECT_TRUE(status->cancelled);
    EXPECT_EQ(read(folder + "/anomalies.dbf"), before);
    ASSERT_FALSE(writeShapes(data, folder).has_value());
    EXPECT_NE(read(folder + "/anomalies.dbf"), before);
    EXPECT_TRUE(QDir(folder).entryList({".*"}, QDir::Hidden | QDir::Dirs | QDir::NoDotAndDotDot).isEmpty());
}

} // namespace
