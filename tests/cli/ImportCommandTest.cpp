// `corridor import` with files that hold what they should, in the formats that users have.

#include "tests/cli/ImportFixture.h"

#include <QDir>
#include <QFile>
#include <QProcess>

namespace {

class ImportCommand : public ImportFixture {};

double outlineNumber(const QString& wkt, qsizetype index) {
    const qsizetype start = wkt.lastIndexOf('(') + 1;
    const QStringList numbers = wkt.mid(start, wkt.indexOf(')') - start).replace(',', ' ').split(' ');
    return index < numbers.size() ? numbers[index].toDouble() : -999.0;
}

TEST_F(ImportCommand, GeoJsonAreasAreStoredWithTheFormsDefaults) {
    const QString path = file("areas.geojson");
    writeBytes(path, R"({"type": "FeatureCollection", "features": [
        {"type": "Feature", "properties": {"name": "堆场", "attribute": "渣土"},
         "geometry": {"type": "Polygon", "coordinates":
             [[[114.123456789012, 30.7], [114.2, 30.7], [114.2, 30.800000000001], [114.123456789012, 30.7]]]}},
        {"type": "Feature", "properties": {"name": "料场"},
         "geometry": {"type": "Polygon", "coordinates": [[[0, 0], [3, 0], [3, 3], [0, 3], [0, 0]]]}}]})");
    const CorridorRun run = importAreas(path);
    expectSuccess(run, "导入 2 个特殊面，拒绝 0 行");
    EXPECT_EQ(run.progress.front(), "导入特殊面 0%");
    EXPECT_EQ(run.progress.back(), "导入特殊面 100%");

    const auto rows = table("special_area");
    ASSERT_EQ(rows.size(), 2U);
    EXPECT_EQ(rows[0]["name"], "堆场");
    EXPECT_EQ(rows[0]["attribute"], "渣土");
    const QString outline = rows[0]["outline_wkt"].toString();
    EXPECT_TRUE(outline.startsWith("POLYGON Z ((114.123456789")) << outline.toStdString();
    EXPECT_EQ(outlineNumber(outline, 0), 114.123456789012) << "every digit is kept";
    EXPECT_EQ(outlineNumber(outline, 7), 30.800000000001);
    EXPECT_EQ(rows[0]["border_width_px"], 3);
    EXPECT_EQ(rows[0]["level"], 1);
    EXPECT_FLOAT_EQ(rows[0]["opacity"].toFloat(), 0.6F);
    for (const char* full : {"fill_red", "fill_green", "border_red", "border_green", "border_blue"}) {
        EXPECT_EQ(rows[0][full].toDouble(), 1.0) << full;
    }
    EXPECT_EQ(rows[0]["fill_blue"].toDouble(), 0.0);
    EXPECT_EQ(rows[1]["attribute"], "");
    EXPECT_DOUBLE_EQ(rows[1]["lon_deg"].toDouble(), 1.5);
    EXPECT_DOUBLE_EQ(rows[1]["lat_deg"].toDouble(), 1.5);
    EXPECT_EQ(rows[1]["height_m"].toDouble(), 0.0);
}

TEST_F(ImportCommand, HighConsequenceAreasHaveTheirOwnLookAndTable) {
    VectorLayer layer =
        areas({{triangleAt(114.0, 30.7), "学校", "3"}, {triangleAt(114.1, 30.7), "村庄", {}}});
    layer.columns << "level";
    expectSuccess(importConsequenceAreas(geoPackage(layer)), "导入 2 个高后果区，拒绝 0 行");
    EXPECT_TRUE(table("special_area").empty());
    const auto rows = table("high_consequence_area");
    ASSERT_EQ(rows.size(), 2U);
    EXPECT_EQ(rows[0]["name"], "学校");
    EXPECT_EQ(rows[0]["level"], 3);
    EXPECT_EQ(rows[1]["level"], 0);
    EXPECT_FLOAT_EQ(rows[0]["opacity"].toFloat(), 0.3F);
    EXPECT_FLOAT_EQ(rows[0]["fill_green"].toFloat(), 0.55F);
    EXPECT_FLOAT_EQ(rows[0]["border_blue"].toFloat(), 0.4F);
}

TEST_F(ImportCommand, ProjectedCoordinatesBecomeLongitudeAndLatitude) {
    const QString path = geoPackage(
        areas({{"POLYGON ((500000 3400000,500100 3400000,500100 3400100,500000 3400000))", "甲"}}, 4547));
    expectSuccess(importAreas(path), "导入 1 个特殊面，拒绝 0 行");
    const QString outline = table("special_area").at(0)["outline_wkt"].toString();
    EXPECT_NEAR(outlineNumber(outline, 0), 114.0, 1e-9) << "the zone's central meridian";
    EXPECT_NEAR(outlineNumber(outline, 1), 30.72, 0.01);
    EXPECT_NEAR(outlineNumber(outline, 3), 114.001045, 1e-6);
}

TEST_F(ImportCommand, AShapefileWithChineseColumnsInUtf8) {
    VectorLayer layer;
    layer.epsg = 4490;
    layer.type = wkbPolygon;
    layer.columns = QStringList{"名称", "属性", "等级", "透明度", "边界线宽度", "填充色", "边界色"};
    layer.rows = {{triangleAt(114.0, 30.7), "东湖小学", "学校", "4", "0.25", "7", "#0a80FF", "255, 0,51"}};
    layer.options = {"ENCODING=UTF-8"};
    const QString path = file("areas.shp");
    writeVectorFile(path, "ESRI Shapefile", {layer});
    ASSERT_TRUE(QFile::exists(file("areas.cpg")));
    expectSuccess(importAreas(path), "导入 1 个特殊面，拒绝 0 行");
    const QVariantMap row = table("special_area").at(0);
    EXPECT_EQ(row["name"], "东湖小学");
    EXPECT_EQ(row["attribute"], "学校");
    EXPECT_EQ(row["level"], 4);
    EXPECT_EQ(row["opacity"].toDouble(), 0.25);
    EXPECT_EQ(row["border_width_px"], 7) << "the column's name is cut to ten bytes";
    EXPECT_FLOAT_EQ(row["fill_red"].toFloat(), 10.0F / 255.0F);
    EXPECT_FLOAT_EQ(row["fill_green"].toFloat(), 128.0F / 255.0F);
    EXPECT_EQ(row["fill_blue"].toDouble(), 1.0);
    EXPECT_EQ(row["border_red"].toDouble(), 1.0);
    EXPECT_EQ(row["border_green"].toDouble(), 0.0);
    EXPECT_FLOAT_EQ(row["border_blue"].toFloat(), 0.2F);
}

TEST_F(ImportCommand, ATextWithoutDeclaredEncodingIsReadAsGbkWhenItIsNotUtf8) {
    // "名称,经度,纬度\n一号桩,114.0,30.7\n" in GBK, as spreadsheets write it
    const QString path = file("points.csv");
    writeBytes(path, "\xc3\xfb\xb3\xc6,\xbe\xad\xb6\xc8,\xce\xb3\xb6\xc8\n"
                     "\xd2\xbb\xba\xc5\xd7\xae,114.0,30.7\n");
    const CorridorRun run = importPoints(path);
    EXPECT_EQ(run.status, 0);
    EXPECT_TRUE(run.errors.join('\n').contains("GBK")) << run.errors.join('\n').toStdString();
    EXPECT_EQ(storedNames("special_point"), QStringList{"一号桩"});
}

TEST_F(ImportCommand, EastingsAndNorthingsOfASheetAreInTheProjectsSystem) {
    const QString path = file("points.csv");
    writeBytes(path, "name,easting,northing\n一号桩,500050,3400040\n");
    const CorridorRun run = importPoints(path);
    EXPECT_EQ(run.status, 0);
    EXPECT_TRUE(run.errors.join('\n').contains("没有坐标系")) << run.errors.join('\n').toStdString();
    EXPECT_EQ(storedNames("special_point"), QStringList{"一号桩"});
}

TEST_F(ImportCommand, ColumnsAreFoundInCapitalsAndAsTheProjectsTablesNameThem) {
    VectorLayer layer = areas({{triangleAt(114.0, 30.7), "甲", "0.25", "0.5", "0.75", "#010203", "9"}});
    layer.columns =
        QStringList{"NAME", "Fill_Red", "FILL_GREEN", "fill_blue", "BORDER_COLOR", "border_width_px"};
    expectSuccess(importAreas(geoPackage(layer)), "导入 1 个特殊面，拒绝 0 行");
    const QVariantMap row = table("special_area").at(0);
    EXPECT_EQ(row["name"], "甲");
    EXPECT_EQ(row["fill_red"].toDouble(), 0.25);
    EXPECT_EQ(row["fill_green"].toDouble(), 0.5);
    EXPECT_EQ(row["fill_blue"].toDouble(), 0.75);
    EXPECT_FLOAT_EQ(row["border_green"].toFloat(), 2.0F / 255.0F);
    EXPECT_EQ(row["border_width_px"], 9);
}

TEST_F(ImportCommand, AllPartsOfAMultipolygonAreStoredUnderNumberedNames) {
    const QString path = geoPackage(
        areas({{"MULTIPOLYGON (((0 0,1 0,1 1,0 0)),((5 5,6 5,6 6,5 5)),((8 8,9 8,9 9,8 8)))", "林场"},
               {"GEOMETRYCOLLECTION (POLYGON ((20 0,21 0,21 1,20 0)),MULTIPOLYGON (((25 5,26 5,26 6,25 5))))",
                "水%2塘"}}));
    expectSuccess(importAreas(path), "导入 5 个特殊面，拒绝 0 行");
    EXPECT_EQ(storedNames("special_area"), (QStringList{"林场", "林场-2", "林场-3", "水%2塘", "水%2塘-2"}));
    EXPECT_EQ(outlineNumber(table("special_area").at(1)["outline_wkt"].toString(), 0), 5.0);
}

TEST_F(ImportCommand, OfAPolygonWithHolesTheOuterRingIsKeptAndSaidSo) {
    const QString path =
        geoPackage(areas({{"POLYGON ((0 0,9 0,9 9,0 9,0 0),(1 1,2 1,2 2,1 1),(5 5,6 5,6 6,5 5))", "院子"}}));
    const CorridorRun run = importAreas(path);
    EXPECT_EQ(run.status, 0);
    ASSERT_EQ(run.errors.size(), 1);
    EXPECT_TRUE(run.errors[0].contains("FID 1：面有 2 个洞，只保留外边界")) << run.errors[0].toStdString();
    EXPECT_EQ(table("special_area").at(0)["outline_wkt"], "POLYGON Z ((0 0 0,9 0 0,9 9 0,0 9 0,0 0 0))");
}

TEST_F(ImportCommand, HeightsArePartOfPointsAndOutlines) {
    VectorLayer points;
    points.epsg = 4547;
    points.type = wkbUnknown;
    points.columns = QStringList{"名称", "属性"};
    points.rows = {{"POINT Z (500000 3400000 51.25)", "阀室", "截断阀"},
                   {"MULTIPOINT Z ((500010 3400000 1),(500020 3400000 2))", "桩", {}},
                   {"POINT (500030.1 3400039.9)", "井", {}},
                   {"POINT (500030 3300000)", "远处", {}}};
    const QString path = file("points.gpkg");
    writeVectorFile(path, "GPKG", {points});
    expectSuccess(importPoints(path), "导入 5 个特殊点，拒绝 0 行");
    const auto rows = table("special_point");
    EXPECT_EQ(storedNames("special_point"), (QStringList{"阀室", "桩", "桩-2", "井", "远处"}));
    EXPECT_EQ(rows[0]["attribute"], "截断阀");
    EXPECT_NEAR(rows[0]["lon_deg"].toDouble(), 114.0, 1e-9);
    EXPECT_EQ(rows[0]["height_m"].toDouble(), 51.25);
    EXPECT_EQ(rows[2]["height_m"].toDouble(), 2.0);
    EXPECT_NEAR(rows[3]["height_m"].toDouble(), SmallProject::newHeight(60, 80), 1e-4) << "on the ground";
    EXPECT_EQ(rows[4]["height_m"].toDouble(), 0.0) << "where nothing was measured";

    expectSuccess(importAreas(geoPackage(areas({{"POLYGON Z ((0 0 10,1 0 20,1 1 40,0 0 10))", "坡"}}))),
                  "导入 1 个特殊面，拒绝 0 行");
    const QVariantMap area = table("special_area").at(0);
    EXPECT_EQ(area["outline_wkt"], "POLYGON Z ((0 0 10,1 0 20,1 1 40,0 0 10))");
    EXPECT_EQ(area["height_m"].toDouble(), 25.0) << "the middle of the heights";
}

TEST_F(ImportCommand, SheetsOfLongitudeAndLatitudeNeedNoReferenceSystem) {
    const QString path = file("points.csv");
    writeBytes(path, "Name,经度,纬度,高程\n一号桩,114.5,30.25,12.5\n\"二号,\"\"桩\"\"\",114.6,30.25,\n");
    expectSuccess(importPoints(path), "导入 2 个特殊点，拒绝 0 行");
    const auto rows = table("special_point");
    EXPECT_EQ(rows[0]["lon_deg"].toDouble(), 114.5);
    EXPECT_EQ(rows[0]["lat_deg"].toDouble(), 30.25);
    EXPECT_EQ(rows[0]["height_m"].toDouble(), 12.5);
    EXPECT_EQ(rows[1]["name"], "二号,\"桩\"");
}

TEST_F(ImportCommand, WithoutReferenceSystemTheProjectsIsTakenAndSaidSo) {
    const QString sheet = file("areas.csv");
    writeBytes(sheet,
               "name;WKT\n甲;POLYGON((500000 3400000,500100 3400000,500100 3400100,500000 3400000))\n");
    VectorLayer undefined =
        areas({{"POLYGON ((500000 3400000,500100 3400000,500100 3400100,500000 3400000))", "乙"}}, 0);
    for (const QString& path : {sheet, geoPackage(undefined)}) {
        const CorridorRun run = importAreas(path);
        EXPECT_EQ(run.status, 0);
        ASSERT_EQ(run.errors.size(), 1) << run.errors.join('\n').toStdString();
        EXPECT_TRUE(run.errors[0].contains("没有坐标系，按项目的 EPSG:4547 处理"))
            << run.errors[0].toStdString();
    }
    for (const QVariantMap& row : table("special_area")) {
        EXPECT_NEAR(outlineNumber(row["outline_wkt"].toString(), 0), 114.0, 1e-9);
    }
    EXPECT_EQ(storedNames("special_area"), (QStringList{"甲", "乙"}));
}

TEST_F(ImportCommand, KmlPlacemarksAreRead) {
    const QString path = file("areas.kml");
    writeBytes(path,
               R"(<?xml version="1.0" encoding="UTF-8"?><kml xmlns="http://www.opengis.net/kml/2.2"><Document>
        <Folder><name>甲层</name><Placemark><name>学校</name><MultiGeometry>
        <Polygon><outerBoundaryIs><LinearRing><coordinates>114,30 114.1,30 114.1,30.1 114,30</coordinates>
        </LinearRing></outerBoundaryIs></Polygon>
        <Polygon><outerBoundaryIs><LinearRing><coordinates>115,30 115.1,30 115.1,30.1 115,30</coordinates>
        </LinearRing></outerBoundaryIs></Polygon></MultiGeometry></Placemark></Folder>
        <Folder><name>乙层</name><Placemark><name>医院</name>
        <Polygon><outerBoundaryIs><LinearRing><coordinates>116,30,5 116.1,30,5 116.1,30.1,5 116,30,5</coordinates>
        </LinearRing></outerBoundaryIs></Polygon></Placemark></Folder></Document></kml>)");
    expectSuccess(importAreas(path), "导入 3 个特殊面，拒绝 0 行");
    EXPECT_EQ(storedNames("special_area"), (QStringList{"学校", "学校-2", "医院"}));
}

TEST_F(ImportCommand, AllFittingLayersAreReadAndOthersNamed) {
    VectorLayer first = areas({{triangleAt(114.0, 30.7), "甲"}});
    first.name = "面层";
    VectorLayer second = areas({{triangleAt(500000.0, 3400000.0), "乙"}}, 4547);
    second.name = "投影面层";
    second.type = wkbMultiPolygon;
    VectorLayer lines = areas({{"LINESTRING (0 0,1 1)", "丙"}});
    lines.name = "线层";
    lines.type = wkbLineString;
    const QString path = file("layers.gpkg");
    writeVectorFile(path, "GPKG", {first, lines, second});
    const CorridorRun run = importAreas(path);
    EXPECT_EQ(run.status, 0);
    ASSERT_EQ(run.errors.size(), 1) << run.errors.join('\n').toStdString();
    EXPECT_TRUE(run.errors[0].contains("图层“线层”没有面，已跳过")) << run.errors[0].toStdString();
    EXPECT_EQ(storedNames("special_area"), (QStringList{"甲", "乙"}));
}

TEST_F(ImportCommand, ArcsBecomeChordsAndRingsGoTheShortWayAcrossTheAntimeridian) {
    const QString path = geoPackage(areas({{"CURVEPOLYGON (CIRCULARSTRING (0 0,1 1,2 0,1 -1,0 0))", "圆"},
                                           {"POLYGON ((179.9 0,-179.9 0,-179.9 0.1,179.9 0))", "岛"},
                                           {"POLYGON ((0 0,2 2,2 0,0 2.0000001,0 0))", "蝴蝶结"}}));
    expectSuccess(importAreas(path), "导入 3 个特殊面，拒绝 0 行");
    const auto rows = table("special_area");
    EXPECT_GT(rows[0]["outline_wkt"].toString().count(','), 30);
    EXPECT_NEAR(rows[0]["lon_deg"].toDouble(), 1.0, 1e-6);
    EXPECT_NEAR(outlineNumber(rows[1]["outline_wkt"].toString(), 3), 180.1, 1e-9);
    EXPECT_NEAR(rows[1]["lon_deg"].toDouble(), 180.0, 0.1);
    EXPECT_NEAR(rows[2]["lon_deg"].toDouble(), 1.0, 1.0) << "the centre of a crossed ring stays within it";
    EXPECT_NEAR(rows[2]["lat_deg"].toDouble(), 1.0, 1.0);
}

TEST_F(ImportCommand, NamesComeBackExactly) {
    const QStringList names{QStringLiteral("O'Brien; drop table special_area; --"),
                            QStringLiteral("\"引号\"，“全角”"), QStringLiteral("工地🏗️𠮷〇"),
                            QStringLiteral("%1 %s \\n"), QStringLiteral("Ä ö ñ Ω 한글 ไทย")};
    std::vector<QStringList> rows;
    for (int i = 0; i < names.size(); ++i) {
        rows.push_back({triangleAt(114.0 + i * 0.1, 30.7), "  " + names[i] + ' '});
    }
    expectSuccess(importAreas(geoPackage(areas(rows))), "导入 5 个特殊面，拒绝 0 行");
    EXPECT_EQ(storedNames("special_area"), names) << "without the blanks around them";
}

TEST_F(ImportCommand, RowsWithoutANameAreNumberedWithFreeNumbers) {
    const QString path = geoPackage(areas({{triangleAt(114.0, 30.7), {}},
                                           {triangleAt(114.1, 30.7), "特殊面-2"},
                                           {triangleAt(114.2, 30.7), " "},
                                           {"MULTIPOLYGON (((0 0,1 0,1 1,0 0)),((5 5,6 5,6 6,5 5)))", ""}}));
    const CorridorRun run = importAreas(path);
    EXPECT_EQ(run.status, 0);
    ASSERT_EQ(run.errors.size(), 1) << run.errors.join('\n').toStdString();
    EXPECT_TRUE(run.errors[0].contains("4 个对象没有名称，从“特殊面-1”起自动命名"))
        << run.errors[0].toStdString();
    const QStringList expected{"特殊面-1", "特殊面-2", "特殊面-3", "特殊面-4", "特殊面-5"};
    EXPECT_EQ(storedNames("special_area"), expected);

    VectorLayer nameless = areas({{triangleAt(114.0, 30.7)}});
    nameless.columns.clear();
    QFile::remove(path);
    EXPECT_EQ(importAreas(geoPackage(nameless)).status, 0);
    EXPECT_EQ(storedNames("special_area"), expected + QStringList{"特殊面-6"});
    EXPECT_EQ(importConsequenceAreas(path).status, 0);
    EXPECT_EQ(storedNames("high_consequence_area"), QStringList{"高后果区-1"});
}

TEST_F(ImportCommand, AFileWithoutRowsIsNoError) {
    const QString path = file("empty.geojson");
    writeBytes(path, R"({"type": "FeatureCollection", "features": []})");
    expectSuccess(importAreas(path), "导入 0 个特殊面，拒绝 0 行");
    expectSuccess(importPoints(path), "导入 0 个特殊点，拒绝 0 行");
    EXPECT_EQ(storedObjects(), 0);
}

TEST_F(ImportCommand, TenThousandAreas) {
    expectSuccess(importAreas(geoPackage(areas(manyRows(10000)))), "导入 10000 个特殊面，拒绝 0 行");
    EXPECT_EQ(table("special_area").size(), 10000U);
    EXPECT_EQ(table("special_area").back()["name"], "面 9999");
}

TEST_F(ImportCommand, WhatAnotherProjectsTableHoldsComesBackAsItWas) {
    VectorLayer layer =
        areas({{"POLYGON Z ((114.1 30.123456789 10.5,114.2 30.7 20,114.2 30.8 30,114.1 30.123456789 10.5))",
                "甲, \"乙\"", "学校", "5", "0.35", "11", "#102030", "1,2,3"}});
    layer.columns << "attribute"
                  << "level"
                  << "opacity"
                  << "border_width"
                  << "fill"
                  << "border";
    expectSuccess(importAreas(geoPackage(layer)), "导入 1 个特殊面，拒绝 0 行");
    const QVariantMap before = table("special_area").at(0);
    const QString sheet = file("special_area.csv");
    QStringList values;
    QStringList columns;
    for (auto field = before.begin(); field != before.end(); ++field) {
        columns << field.key();
        values << '"' + field.value().toString().replace('"', "\"\"") + '"';
    }
    writeBytes(sheet, (columns.join(',') + '\n' + values.join(',') + '\n').toUtf8());

    SmallProject other;
    const CorridorRun run =
        corridor({"import", other.folder(), "--polygons", sheet, "--type", "17", "--strict"});
    expectSuccess(run, "导入 1 个特殊面，拒绝 0 行");
    QFile::remove(database());
    ASSERT_TRUE(QFile::copy(other.file("inspection.db"), database()));
    EXPECT_EQ(table("special_area").at(0), before);
}

TEST_F(ImportCommand, ANewProjectTakesTheAreasOfItsSpecialFileByTheSameRules) {
    VectorLayer layer = areas(
        {{"POLYGON ((500000 3400000,500100 3400000,500100 3400100,500000 3400000))", "学校", "2", "小学"},
         {"LINESTRING (500000 3400000,500100 3400000)", "一条线", "1", ""},
         {triangleAt(500000.0, 3400000.0), "过高", "9", ""},
         {"MULTIPOLYGON (((500000 3400000,500100 3400000,500100 3400100,500000 3400000)),"
          "((500200 3400000,500300 3400000,500300 3400100,500200 3400000)))",
          "村庄",
          {},
          {}}},
        4547);
    layer.name = "high_consequence";
    layer.columns << "level"
                  << "attribute";
    VectorLayer other = areas({{triangleAt(114.0, 30.7), "不是高后果区"}});
    other.name = "other";
    writeVectorFile(m_project.file("special.gpkg"), "GPKG", {layer, other});

    // Any command that opens the project for writing takes them in.
    const CorridorRun first = importPoints(file("missing.csv"));
    EXPECT_EQ(first.status, 1);
    EXPECT_EQ(first.errors.filter("special.gpkg").size(), 2) << first.errors.join('\n').toStdString();
    EXPECT_EQ(storedNames("high_consequence_area"), (QStringList{"学校", "村庄", "村庄-2"}));
    const QVariantMap school = table("high_consequence_area").at(0);
    EXPECT_EQ(school["attribute"], "小学");
    EXPECT_EQ(school["level"], 2);
    EXPECT_FLOAT_EQ(school["opacity"].toFloat(), 0.3F);
    EXPECT_EQ(importPoints(file("missing.csv")).errors.filter("special.gpkg"), QStringList());
}

} // namespace
