#include "cloud/PointReader.h"
#include "tests/cloud/Rasterizing.h"

#include <cstring>
#include <filesystem>
#include <fstream>
#include <functional>
#include <limits>
#include <utility>

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
    EXPECT_EQ(run(file).error().message, path("cloud.las") + "：点云文件不完整，文件头称有 3 点，只有 2 点");
    file.claimedPoints = -1;
    file.write(path("cloud.las"));
    fs::resize_file(path("cloud.las"), fs::file_size(path("cloud.las")) - 1);
    EXPECT_EQ(run({path("cloud.las")}).error().message,
              path("cloud.las") + "：点云文件不完整，文件头称有 2 点，只有 1 点");
    fs::resize_file(path("cloud.las"), 300);
    EXPECT_EQ(run({path("cloud.las")}).error().message,
              path("cloud.las") + "：点云文件不完整，文件头称有 2 点，只有 0 点");
    EXPECT_EQ(files(), (std::vector<std::string>{"cloud.las"}));
}

TEST_F(Rasterizing, RefusesAHeadWhoseNumbersCannotBeTrue) {
    constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
    constexpr double kInfinity = std::numeric_limits<double>::infinity();
    struct Damage {
        std::size_t at; ///< byte of the head
        double number;
        std::string cause;
    };
    const std::string invalid = "文件头中的范围或比例无效";
    const std::vector<Damage> cases{{131, 0.0, invalid},
                                    {139, kNaN, invalid},
                                    {147, 0.0, invalid},
                                    {147, kInfinity, invalid},
                                    {155, kInfinity, invalid},
                                    {171, kNaN, invalid},
                                    {179, kNaN, invalid},
                                    {187, 1e9, invalid},
                                    {155, 1e300, "点都在文件头所称的范围之外"},
                                    {131, 1e9, "点都在文件头所称的范围之外"},
                                    {179, 1e18, "坐标过大"},
                                    {187, -1e300, "坐标过大"},
                                    {179, 1e8, "格网"}};
    LasWriter file = utmCloud({{0.5, 0.5, 1.0}, {2.5, 2.5, 2.0}});
    for (const Damage& damage : cases) {
        std::vector<std::uint8_t> bytes = file.bytes();
        std::memcpy(&bytes[damage.at], &damage.number, sizeof damage.number);
        std::ofstream(path("bad.las"), std::ios::binary)
            .write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
        const auto report = run({path("bad.las")}, 0.5);
        ASSERT_FALSE(report) << damage.at << " " << damage.number;
        EXPECT_EQ(report.error().message.rfind(path("bad.las") + "：" + damage.cause, 0), 0U)
            << report.error().message;
        EXPECT_EQ(files(), (std::vector<std::string>{"bad.las"}));
    }
}

// Both edges so far away that the cells between them can no longer be counted.
TEST_F(Rasterizing, RefusesASurveyBeyondAllReferenceSystems) {
    LasWriter file = utmCloud({{0.5, 0.5, 1.0}, {2.5, 2.5, 2.0}});
    std::vector<std::uint8_t> bytes = file.bytes();
    const double far = 1e18;
    std::memcpy(&bytes[179], &far, sizeof far);
    std::memcpy(&bytes[187], &far, sizeof far);
    std::ofstream(path("bad.las"), std::ios::binary)
        .write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
    EXPECT_EQ(run({path("bad.las")}).error().message,
              path("bad.las") + "：坐标过大，请检查文件头中的范围和坐标系");
}

TEST_F(Rasterizing, SaysWhyNoPointIsUsed) {
    EXPECT_EQ(run(utmCloud({})).error().message, path("cloud.las") + "：点云中没有点");
    EXPECT_EQ(run(utmCloud({{0.5, 0.5, 1.0, 7}, {0.5, 1.5, 1.0, 18}})).error().message,
              path("cloud.las") + "：点云中没有可用的点");
    RasterizeRequest request;
    request.clouds = {path("cloud.las")};
    request.out = path("dsm.tif");
    request.cell = 1.0;
    request.returns = Returns::Ground;
    EXPECT_EQ(rasterize(request).error().message, path("cloud.las") + "：点云中没有地面点（第 2 类）");
    request.cell.reset();
    utmCloud({{0.5, 0.5, 1.0}}).write(path("cloud.las"));
    EXPECT_EQ(rasterize(request).error().message,
              path("cloud.las") + "：点云没有面积，请用 --cell 指定格网间距");
    EXPECT_EQ(files(), (std::vector<std::string>{"cloud.las"}));
}

TEST_F(Rasterizing, RefusesTilesOfDifferentUnitsOfHeight) {
    utmCloud({{0.5, 0.5, 1.0}}).write(path("a.las"));
    LasWriter other = utmCloud({{0.5, 0.5, 1.0}});
    other.geoKeys.insert(other.geoKeys.end(), {4099, 0, 1, 9002});
    other.geoKeys[3] = 3;
    other.write(path("b.las"));
    EXPECT_EQ(run({path("a.las"), path("b.las")}).error().message,
              path("b.las") + "：高程单位与 " + path("a.las") + " 不同");
}

/// Tiles of which the first takes several batches, so that the second is not yet open when the first are done.
class Vanishing : public Rasterizing {
protected:
    void SetUp() override {
        LasWriter large = utmCloud({});
        large.points.assign(400000, {0.5, 0.5, 1.0});
        large.write(path("a.las"));
        utmCloud({{1.5, 0.5, 1.0}}).write(path("b.las"));
    }

    /// Does something to the files when the first points have been sorted in.
    Result<RasterizeReport> runWith(const std::function<void()>& disturb) {
        RasterizeRequest request;
        request.clouds = {path("a.las"), path("b.las")};
        request.out = path("dsm.tif");
        request.cell = 1.0;
        bool isFirst = true;
        return rasterize(request, [&](double) {
            if (std::exchange(isFirst, false)) {
                disturb();
            }
            return true;
        });
    }
};

TEST_F(Vanishing, NamesAFileThatIsGone) {
    const auto report = runWith([&] { fs::remove(path("b.las")); });
    ASSERT_FALSE(report);
    EXPECT_EQ(report.error().message.rfind(path("b.las") + "：无法打开点云文件", 0), 0U)
        << report.error().message;
    EXPECT_EQ(files(), (std::vector<std::string>{"a.las"}));
}

TEST_F(Vanishing, NamesAFileThatShrinks) {
    const auto report = runWith([&] { fs::resize_file(path("a.las"), std::uintmax_t{300000} * 34); });
    ASSERT_FALSE(report);
    EXPECT_EQ(report.error().message.rfind(path("a.las") + "：点云文件不完整，最后 ", 0), 0U)
        << report.error().message;
    EXPECT_EQ(files(), (std::vector<std::string>{"a.las", "b.las"}));
}

TEST_F(Vanishing, FailsWhereTheFolderOfTheOutputIsGone) {
    fs::create_directory(path("out"));
    RasterizeRequest request;
    request.clouds = {path("a.las")};
    request.out = path("out/dsm.tif");
    request.cell = 1.0;
    const auto report = rasterize(request, [&](double) {
        fs::remove_all(path("out"));
        return true;
    });
    ASSERT_FALSE(report);
    EXPECT_EQ(report.error().message.rfind(path("out/dsm.tif") + "：写入地表模型失败", 0), 0U)
        << report.error().message;
}

TEST_F(Rasterizing, TakesNamesWithBlanksQuotesAndChineseCharacters) {
    const std::string name = path("管线 'A' \"二期\" 点云.las");
    utmCloud({{0.5, 0.5, 1.0}}).write(name);
    RasterizeRequest request;
    request.clouds = {name};
    request.out = path("地表 模型'.tif");
    request.cell = 1.0;
    request.percentile = 50.0;
    const auto report = rasterize(request);
    ASSERT_TRUE(report) << report.error().message;
    EXPECT_TRUE(fs::exists(request.out));
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
    for (const double stopAt : {0.0, 0.71, 0.81}) { // reading, percentiles, writing
        RasterizeRequest request;
        request.percentile = 90.0;
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
