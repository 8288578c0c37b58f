#include "tests/cloud/LasWriter.h"
#include "tests/detect/Program.h"
#include "tests/support/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <csignal>
#include <filesystem>
#include <fstream>

namespace cloud::test {

namespace {

using detect::test::ProgramRun;
using detect::test::runCorridor;

class RasterizeCommand : public testing::Test {
protected:
    std::string path(const std::string& name) const { return m_folder.file(name); }
    std::vector<std::string> files() const { return m_folder.names(); }

    /// Twenty by twenty points, a metre apart, and one of them noise.
    std::string cloud() const {
        LasWriter file;
        file.geoKeys = {1, 1, 0, 2, 1024, 0, 1, 1, 3072, 0, 1, 32650};
        for (int row = 0; row < 20; ++row) {
            for (int column = 0; column < 20; ++column) {
                file.points.push_back({column + 0.5, row + 0.5, 10.0, row + column == 0 ? 18 : 1});
            }
        }
        file.write(path("cloud.las"));
        return path("cloud.las");
    }

    ProgramRun run(std::vector<std::string> arguments) const {
        arguments.insert(arguments.begin(), "rasterize");
        return runCorridor(arguments);
    }

private:
    TemporaryFolder m_folder;
};

TEST_F(RasterizeCommand, SaysWhatWasMadeOfThePoints) {
    const ProgramRun made = run({cloud(), "--out", path("dsm.tif"), "--cell", "1"});
    EXPECT_EQ(made.status, 0) << made.messages;
    EXPECT_EQ(made.output,
              path("dsm.tif") +
                  "：20 × 20 格，间距 1；400 点中用了 399 点\n有点 399 格，填补 0 格，空 1 格\n");
    EXPECT_TRUE(std::filesystem::exists(path("dsm.tif")));
}

TEST_F(RasterizeCommand, IsSilentWhenAsked) {
    const ProgramRun made = run({cloud(), "--out", path("dsm.tif"), "--quiet"});
    EXPECT_EQ(made.status, 0);
    EXPECT_EQ(made.output + made.messages, "");
}

TEST_F(RasterizeCommand, TakesAnEndingInCapitals) {
    const ProgramRun made = run({cloud(), "--out", path("DSM.TIF"), "--quiet"});
    EXPECT_EQ(made.status, 0) << made.messages;
    EXPECT_TRUE(std::filesystem::exists(path("DSM.TIF")));
}

TEST_F(RasterizeCommand, RefusesWrongArgumentsInOneLine) {
    const std::string in = cloud();
    const std::string out = path("dsm.tif");
    const std::vector<std::pair<std::vector<std::string>, std::string>> cases{
        {{"--out", out}, "缺少点云文件 CLOUD"},
        {{in}, "缺少选项 --out"},
        {{in, "--out", path("dsm.png")}, "--out 的扩展名必须是 .tif"},
        {{in, "--out", path("tif")}, "--out 的扩展名必须是 .tif"},
        {{in, "--out", out, "--cell", "0"}, "--cell 需要大于 0 的数"},
        {{in, "--out", out, "--cell", "1m"}, "--cell 需要大于 0 的数"},
        {{in, "--out", out, "--percentile", "101"}, "--percentile 需要 0 到 100 的数"},
        {{in, "--out", out, "--percentile", "nan"}, "--percentile 需要 0 到 100 的数"},
        {{in, "--out", out, "--gap", "-1"}, "--gap 需要 0 到 100 的整数"},
    };
    for (const auto& [arguments, problem] : cases) {
        const ProgramRun refused = run(arguments);
        EXPECT_EQ(refused.status, 2) << problem;
        EXPECT_EQ(refused.messages, "corridor rasterize: " + problem + "\n");
        EXPECT_FALSE(std::filesystem::exists(out));
    }
}

TEST_F(RasterizeCommand, NamesTheFileThatIsNoCloudAndKeepsAnEarlierModel) {
    std::ofstream(path("notes.las")) << "no cloud";
    std::ofstream(path("dsm.tif")) << "earlier";
    const ProgramRun refused = run({path("notes.las"), "--out", path("dsm.tif"), "--quiet"});
    EXPECT_EQ(refused.status, 1);
    EXPECT_EQ(refused.messages, "corridor rasterize: " + path("notes.las") + "：不是 LAS 或 LAZ 文件\n");
    std::string kept;
    std::getline(std::ifstream(path("dsm.tif")) >> std::ws, kept);
    EXPECT_EQ(kept, "earlier");
}

// Wherever the disk fills up, in the head, in the tiles or in the directory that is written last.
TEST_F(RasterizeCommand, LeavesNothingOnAFullDisk) {
    const std::string in = cloud();
    const std::vector<std::string> arguments{"rasterize", in,     "--out",  path("dsm.tif"),
                                             "--cell",    "0.02", "--quiet"};
    ASSERT_EQ(runCorridor(arguments).status, 0);
    const auto whole = std::filesystem::file_size(path("dsm.tif"));
    std::filesystem::remove(path("dsm.tif"));
    detect::test::ProgramSetting full;
    for (const double share : {0.0, 0.05, 0.3, 0.6, 0.9, 0.99}) {
        full.largestFileBytes = static_cast<unsigned long>(share * static_cast<double>(whole));
        const ProgramRun failed = runCorridor(arguments, full);
        EXPECT_EQ(failed.status, 1) << share;
        EXPECT_NE(failed.messages.find("dsm.tif：写入地表模型失败，磁盘可能已满"), std::string::npos)
            << failed.messages;
        EXPECT_EQ(files(), std::vector<std::string>{"cloud.las"});
    }
}

TEST_F(RasterizeCommand, LeavesNothingWhenTheScratchFileFillsTheDisk) {
    LasWriter file;
    file.geoKeys = {1, 1, 0, 2, 1024, 0, 1, 1, 3072, 0, 1, 32650};
    file.points.assign(5000, {0.5, 0.5, 10.0});
    file.write(path("cloud.las"));
    detect::test::ProgramSetting full;
    full.largestFileBytes = 20000;
    const ProgramRun failed = runCorridor({"rasterize", path("cloud.las"), "--out", path("dsm.tif"), "--cell",
                                           "1", "--percentile", "50", "--quiet"},
                                          full);
    EXPECT_EQ(failed.status, 1);
    EXPECT_NE(failed.messages.find("dsm.tif.returns：无法写入临时文件，磁盘可能已满\n"), std::string::npos)
        << failed.messages;
    EXPECT_EQ(files(), std::vector<std::string>{"cloud.las"});
}

// The gaps of so thin a cloud, looked at a hundred cells wide, take seconds to close.
TEST_F(RasterizeCommand, StopsOnCtrlCAndLeavesNothing) {
    const std::string in = cloud();
    detect::test::ProgramSetting interrupted;
    interrupted.signal = SIGINT;
    const ProgramRun stopped = runCorridor(
        {"rasterize", in, "--out", path("dsm.tif"), "--cell", "0.01", "--gap", "100"}, interrupted);
    EXPECT_EQ(stopped.status, 1);
    EXPECT_NE(stopped.messages.find("corridor rasterize: 已取消\n"), std::string::npos) << stopped.messages;
    EXPECT_EQ(files(), std::vector<std::string>{"cloud.las"});
}

} // namespace

} // namespace cloud::test
