#include "cloud/PointReader.h"
#include "cloud/SurveyFacts.h"
#include "tests/cloud/CompressCloud.h"
#include "tests/cloud/Rasterizing.h"

#include <filesystem>
#include <fstream>
#include <random>

namespace cloud::test {

namespace {

/// A cloud and its LAZ.
class Compressed : public Rasterizing {
protected:
    LasWriter cloudOf(int pointFormat) const {
        LasWriter file = utmCloud({});
        file.minorVersion = 4;
        file.pointFormat = pointFormat;
        file.globalEncoding = 1;
        file.gpsTime = 16134 * 86400.0 + 43200.0 - 1e9;
        std::mt19937 random(pointFormat);
        std::uniform_real_distribution<double> place(0.0, 60.0);
        std::uniform_int_distribution<int> kind(1, 18);
        for (int i = 0; i < 70000; ++i) { // more than a chunk of LAZ holds
            file.points.push_back({place(random), place(random), place(random), kind(random), i % 9 == 0});
        }
        return file;
    }
};

class EveryCompressed : public Compressed, public testing::WithParamInterface<int> {};

#ifdef CORRIDOR_HAS_LASZIP

TEST_P(EveryCompressed, GivesTheSurfaceOfThePlainCloud) {
    const LasWriter file = cloudOf(GetParam());
    ASSERT_TRUE(run(file));
    const std::vector<float> expected = surface().heights;
    ASSERT_TRUE(compressCloud(path("cloud.las"), path("cloud.laz")));
    const auto report = run({path("cloud.laz")});
    ASSERT_TRUE(report) << report.error().message;
    const std::vector<float> heights = surface().heights;
    ASSERT_EQ(heights.size(), expected.size());
    std::size_t wrong = 0;
    for (std::size_t i = 0; i < heights.size(); ++i) {
        wrong += std::isnan(expected[i]) ? !std::isnan(heights[i]) : heights[i] != expected[i];
    }
    EXPECT_EQ(wrong, 0U);
}

TEST_P(EveryCompressed, GivesTheDateOfTheFlight) {
    cloudOf(GetParam()).write(path("cloud.las"));
    ASSERT_TRUE(compressCloud(path("cloud.las"), path("cloud.laz")));
    const auto facts = lookAtSurvey({path("cloud.laz")});
    ASSERT_TRUE(facts) << facts.error().message;
    EXPECT_EQ(facts->points, 70000U);
    EXPECT_EQ(facts->date, "2024-03-09");
}

TEST_P(EveryCompressed, RefusesATruncatedCloudAndLeavesNothing) {
    cloudOf(GetParam()).write(path("cloud.las"));
    ASSERT_TRUE(compressCloud(path("cloud.las"), path("cloud.laz")));
    const auto bytes = std::filesystem::file_size(path("cloud.laz"));
    for (const double share : {0.9, 0.5, 0.05}) {
        std::filesystem::resize_file(path("cloud.laz"),
                                     static_cast<std::uintmax_t>(static_cast<double>(bytes) * share));
        const auto report = run({path("cloud.laz")});
        ASSERT_FALSE(report) << share;
        EXPECT_EQ(report.error().message.rfind(path("cloud.laz") + "：LAZ 数据损坏或不完整", 0), 0U)
            << report.error().message;
        EXPECT_EQ(files(), (std::vector<std::string>{"cloud.las", "cloud.laz"}));
    }
}

#else

TEST_P(EveryCompressed, IsRefusedInOneLineThatSaysWhatToDo) {
    std::vector<std::uint8_t> bytes = cloudOf(GetParam()).bytes();
    bytes[104] |= 0x80; // compressed, the head says
    std::ofstream(path("cloud.laz"), std::ios::binary)
        .write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
    const std::string refusal =
        path("cloud.laz") + "：读取 LAZ 需要 LASzip，而这个程序编译时没有它：请安装 liblaszip-dev 后重新编译"
                            "（见 README），或先转换为 LAS";
    EXPECT_EQ(run({path("cloud.laz")}).error().message, refusal);
    EXPECT_EQ(lookAtSurvey({path("cloud.laz")}).error().message, refusal);
    EXPECT_EQ(files(), std::vector<std::string>{"cloud.laz"});
}

#endif

INSTANTIATE_TEST_SUITE_P(Laz, EveryCompressed, testing::Values(1, 3, 6, 7));

} // namespace

} // namespace cloud::test
