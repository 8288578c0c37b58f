#include "tests/cli/CorridorRun.h"
#include "tests/support/SmallProject.h"
#include "tests/support/VectorFile.h"

#include <gtest/gtest.h>

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <gdal_priv.h>

namespace {

/// `corridor project create` over the rasters of a small project, in places with blanks, quotes and Chinese names.
class CreateCommandTest : public testing::Test {
protected:
    CreateCommandTest() {
        VectorLayer lines;
        lines.epsg = 4547;
        lines.rows = {{"LINESTRING (500000 3400040,500200 3400040)"}};
        writeVectorFile(file("管线 '1'.gpkg"), "GPKG", {lines});
    }

    QString file(const QString& name) const { return m_files.beside(name); }
    QString folder() const { return file("新项目 \"甲\""); }
    QString oldEpoch() const {
        return "2024-05-18=" + m_files.file("old/dsm.tif") + ',' + m_files.file("old/dom.tif");
    }
    QString newEpoch() const { return "2025-05-20=" + m_files.file("new/dsm.tif"); }

    QStringList arguments(const QStringList& more = {}) const {
        return QStringList{"project", "create", folder(), "--epoch", oldEpoch(), "--epoch", newEpoch()} +
               more;
    }
    CorridorRun create(const QStringList& more = {}) const { return corridor(arguments(more)); }
    QStringList beside() const {
        return QDir(QFileInfo(folder()).absolutePath())
            .entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot);
    }
    QJsonObject info() const {
        return QJsonDocument::fromJson(corridor({"info", folder(), "--json"}).output.toUtf8()).object();
    }
    /// A surface model over the same ground that takes a moment to copy.
    QString largeSurface() const {
        constexpr int kCells = 6000;
        const QString name = file("large.tif");
        GDALDriver* driver = GetGDALDriverManager()->GetDriverByName("GTiff");
        const GDALDatasetUniquePtr raster(
            driver->Create(name.toUtf8().constData(), kCells, kCells, 1, GDT_Float32, nullptr));
        double transform[6] = {SmallProject::kLeft, 0.05, 0.0, SmallProject::kTop, 0.0, -0.05};
        raster->SetGeoTransform(transform);
        OGRSpatialReference reference;
        reference.importFromEPSG(4547);
        raster->SetSpatialRef(&reference);
        EXPECT_EQ(raster->GetRasterBand(1)->Fill(50.0), CE_None);
        return name;
    }

    SmallProject m_files;
};

TEST_F(CreateCommandTest, FromFilesToTheReportWithoutAFinding) {
    writeBytes(file("点.csv"), "name,lon,lat\n阀室,114.001,30.7203\n");
    const CorridorRun run =
        create({"--centerline", file("管线 '1'.gpkg"), "--start", "K12+500", "--station-length", "100",
                "--half-width", "60", "--points", file("点.csv"), "--name", "西线"});
    EXPECT_EQ(run.status, 0) << run.errors.join('\n').toStdString();
    EXPECT_TRUE(run.output.contains("西线，2 个站段")) << run.output.toStdString();
    EXPECT_TRUE(run.output.contains("导入 1 个特殊点，拒绝 0 行"));
    EXPECT_EQ(corridor({"compute", folder()}).status, 0);
    EXPECT_EQ(info()["anomalies"].toInt(), 3);
    EXPECT_EQ(corridor({"check", folder()}).status, 0);
    EXPECT_EQ(corridor({"report", folder(), "--out", file("报告.pdf")}).status, 0);
    EXPECT_EQ(corridor({"shape", folder(), "--out", file("shape")}).status, 0);
}

TEST_F(CreateCommandTest, AWrongUseIsStatusTwoAndMakesNothing) {
    const QStringList before = beside();
    for (const QStringList& more : {QStringList{"--turn"},
                                    {"--start", "3"},
                                    {"--station-length", "0", "--centerline", "x"},
                                    {"--half-width", "wide", "--centerline", "x"},
                                    {"--centerline", "x", "--start", "阀室"},
                                    {"--centerline", "x", "--start", "1", "--posts", "y"},
                                    {"--heights", "2020-01-01=ellipsoid"},
                                    {"--heights", "2024-05-18"},
                                    {"--epoch"},
                                    {"more"}}) {
        const CorridorRun run = create(more);
        EXPECT_EQ(run.status, 2) << more.join(' ').toStdString();
        EXPECT_EQ(run.errors.size(), 1) << run.errors.join('\n').toStdString();
    }
    expectFailure(corridor({"project", "create"}), 2, "项目文件夹");
    expectFailure(corridor({"project", "create", folder(), "--epoch", oldEpoch()}), 2, "--epoch");
    EXPECT_EQ(beside(), before);
}

TEST_F(CreateCommandTest, WhatCannotBeDoneIsOneLineAndMakesNothing) {
    writeBytes(file("text.tif"), "no raster");
    const QStringList before = beside();
    const auto expect = [&](const QStringList& more, const QString& mentions) {
        expectFailure(create(more), 1, mentions);
        EXPECT_EQ(beside(), before) << mentions.toStdString();
    };
    expect({"--epoch", "2026-01-01=" + file("missing.tif")}, "missing.tif");
    expect({"--epoch", "2026-01-01=" + file("text.tif")}, "text.tif");
    expect({"--epoch", "2025-05-20=" + m_files.file("old/dsm.tif")}, "2025-05-20");
    expect({"--epoch", "2026-02-30=" + m_files.file("old/dsm.tif")}, "2026-02-30");
    expect({"--epoch", m_files.file("new/dom.tif")}, "是影像");
    expect({"--centerline", file("missing.kml")}, "missing.kml");
    expect({"--areas", file("missing.gpkg")}, "missing.gpkg");
    expect({"--crs", "EPSG:4326"}, "EPSG:4326");
}

TEST_F(CreateCommandTest, OnAFullDiskNothingIsLeft) {
    const QStringList before = beside();
    const CorridorRun run = corridor(arguments({"--copy"}), withSmallDisk(50000));
    EXPECT_EQ(run.status, 1);
    EXPECT_EQ(run.errors.size(), 1) << run.errors.join('\n').toStdString();
    EXPECT_EQ(beside(), before);
}

TEST_F(CreateCommandTest, CtrlCLeavesNothing) {
    const QString large = largeSurface();
    const QStringList before = beside();
    const CorridorRun run =
        interruptedCorridor(arguments({"--copy", "--epoch", "2026-01-01=" + large}), " 10%");
    EXPECT_EQ(run.status, 1);
    EXPECT_EQ(beside(), before);
}

TEST_F(CreateCommandTest, AKilledRunLeavesNoProjectAndCanBeRepeated) {
    const QStringList all = arguments({"--copy", "--epoch", "2026-01-01=" + largeSurface()});
    killedCorridor(all, " 10%");
    EXPECT_FALSE(QFileInfo::exists(folder()));
    EXPECT_EQ(corridor(all).status, 0);
}

TEST_F(CreateCommandTest, AFolderThatIsInUseIsLeftAlone) {
    EXPECT_EQ(create().status, 0);
    expectFailure(create(), 1, "不是空的");
    EXPECT_EQ(info()["epochs"].toArray().size(), 2);
}

} // namespace
