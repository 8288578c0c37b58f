#include "cloud/PointReader.h"
#include "tests/cloud/Rasterizing.h"

#include <filesystem>
#include <fstream>

namespace cloud::test {

namespace {

namespace fs = std::filesystem;

TEST_F(Rasterizing, TakesAFolderOfTilesAndSkipsAnEmptyOne) {
    fs::create_directory(path("tiles"));
    utmCloud({{0.5, 0.5, 1.0}}).write(path("tiles/b.LAS"));
    utmCloud({{1.5, 0.5, 2.0}}).write(path("tiles/a.las"));
    utmCloud({}).write(path("tiles/empty.las"));
    std::ofstream(path("tiles/readme.txt")) << "no cloud";
    const auto report = run({path("tiles")});
    ASSERT_TRUE(report) << report.error().message;
    EXPECT_EQ(report->used, 2U);
    fs::create_directory(path("none"));
    EXPECT_EQ(run({path("none")}).error().message, path("none") + "：文件夹中没有点云（.las、.laz）");
}

TEST_F(Rasterizing, RefusesATruncatedCloudAndLeavesNothing) {
    LasWriter file = utmCloud({{0.5, 0.5, 1.0}, {1.5, 0.5, 2.0}});
    file.claimedPoints = 3;
    const auto report = run(file);
    ASSERT_FALSE(report);
    EXPECT_NE(report.error().message.find("cloud.las：点云文件不完整"), std::string::npos)
        << report.error().message;
    EXPECT_EQ(files(), (std::vector<std::string>{"cloud.las"}));
}

TEST_F(Rasterizing, RefusesWhatIsNoCloud) {
    std::ofstream(path("text.las")) << std::string(500, 'x');
    EXPECT_EQ(run({path("text.las")}).error().message, path("text.las") + "：不是 LAS 或 LAZ 文件");
    EXPECT_FALSE(run({path("missing.las")}));
    LasWriter newer = utmCloud({{0.5, 0.5, 1.0}});
    newer.minorVersion = 5;
    EXPECT_EQ(run(newer).error().message, path("cloud.las") + "：不支持的 LAS 版本 1.5");
}

TEST_F(Rasterizing, RefusesLazThatItCannotRead) {
    std::vector<std::uint8_t> bytes = utmCloud({{0.5, 0.5, 1.0}}).bytes();
    bytes[104] |= 0x80; // compressed, the head says; the points are not
    std::ofstream(path("cloud.laz"), std::ios::binary)
        .write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
    const auto report = run({path("cloud.laz")});
    ASSERT_FALSE(report);
    const std::string cause = canReadCompressed() ? "LAZ 数据损坏或不完整" : "读取 LAZ 需要 LASzip";
    EXPECT_EQ(report.error().message.rfind(path("cloud.laz") + "：" + cause, 0), 0U)
        << report.error().message;
    EXPECT_EQ(files(), std::vector<std::string>{"cloud.laz"});
}

// Every file that a damaged head can make ends in one line or a surface, never in a crash.
TEST_F(Rasterizing, SurvivesEveryFlippedByteOfTheHead) {
    LasWriter file = utmCloud({{0.5, 0.5, 1.0}, {2.5, 2.5, 2.0}});
    file.minorVersion = 4;
    file.pointFormat = 6;
    const std::vector<std::uint8_t> good = file.bytes();
    int refused = 0;
    for (std::size_t at = 0; at < 375 + 54 + 24; ++at) {
        {
            const int flip = at % 2 == 0 ? 0x81 : 0xff;
            std::vector<std::uint8_t> bad = good;
            bad[at] = static_cast<std::uint8_t>(bad[at] ^ flip);
            std::ofstream(path("bad.las"), std::ios::binary)
                .write(reinterpret_cast<const char*>(bad.data()), static_cast<std::streamsize>(bad.size()));
            const auto report = run({path("bad.las")}, 1000.0);
            refused += report ? 0 : 1;
            if (!report) {
                EXPECT_EQ(report.error().message.find('\n'), std::string::npos);
            }
        }
    }
    EXPECT_GT(refused, 50);
    EXPECT_EQ(files(), (std::vector<std::string>{"bad.las", "dsm.tif"}));
}

TEST_F(Rasterizing, CountsPointsBeyondTheClaimedBounds) {
    LasWriter file = utmCloud({{5.5, 5.5, 1.0}, {9.5, 9.5, 1.0}, {0.5, 0.5, 1.0}});
    file.boundsShrunkBy = 2.0;
    const auto report = run(file);
    ASSERT_TRUE(report) << report.error().message;
    EXPECT_EQ(report->outside, 2U);
    EXPECT_EQ(report->used, 1U);
}

TEST_F(Rasterizing, RefusesAGridThatNobodyCanMean) {
    const auto report = run(utmCloud({{0.0, 0.0, 1.0}, {1e6, 1e6, 1.0}}), 0.001);
    ASSERT_FALSE(report);
    EXPECT_NE(report.error().message.find("过大，请检查点云的范围"), std::string::npos);
}

TEST_F(Rasterizing, StopsWhenAskedAndLeavesNothing) {
    LasWriter file = utmCloud({{0.5, 0.5, 1.0}});
    file.write(path("cloud.las"));
    for (const double stopAt : {0.0, 0.71}) {
        RasterizeRequest request;
        request.clouds = {path("cloud.las")};
        request.out = path("dsm.tif");
        request.cell = 1.0;
        const auto report = rasterize(request, [stopAt](double done) { return done < stopAt; });
        ASSERT_FALSE(report);
        EXPECT_TRUE(report.error().cancelled);
        EXPECT_EQ(files(), (std::vector<std::string>{"cloud.las"}));
    }
}

} // namespace

} // namespace cloud::test
