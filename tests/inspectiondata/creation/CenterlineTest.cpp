#include "../Opened.h"
#include "tests/support/VectorFile.h"

#include "workbench/inspectiondata/creation/Centerline.h"

#include <QFile>
#include <QTemporaryDir>

namespace {

using namespace inspection;

/// Files of a line from (500000, 3400000) by (500300, 3400400) to (500300, 3400900) in EPSG:4547: 1,000 m.
class CenterlineTest : public testing::Test {
protected:
    QString file(const QString& name) const { return m_folder.filePath(name); }

    Centerline lineOf(CenterlineSource source) const { return valueOf(readCenterline(source, m_reference)); }
    Centerline lineOf(const QString& name) const { return lineOf(CenterlineSource{file(name)}); }
    QString refusalOf(CenterlineSource source) const {
        const QString message = failureOf(readCenterline(source, m_reference)).userMessage;
        EXPECT_TRUE(message.contains(source.file) || message.contains(source.posts)) << message.toStdString();
        return message;
    }
    QString refusalOf(const QString& name) const { return refusalOf(CenterlineSource{file(name)}); }

    /// The vertices in longitude and latitude, as these formats hold them.
    QStringList inDegrees() const {
        const auto transformation = transformationBetween(m_reference, wgs84());
        QStringList places;
        for (auto [x, y] : {std::pair(500000.0, 3400000.0), {500300.0, 3400400.0}, {500300.0, 3400900.0}}) {
            EXPECT_TRUE(transformation->Transform(1, &x, &y));
            places << QString::number(x, 'f', 12) + ' ' + QString::number(y, 'f', 12);
        }
        return places;
    }

    void writeLines(const QString& name, const char* driver, const std::vector<QStringList>& rows,
                    int epsg = 4547, const QString& layer = "pipe",
                    OGRwkbGeometryType type = wkbUnknown) const {
        VectorLayer lines;
        lines.name = layer;
        lines.epsg = epsg;
        lines.type = type;
        lines.columns = {"name"};
        lines.rows = rows;
        if (QByteArray(driver) == "ESRI Shapefile") {
            lines.options = {"ENCODING=UTF-8"};
        }
        writeVectorFile(file(name), driver, {lines});
    }

    void expectTheLine(const Centerline& line, double tolerance = 1e-6) const {
        ASSERT_EQ(line.vertices.size(), 3U);
        EXPECT_NEAR(line.vertices[0].x, 500000.0, tolerance);
        EXPECT_NEAR(line.vertices[1].y, 3400400.0, tolerance);
        EXPECT_NEAR(line.vertices[2].chainageMetres, 1000.0, tolerance);
        EXPECT_NEAR(line.lengthMetres(), 1000.0, tolerance);
    }

    const QString m_line = "LINESTRING (500000 3400000,500300 3400400,500300 3400900)";
    QTemporaryDir m_folder;
    OGRSpatialReference m_reference = *referenceOf("EPSG:4547");
};

TEST_F(CenterlineTest, ComesFromEveryUsualFormat) {
    const QStringList places = inDegrees();
    const QString degrees = "LINESTRING (" + places.join(',') + ')';
    writeLines("line.shp", "ESRI Shapefile", {{m_line, "管线"}}, 4547, "line");
    writeLines("line.gpkg", "GPKG", {{m_line, "管线"}});
    writeLines("line.geojson", "GeoJSON", {{degrees, "管线"}}, 4326);
    writeLines("line.kml", "LIBKML", {{degrees, "管线"}}, 4326);
    writeLines("line.kmz", "LIBKML", {{degrees, "管线"}}, 4326);
    writeLines("line.gpx", "GPX", {{degrees, "管线"}}, 4326, "routes", wkbLineString);
    for (const char* name : {"line.shp", "line.gpkg", "line.geojson", "line.kml", "line.kmz", "line.gpx"}) {
        SCOPED_TRACE(name);
        const Centerline line = lineOf(QString(name));
        expectTheLine(line, 1e-3); // GeoJSON keeps seven digits of a degree
        EXPECT_EQ(line.name, QStringLiteral("管线"));
    }
}

TEST_F(CenterlineTest, ADrawingHasNoReferenceSystemAndIsInTheProjects) {
    VectorLayer drawing;
    drawing.name = "entities";
    drawing.rows = {{m_line}};
    writeVectorFile(file("line.dxf"), "DXF", {drawing});
    expectTheLine(lineOf("line.dxf"));
}

TEST_F(CenterlineTest, ASystemIsGivenToWhatNamesNone) {
    const QStringList places = inDegrees();
    writeBytes(file("line.csv"), "wkt,name\n\"LINESTRING (" + places.join(',').toUtf8() + ")\",a\n");
    CenterlineSource source{file("line.csv")};
    expectTheLine(lineOf(source), 1e-3); // they are degrees
    source.crs = "EPSG:4490";
    expectTheLine(lineOf(source), 1e-3);
}

TEST_F(CenterlineTest, PointsInTheirOrderAreALine) {
    writeBytes(file("points.csv"), "桩号,easting,northing,z\n1,500000,3400000,12.5\n2,500300,3400400,11\n"
                                   "3,500300,3400900,10\n");
    const Centerline line = lineOf("points.csv");
    expectTheLine(line);
    EXPECT_TRUE(line.hasHeights);
    EXPECT_DOUBLE_EQ(line.vertices[0].z, 12.5);
    QByteArray degrees = "经度,纬度\n";
    for (const QString& place : inDegrees()) {
        degrees += QString(place).replace(' ', ',').toUtf8() + '\n';
    }
    writeBytes(file("degrees.csv"), degrees);
    expectTheLine(lineOf("degrees.csv"), 1e-3);
    EXPECT_FALSE(lineOf("degrees.csv").hasHeights);
}

TEST_F(CenterlineTest, HeightsOfThePipeAreKept) {
    writeLines("line.gpkg", "GPKG", {{"LINESTRING Z (0 0 10,100 0 11)", "a"}});
    const Centerline line = lineOf("line.gpkg");
    EXPECT_TRUE(line.hasHeights);
    EXPECT_DOUBLE_EQ(line.vertices[1].z, 11.0);
}

TEST_F(CenterlineTest, PartsAreJoinedAlsoThoseOfOneFeature) {
    writeLines("parts.gpkg", "GPKG",
               {{"MULTILINESTRING ((500000 3400000,500300 3400400),(500300 3400900,500300 3400650))", "a"},
                {"LINESTRING (500300 3400400,500300 3400650)", "b"}});
    const Centerline line = lineOf("parts.gpkg");
    EXPECT_NEAR(line.vertices.back().chainageMetres, 1000.0, 1e-9);
    EXPECT_EQ(line.vertices.size(), 4U);
}

TEST_F(CenterlineTest, TheDirectionCanBeTurnedAndTheStartGiven) {
    writeLines("line.gpkg", "GPKG", {{m_line, "a"}});
    CenterlineSource source{file("line.gpkg")};
    source.isTurned = true;
    source.startMetres = 12500.0;
    const Centerline line = lineOf(source);
    EXPECT_DOUBLE_EQ(line.vertices.front().y, 3400900.0);
    EXPECT_DOUBLE_EQ(line.vertices.front().chainageMetres, 12500.0);
    EXPECT_DOUBLE_EQ(line.vertices.back().chainageMetres, 13500.0);
}

TEST_F(CenterlineTest, PostsTellChainageAndDirectionAndBecomeNodes) {
    writeLines("line.gpkg", "GPKG", {{m_line, "a"}});
    writeBytes(file("posts.csv"), "name,km,x,y\n终点,20,500000,3400000\nK21+000,,500302,3400900\n");
    CenterlineSource source{file("line.gpkg")};
    source.posts = file("posts.csv");
    const Centerline line = lineOf(source);
    EXPECT_DOUBLE_EQ(line.vertices.front().chainageMetres, 20000.0);
    EXPECT_DOUBLE_EQ(line.vertices.back().chainageMetres, 21000.0);
    ASSERT_EQ(line.posts.size(), 2U);
    EXPECT_EQ(line.posts[0].name, QStringLiteral("终点"));
    writeBytes(file("posts.csv"), "name,km,x,y\na,20,500000,3400000\n阀室,,500302,3400900\n");
    EXPECT_TRUE(refusalOf(source).contains("阀室"));
    writeBytes(file("posts.csv"), "name,km,x,y\na,20,500000,3400000\nb,21,600000,3400900\n");
    EXPECT_TRUE(refusalOf(source).contains("b"));
}

TEST_F(CenterlineTest, WhatIsNoLineIsNamed) {
    writeLines("gap.gpkg", "GPKG", {{"LINESTRING (0 0,100 0)", "a"}, {"LINESTRING (135.2 0,200 0)", "b"}});
    EXPECT_TRUE(refusalOf("gap.gpkg").contains("35.2"));
    EXPECT_TRUE(refusalOf("gap.gpkg").contains("(100.00, 0.00)"));
    writeLines("branch.gpkg", "GPKG",
               {{"LINESTRING (0 0,100 0)", "a"},
                {"LINESTRING (100 0,200 9)", "b"},
                {"LINESTRING (100 0,200 -9)", "c"}});
    EXPECT_TRUE(refusalOf("branch.gpkg").contains("分岔"));
    writeLines("crossing.gpkg", "GPKG", {{"LINESTRING (0 0,100 0,100 50,50 50,50 -50)", "a"}});
    EXPECT_TRUE(refusalOf("crossing.gpkg").contains("(50.00, 0.00)"));
    writeLines("zero.gpkg", "GPKG", {{"LINESTRING (7 7,7 7)", "a"}});
    EXPECT_TRUE(refusalOf("zero.gpkg").contains("长度为零"));
    writeLines("areas.gpkg", "GPKG", {{"POLYGON ((0 0,1 0,1 1,0 0))", "a"}});
    EXPECT_TRUE(refusalOf("areas.gpkg").contains("没有线"));
    EXPECT_TRUE(refusalOf("missing.gpkg").contains("不存在"));
    writeBytes(file("text.shp"), "no shapes");
    EXPECT_TRUE(refusalOf("text.shp").contains("无法"));
}

TEST_F(CenterlineTest, OfSeveralLayersWithLinesOneMustBeChosen) {
    VectorLayer pipe;
    pipe.name = "管线";
    pipe.epsg = 4547;
    pipe.rows = {{m_line}};
    VectorLayer road = pipe;
    road.name = "道路";
    road.rows = {{"LINESTRING (0 0,1 1)"}};
    writeVectorFile(file("map.gpkg"), "GPKG", {road, pipe});
    EXPECT_TRUE(refusalOf("map.gpkg").contains("道路、管线"));
    CenterlineSource source{file("map.gpkg"), "管线"};
    expectTheLine(lineOf(source));
    source.layer = "河流";
    EXPECT_TRUE(refusalOf(source).contains("河流"));
}

} // namespace
