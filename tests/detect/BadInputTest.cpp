// Every failure: one line that names the file, nothing left behind, earlier results untouched.

#include "detect/heights/SurfaceModel.h"
#include "detect/output/CoregistrationNote.h"
#include "detect/output/SummaryFile.h"
#include "tests/detect/TestRasters.h"
#include "tests/detect/WholeResult.h"
#include "tests/support/PlainUser.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <cmath>
#include <filesystem>
#include <fstream>
#include <limits>

namespace detect::test {
namespace {

namespace fs = std::filesystem;

double slope(const Point& p) {
    return 100.0 + 0.01 * (p.x - 500000.0) + 0.02 * (3400000.0 - p.y);
}

/// Bands that lie together in each block; nothing is written into them.
void makeGeoTiff(const std::string& file, int cells, int bands, GDALDataType type,
                 const char* const* options = nullptr) {
    const auto raster = GDALDatasetUniquePtr(GetGDALDriverManager()->GetDriverByName("GTiff")->Create(
        file.c_str(), cells, cells, bands, type, const_cast<char**>(options)));
    OGRSpatialReference reference;
    reference.importFromEPSG(4547);
    raster->SetSpatialRef(&reference);
    RasterPlan plan;
    raster->SetGeoTransform(plan.toMap.data());
}

class BadInput : public testing::Test {
protected:
    BadInput() {
        m_request.oldRaster = m_folder.file("old.tif");
        m_request.newRaster = m_folder.file("new.tif");
        m_request.parameters.threads = 2;
        writeRaster(m_request.oldRaster, RasterPlan(), slope);
        writeRaster(m_request.newRaster, RasterPlan(), slope);
        std::ofstream(m_dzRaster) << "an earlier result";
    }

    void expectOneLine(const Failure& failure, const std::string& file, const std::string& cause) {
        EXPECT_NE(failure.message.find(file), std::string::npos) << failure.message;
        EXPECT_NE(failure.message.find(cause), std::string::npos) << failure.message;
        EXPECT_EQ(failure.message.find('\n'), std::string::npos) << failure.message;
        EXPECT_FALSE(failure.cancelled);
    }

    void expectFailure(const std::string& file, const std::string& cause) {
        const std::vector<std::string> before = m_folder.names();
        testing::internal::CaptureStderr();
        const Failure failure = detectExpectingFailure(m_request, m_dzRaster);
        EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
        expectOneLine(failure, file, cause);
        EXPECT_EQ(m_folder.names(), before);
        EXPECT_EQ(contentOf(m_dzRaster), "an earlier result");
    }

    TemporaryFolder m_folder;
    const std::string m_dzRaster = m_folder.file("dz.tif");
    Request m_request;
};

TEST_F(BadInput, Orthophoto) {
    makeGeoTiff(m_request.newRaster, 100, 3, GDT_Byte);
    expectFailure("new.tif", "正射影像");
}

TEST_F(BadInput, MoreBandsThanASurfaceModelHas) {
    makeGeoTiff(m_request.newRaster, 16, 1024, GDT_Float32);
    EXPECT_TRUE(SurfaceModel::open(m_request.newRaster));
    makeGeoTiff(m_request.newRaster, 16, 1025, GDT_Float32);
    expectFailure("new.tif", "1025 个波段");
}

TEST_F(BadInput, TilesThatAreMoreThanMemoryHolds) {
    const char* const tiles[] = {"TILED=YES", "BLOCKXSIZE=512", "BLOCKYSIZE=512", "SPARSE_OK=TRUE", nullptr};
    makeGeoTiff(m_request.newRaster, 512, 512, GDT_Float32, tiles);
    EXPECT_TRUE(SurfaceModel::open(m_request.newRaster)) << "512 MB of interleaved bands";
    makeGeoTiff(m_request.newRaster, 512, 513, GDT_Float32, tiles);
    expectFailure("new.tif", "超过 512 MB");
}

TEST_F(BadInput, EpochsThatDoNotFitAreDoubtedInOneLine) {
    Random random(5);
    writeRaster(m_request.newRaster, RasterPlan(),
                [&](const Point& p) { return slope(p) + 100.0 * random(); });
    const Changes changes = detectOrFail(m_request);
    EXPECT_TRUE(changes.scatterExceedsThreshold);
    const std::string doubt = doubtAbout(changes, m_request.parameters);
    EXPECT_EQ(doubt.find("结果不可信"), 0U) << doubt;
    EXPECT_EQ(doubt.find('\n'), std::string::npos);
    EXPECT_EQ(notesOn(changes, m_request.parameters).front(), doubt);

    m_request.parameters.significance.emplace();
    EXPECT_FALSE(detectOrFail(m_request).scatterExceedsThreshold)
        << "the level of detection knows the scatter";
    m_request.parameters.significance.reset();
    writeRaster(m_request.newRaster, RasterPlan(), [&](const Point& p) { return slope(p) + 0.5 * random(); });
    EXPECT_EQ(doubtAbout(detectOrFail(m_request), m_request.parameters), "");
}

TEST_F(BadInput, MissingRaster) {
    fs::remove(m_request.newRaster);
    expectFailure("new.tif", "不存在");
    m_request.oldRaster = m_folder.file("never.tif");
    expectFailure("never.tif", "不存在");
}

TEST_F(BadInput, FileBehindAVirtualFileSystemIsToldInGdalsWords) {
    m_request.oldRaster = "/vsizip/" + m_folder.file("survey.zip") + "/dsm.tif";
    expectFailure("survey.zip/dsm.tif", "无法作为栅格打开（");
}

TEST_F(BadInput, FileThatIsNoRaster) {
    std::ofstream(m_request.newRaster) << "this is no raster";
    expectFailure("new.tif", "无法作为栅格打开");
}

TEST_F(BadInput, EmptyFile) {
    std::ofstream(m_request.oldRaster, std::ios::trunc).close();
    expectFailure("old.tif", "无法作为栅格打开");
}

TEST_F(BadInput, RasterWithoutReferenceSystem) {
    RasterPlan plan;
    plan.epsg = 0;
    writeRaster(m_request.newRaster, plan, slope);
    expectFailure("new.tif", "没有坐标参考系统");
}

TEST_F(BadInput, NoOverlap) {
    RasterPlan plan;
    plan.toMap[0] += 1000.0;
    writeRaster(m_request.newRaster, plan, slope);
    expectFailure("new.tif", "没有重叠");
    plan.toMap[0] += 0.123; // not on the old grid either
    writeRaster(m_request.newRaster, plan, slope);
    expectFailure("new.tif", "没有重叠");
}

TEST_F(BadInput, NoOverlapAcrossReferenceSystems) {
    RasterPlan plan;
    plan.epsg = 4326;
    plan.toMap = {10.0, 1e-5, 0.0, 50.0, 0.0, -1e-5};
    writeRaster(m_request.newRaster, plan, [](const Point&) { return 1.0; });
    expectFailure("new.tif", "没有重叠");
}

TEST_F(BadInput, WindowOutsideTheOverlap) {
    m_request.window = Box{0.0, 0.0, 10.0, 10.0};
    expectFailure("new.tif", "没有重叠");
}

TEST_F(BadInput, AllNoData) {
    RasterPlan plan;
    plan.noData = -1.0;
    for (const double hole : {-1.0, std::nan(""), -std::numeric_limits<double>::infinity()}) {
        writeRaster(m_request.newRaster, plan, [hole](const Point&) { return hole; });
        expectFailure("new.tif", "无效值");
    }
    writeRaster(m_request.oldRaster, plan, [](const Point&) { return -1.0; });
    expectFailure("old.tif", "无效值");
}

TEST_F(BadInput, NoCellValidInBoth) {
    const auto half = [](bool west) {
        return [west](const Point& p) { return (p.x < 500025.0) == west ? slope(p) : std::nan(""); };
    };
    writeRaster(m_request.oldRaster, RasterPlan(), half(true));
    writeRaster(m_request.newRaster, RasterPlan(), half(false));
    expectFailure("new.tif", "没有同时有效");
}

TEST_F(BadInput, TruncatedRasterFailsWhereverTheDataEnd) {
    for (const bool compressed : {false, true}) {
        for (const double share : {0.3, 0.6, 0.97}) {
            SCOPED_TRACE(std::to_string(compressed) + " " + std::to_string(share));
            RasterPlan plan;
            plan.columns = plan.rows = 1200; // more than the co-registration looks at
            if (compressed) {
                plan.creationOptions = {"COMPRESS=DEFLATE", "TILED=YES"};
            }
            Random random(1);
            const auto rough = [&](const Point& p) { return slope(p) + 0.01 * random(); };
            writeRaster(m_request.oldRaster, plan, rough);
            writeRaster(m_request.newRaster, plan, rough);
            const auto size = static_cast<double>(fs::file_size(m_request.newRaster));
            fs::resize_file(m_request.newRaster, static_cast<std::uintmax_t>(size * share));
            expectFailure("new.tif", "");
        }
    }
}

TEST_F(BadInput, WrongParameters) {
    m_request.parameters.thresholdMetres = 0.0;
    expectFailure("", "阈值");
    m_request.parameters.thresholdMetres = std::nan("");
    expectFailure("", "阈值");
}

TEST_F(BadInput, CancelLeavesNothingBehind) {
    const std::vector<std::string> before = m_folder.names();
    for (const double limit : {0.0, 0.2, 0.9}) {
        double last = 0.0;
        const Failure failure = detectExpectingFailure(m_request, m_dzRaster, [&](double done) {
            EXPECT_GE(done, last);
            last = done;
            return done <= limit;
        });
        EXPECT_TRUE(failure.cancelled);
        EXPECT_EQ(m_folder.names(), before);
        EXPECT_EQ(contentOf(m_dzRaster), "an earlier result");
    }
}

TEST_F(BadInput, FolderOfTheDifferenceRasterIsMissing) {
    const Failure failure = detectExpectingFailure(m_request, m_folder.file("nowhere/dz.tif"));
    expectOneLine(failure, "nowhere/dz.tif", "文件夹不存在");
}

TEST_F(BadInput, ReadOnlyFolderKeepsEarlierResults) {
    const Changes result = detectOrFail(m_request);
    std::ofstream(m_folder.file("result.gpkg")) << "an earlier result";
    fs::permissions(m_folder.path(), static_cast<fs::perms>(0555));
    {
        const PlainUser user;
        const Failure failure = detectExpectingFailure(m_request, m_dzRaster);
        expectOneLine(failure, "dz.tif", "不可写");
        for (const char* name : {"result.gpkg", "result.shp", "result.geojson"}) {
            const auto written = writeAnomalies(result.anomalies, result.srsWkt, m_folder.file(name));
            ASSERT_FALSE(written);
            expectOneLine(written.error(), name, "不可写");
        }
        const auto staged = StagedOutput::beside(m_folder.file("summary.json"));
        ASSERT_FALSE(staged);
        expectOneLine(staged.error(), "summary.json", "不可写");
    }
    fs::permissions(m_folder.path(), fs::perms::owner_all);
    EXPECT_EQ(contentOf(m_folder.file("result.gpkg")), "an earlier result");
    EXPECT_EQ(m_folder.names(), (std::vector<std::string>{"dz.tif", "new.tif", "old.tif", "result.gpkg"}));
}

} // namespace
} // namespace detect::test
