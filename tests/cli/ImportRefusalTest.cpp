// `corridor import` with rows, files and projects that it must refuse.

#include "tests/cli/ImportFixture.h"

#include <QFile>
#include <QFileInfo>
#include <QLockFile>
#include <QtEndian>

namespace {

class ImportRefusal : public ImportFixture {
protected:
    struct Refused {
        QStringList row; ///< geometry, name, further columns
        QString cause;
    };
    /// Imports areas of which every one is refused, each for its cause.
    void expectAllRefused(const QStringList& columns, const std::vector<Refused>& all) {
        VectorLayer layer = areas({});
        layer.columns << columns;
        QStringList lines;
        for (const Refused& refused : all) {
            layer.rows.push_back(refused.row);
            lines << QStringLiteral("areas.gpkg：图层“layer”，FID %1：").arg(lines.size() + 1) +
                         refused.cause;
        }
        expectRefusals(importAreas(geoPackage(layer)),
                       QStringLiteral("导入 0 个特殊面，拒绝 %1 行").arg(lines.size()), lines);
        EXPECT_EQ(storedObjects(), 0);
    }
};

TEST_F(ImportRefusal, EachCauseOfAGeometry) {
    const QString tooFew = "边界不足三个不同的顶点";
    expectAllRefused(
        {}, {{{"", "没有"}, "没有几何"},
             {{"POLYGON EMPTY", "空"}, "几何为空"},
             {{"MULTIPOLYGON (EMPTY,((0 0,1 0,1 1,0 0)))", "空部分"}, "几何为空"},
             {{"POINT (1 2)", "点"}, "几何类型为 Point，应为面"},
             {{"LINESTRING (0 0,1 0,1 1,0 0)", "线"}, "几何类型为 Line String，应为面"},
             {{"GEOMETRYCOLLECTION (POLYGON ((0 0,1 0,1 1,0 0)),POINT (1 1))", "混合"},
              "几何类型为 Point，应为面"},
             {{"POLYGON ((1 1))", "一点"}, tooFew},
             {{"POLYGON ((0 0,1 1,0 0,1 1,0 0))", "两点"}, tooFew},
             {{"MULTIPOLYGON (((0 0,1 0,1 1,0 0)),((2 2,3 3,2 2)))", "第二部分"}, tooFew},
             {{"POLYGON ((200 0,201 0,201 1,200 0))", "远"}, "经纬度 (200, 0) 超出范围"},
             {{"POLYGON ((30.7 114,30.8 114,30.8 115,30.7 114))", "颠倒"}, "经纬度 (30.7, 114) 超出范围"},
             {{"POLYGON ((0 0,1e400 0,1 1,0 0))", "无穷"}, "坐标不是有限的数"},
             {{"POLYGON Z ((0 0 1,1 0 1e400,1 1 1,0 0 1))", "无穷高"}, "坐标不是有限的数"}});
}

TEST_F(ImportRefusal, CoordinatesThatCannotBeTransformed) {
    const QString path =
        geoPackage(areas({{"POLYGON ((1e30 1e30,2e30 1e30,2e30 2e30,1e30 1e30))", "甲"}}, 4547));
    expectRefusals(importAreas(path), "导入 0 个特殊面，拒绝 1 行", {"FID 1：坐标无法转换为经纬度"});
}

TEST_F(ImportRefusal, PointsThatAreNone) {
    const QString path = geoPackage(areas({{triangleAt(114.0, 30.7), "甲"},
                                           {"POINT EMPTY", "乙"},
                                           {"POINT (114 91)", "丙"},
                                           {"", "丁"},
                                           {"POINT (114 30)", "戊"}}));
    expectRefusals(importPoints(path), "导入 1 个特殊点，拒绝 4 行",
                   {"FID 1：几何类型为 Polygon，应为点", "FID 2：几何为空",
                    "FID 3：经纬度 (114, 91) 超出范围", "FID 4：没有几何"});
    EXPECT_EQ(storedNames("special_point"), QStringList{"戊"});
}

TEST_F(ImportRefusal, EachValueOutOfItsRange) {
    const QStringList columns{"level", "透明度", "border_width", "填充色", "border_color", "fill_green"};
    const std::vector<std::pair<QStringList, QString>> values{
        {{"6", "-1", "2.5", "高", "nan"}, "等级“%1”应为 0 到 5 的整数"},
        {{"1.01", "-0.1", "60%", "inf"}, "透明度“%1”应为 0 到 1 的数"},
        {{"100", "-3", "1.5", "3px"}, "边界线宽度“%1”应为 0 到 99 的整数"},
        {{"red", "#12345", "#12345g", "256,0,0", "1,2", "1,2,3,4", "-1,2,3"},
         "填充色“%1”应为 #rrggbb 或 r,g,b"},
        {{"#1234567", "1.0,0,0"}, "边界色“%1”应为 #rrggbb 或 r,g,b"},
        {{"1.5", "x"}, "fill_green“%1”应为 0 到 1 的数"}};
    std::vector<Refused> all;
    for (std::size_t column = 0; column < values.size(); ++column) {
        for (const QString& value : values[column].first) {
            QStringList row{triangleAt(114.0, 30.7), QStringLiteral("面 %1").arg(all.size())};
            row += QStringList(columns.size());
            row[2 + static_cast<qsizetype>(column)] = value;
            all.push_back({row, values[column].second.arg(value)});
        }
    }
    expectAllRefused(columns, all);
}

TEST_F(ImportRefusal, ANameThatIsTakenInTheFileOrByAnyObjectOfTheProject) {
    EXPECT_EQ(importPoints(geoPackage(areas({{"POINT (114 30)", "阀室"}}))).status, 0);
    QFile::remove(file("areas.gpkg"));
    EXPECT_EQ(importConsequenceAreas(geoPackage(areas({{triangleAt(114.0, 30.7), "学校"}}))).status, 0);
    QFile::remove(file("areas.gpkg"));
    const QString path =
        geoPackage(areas({{triangleAt(114.0, 30.7), "阀室"},
                          {triangleAt(114.1, 30.7), "学校"},
                          {triangleAt(114.2, 30.7), "林场"},
                          {triangleAt(114.3, 30.7), "林场"},
                          {triangleAt(114.4, 30.7), "水塘-2"},
                          {"MULTIPOLYGON (((0 0,1 0,1 1,0 0)),((5 5,6 5,6 6,5 5)))", "水塘"}}));
    expectRefusals(importAreas(path), "导入 2 个特殊面，拒绝 4 行",
                   {"FID 1：名称“阀室”已存在", "FID 2：名称“学校”已存在", "FID 4：名称“林场”在文件中重复",
                    "FID 6：名称“水塘-2”在文件中重复"});
    EXPECT_EQ(storedNames("special_area"), (QStringList{"林场", "水塘-2"}));
    expectRefusals(importAreas(path, {"--strict"}), "导入 0 个特殊面，拒绝 6 行",
                   {"阀室", "学校", "林场", "林场", "水塘-2", "水塘-2", "--strict"});
}

TEST_F(ImportRefusal, ARefusedRowTakesNoName) {
    const QString path = geoPackage(areas({{"POLYGON EMPTY", "甲"}, {triangleAt(114.0, 30.7), "甲"}}));
    expectRefusals(importAreas(path), "导入 1 个特殊面，拒绝 1 行", {"FID 1：几何为空"});
    EXPECT_EQ(storedNames("special_area"), QStringList{"甲"});
}

TEST_F(ImportRefusal, StrictStoresNothingWhenARowIsRefused) {
    const QString path = geoPackage(areas({{triangleAt(114.0, 30.7), "甲"}, {"POINT (1 1)", "乙"}}));
    expectRefusals(importAreas(path, {"--strict"}), "导入 0 个特殊面，拒绝 1 行",
                   {"FID 2", "--strict 未导入"});
    EXPECT_EQ(storedObjects(), 0);
    expectRefusals(importAreas(path), "导入 1 个特殊面，拒绝 1 行", {"FID 2"});
    EXPECT_EQ(storedNames("special_area"), QStringList{"甲"});
}

TEST_F(ImportRefusal, FilesThatCannotBeRead) {
    expectFailure(importAreas(file("missing.gpkg")), 1, "missing.gpkg：文件不存在");
    writeBytes(file("zero.geojson"), "");
    expectFailure(importAreas(file("zero.geojson")), 1, "zero.geojson：无法作为矢量文件读取");
    writeBytes(file("text.gpkg"), "no database at all\n");
    expectFailure(importAreas(file("text.gpkg")), 1, "text.gpkg：无法作为矢量文件读取");
    writeBytes(file("cut.geojson"), R"({"type": "FeatureCollection", "features": [{"type": "Fea)");
    expectFailure(importAreas(file("cut.geojson")), 1, "cut.geojson：无法作为矢量文件读取");
    expectFailure(importAreas(m_project.file("old/dsm.tif")), 1, "dsm.tif：无法作为矢量文件读取");
    writeBytes(file("table.csv"), "name,remark\n甲,乙\n");
    expectFailure(importAreas(file("table.csv")), 1, "table.csv：没有面图层");
    EXPECT_EQ(storedObjects(), 0);
}

TEST_F(ImportRefusal, ABrokenFileStoresNothing) {
    const QString path = geoPackage(areas(manyRows(2000)));
    QFile broken(path);
    ASSERT_TRUE(broken.open(QIODevice::ReadWrite));
    const qint64 third = broken.size() / 3;
    ASSERT_TRUE(broken.seek(third));
    ASSERT_EQ(broken.write(QByteArray(third, '\xff')), third);
    broken.close();
    expectFailure(importAreas(path), 1, "areas.gpkg：文件无法完整读取");
    EXPECT_EQ(storedObjects(), 0);
}

/// Where the rows of a FlatGeobuf file without index end when all but the first `rows` are gone: eight bytes
/// that tell the format, then the header and the rows, each behind its size.
qint64 endOfRows(const QString& path, int rows) {
    QFile file(path);
    EXPECT_TRUE(file.open(QIODevice::ReadOnly));
    qint64 end = 8;
    for (int block = 0; block <= rows; ++block) {
        EXPECT_TRUE(file.seek(end));
        const QByteArray size = file.read(4);
        end += 4 + qFromLittleEndian<quint32>(size.constData());
    }
    return end;
}

TEST_F(ImportRefusal, AFileThatWasCutOffBetweenTwoRowsStoresNothing) {
    const QString path = file("areas.fgb");
    VectorLayer layer = areas(manyRows(30));
    layer.type = wkbPolygon;
    layer.options = {"SPATIAL_INDEX=NO"};
    writeVectorFile(path, "FlatGeobuf", {layer});
    ASSERT_TRUE(QFile::resize(path, endOfRows(path, 20)));
    expectFailure(importAreas(path), 1, "areas.fgb：文件不完整，30 行中只能读到 20 行");
    EXPECT_EQ(storedObjects(), 0);
}

TEST_F(ImportRefusal, AProjectThatIsOpenElsewhere) {
    const QString path = geoPackage(areas({{triangleAt(114.0, 30.7), "甲"}}));
    QLockFile lock(m_project.file(".corridor.lock"));
    ASSERT_TRUE(lock.tryLock());
    expectFailure(importAreas(path), 1, "项目已被另一个程序打开");
    lock.unlock();
    expectSuccess(importAreas(path), "导入 1 个特殊面，拒绝 0 行");
}

class ImportOfMany : public ImportFixture {
protected:
    ImportOfMany() {
        writeBytes(file("first.geojson"), R"({"type": "Feature", "properties": {"name": "先有的"},
            "geometry": {"type": "Polygon", "coordinates": [[[0, 0], [3, 0], [3, 3], [0, 0]]]}})");
        expectSuccess(importAreas(file("first.geojson")), "导入 1 个特殊面，拒绝 0 行");
    }
    void expectUntouched() const { EXPECT_EQ(storedNames("special_area"), QStringList{"先有的"}); }
};

TEST_F(ImportOfMany, AFullDiskStoresNothing) {
    const QString many = geoPackage(areas(manyRows(8000)));
    const rlim_t databaseBytes = static_cast<rlim_t>(QFileInfo(database()).size());
    for (const rlim_t bytes : {rlim_t{4096}, databaseBytes, databaseBytes + 1000000}) {
        SCOPED_TRACE(bytes);
        const CorridorRun run =
            corridor({"import", folder(), "--polygons", many, "--type", "17"}, withSmallDisk(bytes));
        expectFailure(run, 1, "inspection.db");
        EXPECT_EQ(run.output, "");
        expectUntouched();
    }
    expectSuccess(importAreas(many), "导入 8000 个特殊面，拒绝 0 行");
}

TEST_F(ImportOfMany, AStopWhileReadingOrStoringStoresNothing) {
    const QString many = geoPackage(areas(manyRows(20000)));
    for (const char* message : {"导入特殊面 0%", "导入特殊面 60%"}) {
        SCOPED_TRACE(message);
        const CorridorRun run =
            interruptedCorridor({"import", folder(), "--polygons", many, "--type", "17"}, message);
        expectFailure(run, 1, "已取消");
        EXPECT_EQ(run.output, "");
        expectUntouched();
        EXPECT_FALSE(QFile::exists(m_project.file(".corridor.lock")));
    }
}

TEST_F(ImportRefusal, WrongUseIsStatusTwoAndOneLine) {
    const QString path = geoPackage(areas({{triangleAt(114.0, 30.7), "甲"}}));
    const std::vector<std::pair<QStringList, QString>> cases{
        {{}, "项目文件夹"},
        {{folder()}, "--polygons 或 --points"},
        {{folder(), "--polygons", path}, "--type"},
        {{folder(), "--polygons", path, "--type", "16"}, "--type"},
        {{folder(), "--polygons", path, "--type", ""}, "--type"},
        {{folder(), "--polygons", path, "--type"}, "--type"},
        {{folder(), "--polygons", "", "--type", "17"}, "--polygons"},
        {{folder(), "--polygons", path, "--points", path, "--type", "17"}, "只能给出一个"},
        {{folder(), "--points", path, "--type", "17"}, "--type"},
        {{folder(), "--points", path, "--points", path}, "--points"},
        {{folder(), path, "--points", path}, "多余"},
        {{folder(), "--points", path, "--colour"}, "--colour"}};
    for (const auto& [arguments, mentions] : cases) {
        SCOPED_TRACE(arguments.join(' ').toStdString());
        const CorridorRun run = corridor(QStringList{"import"} + arguments);
        expectFailure(run, 2, mentions);
        EXPECT_EQ(run.output, "");
    }
    EXPECT_FALSE(QFile::exists(database()));
    EXPECT_TRUE(corridor({"import", "--help"}).output.startsWith("用法：corridor import"));
    EXPECT_TRUE(corridor({"--help"}).output.contains("corridor import PROJECT"));
}

} // namespace
