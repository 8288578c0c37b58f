#include "../Opened.h"

#include "workbench/inspectiondata/creation/SurveyRaster.h"

#include <QDir>
#include <QFile>

#include <gdal_priv.h>

namespace {

using namespace inspection;

TEST(DateInNameTest, IsFoundWhereAFlightIsUsuallyNamed) {
    const struct {
        const char* path;
        const char* date;
    } cases[] = {{"/data/20240518_dsm.tif", "2024-05-18"},
                 {"/data/dsm-2024-05-18.tif", "2024-05-18"},
                 {"/data/2024_5_8/dsm.tif", "2024-05-08"},
                 {"/data/2024年5月18日/成果/dsm.tif", "2024-05-18"},
                 {"/data/20230101/2024.05.18.tif", "2024-05-18"}, // the nearest name counts
                 {"/data/dsm_20241399.tif", ""},                  // no such day
                 {"/data/block_120240518_7.tif", ""},             // digits of something else
                 {"/data/18991231.tif", ""},
                 {"/data/99990101.tif", ""}, // not flown yet
                 {"/20240518/a/b/dsm.tif", ""},
                 {"/data/dsm.tif", ""}};
    for (const auto& [path, date] : cases) {
        EXPECT_EQ(dateInName(QString::fromUtf8(path)), QString::fromLatin1(date)) << path;
    }
}

TEST(SurveyRasterTest, AFileTellsItsPlaceCellsAndDate) {
    const SmallProject files;
    const QString file = files.beside("dsm_20240518.tif");
    SmallProject::writeHeights(file, SmallProject::oldHeight);
    const auto raster = valueOf(surveyRaster(file));
    EXPECT_EQ(raster.files, QStringList{file});
    EXPECT_EQ(raster.date, "2024-05-18");
    EXPECT_DOUBLE_EQ(raster.box.xMin, SmallProject::kLeft);
    EXPECT_DOUBLE_EQ(raster.box.yMax, SmallProject::kTop);
    EXPECT_DOUBLE_EQ(raster.cellWidth, SmallProject::kCellMetres);
    EXPECT_DOUBLE_EQ(raster.cells, SmallProject::kColumns * SmallProject::kRows);
    EXPECT_FALSE(raster.isPicture);
}

TEST(SurveyRasterTest, ANameTellsMoreOfTheFlightThanATag) {
    const SmallProject files;
    const auto withTag = [&](const QString& name) {
        const QString file = files.beside(name);
        SmallProject::writeHeights(file, SmallProject::oldHeight);
        const GDALDatasetUniquePtr raster(GDALDataset::Open(file.toUtf8().constData(), GDAL_OF_UPDATE));
        raster->SetMetadataItem("TIFFTAG_DATETIME", "2024:06:30 11:00:00");
        return file;
    };
    EXPECT_EQ(valueOf(surveyRaster(withTag("plain.tif"))).date, "2024-06-30");
    EXPECT_EQ(valueOf(surveyRaster(withTag("20240518.tif"))).date, "2024-05-18");
}

TEST(SurveyRasterTest, AFolderIsAMosaicOfItsRastersAlone) {
    const SmallProject files;
    const QString folder = files.beside("2024-05-18 分幅");
    ASSERT_TRUE(QDir().mkpath(folder));
    SmallProject::writeHeights(folder + "/a.tif", SmallProject::oldHeight);
    SmallProject::writeHeights(folder + "/b.tif", SmallProject::newHeight);
    QFile notes(folder + "/notes.txt");
    ASSERT_TRUE(notes.open(QIODevice::WriteOnly));
    notes.write("flown in the morning");
    notes.close();
    const auto mosaic = valueOf(surveyRaster(folder));
    EXPECT_EQ(mosaic.files, (QStringList{folder + "/a.tif", folder + "/b.tif"}));
    EXPECT_EQ(mosaic.date, "2024-05-18");
    EXPECT_DOUBLE_EQ(mosaic.cells, 2.0 * SmallProject::kColumns * SmallProject::kRows);
}

TEST(SurveyRasterTest, TilesThatDoNotGoTogetherAreNamed) {
    const SmallProject files;
    const QString folder = files.beside("tiles");
    ASSERT_TRUE(QDir().mkpath(folder));
    SmallProject::writeHeights(folder + "/a.tif", SmallProject::oldHeight);
    SmallProject::writeHeights(folder + "/b.tif", SmallProject::oldHeight, 4549);
    EXPECT_TRUE(failureOf(surveyRaster(folder)).userMessage.contains("b.tif"));
    ASSERT_TRUE(QFile::remove(folder + "/b.tif"));
    ASSERT_TRUE(QFile::copy(files.file("old/dom.tif"), folder + "/b.tif"));
    EXPECT_TRUE(failureOf(surveyRaster(folder)).userMessage.contains("不是同一种数据"));
}

TEST(SurveyRasterTest, AnEmptyFolderAndAMissingFileAreNamed) {
    const SmallProject files;
    const QString folder = files.beside("empty");
    ASSERT_TRUE(QDir().mkpath(folder));
    EXPECT_TRUE(failureOf(surveyRaster(folder)).userMessage.contains("没有栅格"));
    EXPECT_TRUE(failureOf(surveyRaster(files.beside("missing.tif"))).userMessage.contains("missing.tif"));
}

} // namespace
