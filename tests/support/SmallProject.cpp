#include "tests/support/SmallProject.h"

#include <gtest/gtest.h>

#include <QDir>
#include <QFile>

#include <gdal_priv.h>
#include <ogrsf_frmts.h>

#include <array>
#include <cmath>

namespace {

GDALDatasetUniquePtr createRaster(const QString& file, int bands, GDALDataType type, int epsg) {
    GDALDriver* driver = GetGDALDriverManager()->GetDriverByName("GTiff");
    GDALDatasetUniquePtr raster(driver->Create(file.toUtf8().constData(), SmallProject::kColumns,
                                               SmallProject::kRows, bands, type, nullptr));
    EXPECT_TRUE(raster != nullptr);
    std::array<double, 6> transform{
        SmallProject::kLeft,       SmallProject::kCellMetres, 0.0, SmallProject::kTop, 0.0,
        -SmallProject::kCellMetres};
    if (epsg == 4326) {
        transform = {114.0, 5e-6, 0.0, 30.7, 0.0, -5e-6};
    }
    raster->SetGeoTransform(transform.data());
    if (epsg != 0) {
        OGRSpatialReference reference;
        reference.importFromEPSG(epsg);
        raster->SetSpatialRef(&reference);
    }
    return raster;
}

void writePhoto(const QString& file, int shade) {
    const auto raster = createRaster(file, 3, GDT_Byte, 4547);
    std::vector<unsigned char> row(SmallProject::kColumns);
    for (int y = 0; y < SmallProject::kRows; ++y) {
        for (int band = 1; band <= 3; ++band) {
            for (std::size_t x = 0; x < row.size(); ++x) {
                row[x] = static_cast<unsigned char>((int(x) + y * band + shade) % 200 + 40);
            }
            EXPECT_EQ(raster->GetRasterBand(band)->RasterIO(GF_Write, 0, y, SmallProject::kColumns, 1,
                                                            row.data(), SmallProject::kColumns, 1, GDT_Byte,
                                                            0, 0, nullptr),
                      CE_None);
        }
    }
}

OGRPolygon box(double xMin, double xMax) {
    OGRLinearRing ring;
    const double yMin = SmallProject::kTop - SmallProject::kRows * SmallProject::kCellMetres;
    ring.addPoint(xMin, yMin);
    ring.addPoint(xMax, yMin);
    ring.addPoint(xMax, SmallProject::kTop);
    ring.addPoint(xMin, SmallProject::kTop);
    ring.closeRings();
    OGRPolygon polygon;
    polygon.addRing(&ring);
    return polygon;
}

void addStation(OGRLayer& layer, int id, const char* name, double xMin, double xMax) {
    OGRFeature feature(layer.GetLayerDefn());
    feature.SetField("id", id);
    feature.SetField("name", name);
    feature.SetField("start_m", xMin - SmallProject::kLeft);
    feature.SetField("end_m", xMax - SmallProject::kLeft);
    const OGRPolygon polygon = box(xMin, xMax);
    feature.SetGeometry(&polygon);
    EXPECT_EQ(layer.CreateFeature(&feature), OGRERR_NONE);
}

void addField(OGRLayer& layer, const char* name, OGRFieldType type) {
    OGRFieldDefn field(name, type);
    EXPECT_EQ(layer.CreateField(&field), OGRERR_NONE);
}

void writeCenterline(const QString& file) {
    GDALDriver* driver = GetGDALDriverManager()->GetDriverByName("GPKG");
    const GDALDatasetUniquePtr target(
        driver->Create(file.toUtf8().constData(), 0, 0, 0, GDT_Unknown, nullptr));
    OGRSpatialReference reference;
    reference.importFromEPSG(4547);
    OGRLayer* line = target->CreateLayer("centerline", &reference, wkbLineString25D, nullptr);
    OGRFeature pipe(line->GetLayerDefn());
    OGRLineString course;
    course.addPoint(SmallProject::kLeft, SmallProject::kTop - 40.0, 50.0);
    course.addPoint(SmallProject::kLeft + 200.0, SmallProject::kTop - 40.0, 50.0);
    pipe.SetGeometry(&course);
    EXPECT_EQ(line->CreateFeature(&pipe), OGRERR_NONE);

    OGRLayer* nodes = target->CreateLayer("nodes", &reference, wkbPoint25D, nullptr);
    addField(*nodes, "name", OFTString);
    addField(*nodes, "km", OFTReal);
    OGRFeature node(nodes->GetLayerDefn());
    node.SetField("name", "起点");
    node.SetField("km", 0.0);
    const OGRPoint start(SmallProject::kLeft, SmallProject::kTop - 40.0, 50.0);
    node.SetGeometry(&start);
    EXPECT_EQ(nodes->CreateFeature(&node), OGRERR_NONE);

    OGRLayer* stations = target->CreateLayer("stations", &reference, wkbPolygon, nullptr);
    addField(*stations, "id", OFTInteger);
    addField(*stations, "name", OFTString);
    addField(*stations, "start_m", OFTReal);
    addField(*stations, "end_m", OFTReal);
    addStation(*stations, 1, "一号站", SmallProject::kLeft, SmallProject::kMiddle);
    addStation(*stations, 2, "二号站", SmallProject::kMiddle, SmallProject::kLeft + 200.0);
}

constexpr auto kProjectJson =
    R"({"format": "corridor-project", "version": 1, "name": "试验管道", "crs": "EPSG:4547",
"epochs": [{"date": "2024-05-18", "dsm": "old/dsm.tif", "dom": "old/dom.tif"},
           {"date": "2025-05-20", "dsm": "new/dsm.tif", "dom": "new/dom.tif"}],
"centerline": "centerline.gpkg", "remark": "kept"})";

} // namespace

double KnownChange::areaSquareMetres() const {
    return columns * rows * SmallProject::kCellMetres * SmallProject::kCellMetres;
}

double KnownChange::volumeCubicMetres() const {
    return areaSquareMetres() * std::abs(dzMetres);
}

double KnownChange::xCentre() const {
    return SmallProject::kLeft + (column + columns / 2.0) * SmallProject::kCellMetres;
}

double KnownChange::yCentre() const {
    return SmallProject::kTop - (row + rows / 2.0) * SmallProject::kCellMetres;
}

SmallProject::SmallProject() {
    GDALAllRegister();
    EXPECT_TRUE(QDir().mkpath(file(QStringLiteral("old"))));
    EXPECT_TRUE(QDir().mkpath(file(QStringLiteral("new"))));
    writeHeights(file(QStringLiteral("old/dsm.tif")), oldHeight);
    writeHeights(file(QStringLiteral("new/dsm.tif")), newHeight);
    writePhoto(file(QStringLiteral("old/dom.tif")), 0);
    writePhoto(file(QStringLiteral("new/dom.tif")), 60);
    writeCenterline(file(QStringLiteral("centerline.gpkg")));
    QFile json(file(QStringLiteral("project.json")));
    EXPECT_TRUE(json.open(QIODevice::WriteOnly));
    json.write(kProjectJson);
}

const std::vector<KnownChange>& SmallProject::changes() {
    static const std::vector<KnownChange> changes{
        {40, 40, 24, 20, 3.0}, {300, 90, 30, 16, -2.0}, {188, 110, 32, 12, 1.5}};
    return changes;
}

void SmallProject::writeHeights(const QString& file, const std::function<double(int, int)>& metres,
                                int epsg) {
    const auto raster = createRaster(file, 1, GDT_Float32, epsg);
    std::vector<float> row(kColumns);
    for (int y = 0; y < kRows; ++y) {
        for (int x = 0; x < kColumns; ++x) {
            row[static_cast<std::size_t>(x)] = static_cast<float>(metres(x, y));
        }
        EXPECT_EQ(raster->GetRasterBand(1)->RasterIO(GF_Write, 0, y, kColumns, 1, row.data(), kColumns, 1,
                                                     GDT_Float32, 0, 0, nullptr),
                  CE_None);
    }
}

double SmallProject::oldHeight(int column, int row) {
    return 50.0 + 3.0 * std::sin(column / 37.0) + 2.0 * std::cos(row / 23.0);
}

double SmallProject::newHeight(int column, int row) {
    double height = oldHeight(column, row);
    for (const KnownChange& change : changes()) {
        const bool inside = column >= change.column && column < change.column + change.columns &&
                            row >= change.row && row < change.row + change.rows;
        height += inside ? change.dzMetres : 0.0;
    }
    return height;
}

double SmallProject::ridgeHeight(int column, int /*row*/) {
    constexpr double kHalf = kColumns / 2.0;
    return 40.0 * (1.0 - std::abs(column - kHalf) / kHalf);
}
