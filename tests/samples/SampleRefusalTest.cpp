#include "tests/samples/SampleFixture.h"

#include <gtest/gtest.h>

#include <fstream>

namespace fs = std::filesystem;

namespace {
std::string errorOf(const samples::SampleOptions& options) {
    return samples::makeSampleCorridor(options).value_or("");
}
} // namespace

TEST(SampleRefusal, WrongSizesAreRefusedAndLeaveNothing) {
    const TemporaryFolder home;
    for (const int cells : {-1, 0, 1008, 1025, 32784}) {
        samples::SampleOptions options;
        options.directory = (home.path() / "sample").u8string();
        options.cells = cells;
        EXPECT_NE(errorOf(options).find(std::to_string(cells)), std::string::npos) << cells;
    }
    EXPECT_TRUE(home.names().empty());
}

TEST(SampleRefusal, NoFolderNameIsRefused) {
    EXPECT_NE(errorOf({}), "");
}

TEST(SampleRefusal, AFilledFolderIsLeftAlone) {
    const TemporaryFolder home;
    const fs::path folder = home.path() / "mine";
    fs::create_directory(folder);
    std::ofstream(folder / "notes.txt") << "keep";
    const std::string error = makeSmallSample(folder, 1);
    EXPECT_NE(error.find("mine"), std::string::npos);
    EXPECT_EQ(error.find('\n'), std::string::npos);
    EXPECT_EQ(fs::file_size(folder / "notes.txt"), 4u);
    EXPECT_EQ(home.names(), std::vector<std::string>{"mine"});
}

TEST(SampleRefusal, AFileInTheWayIsLeftAlone) {
    const TemporaryFolder home;
    std::ofstream(home.path() / "file") << "keep";
    EXPECT_NE(makeSmallSample(home.path() / "file", 1), "");
    EXPECT_EQ(fs::file_size(home.path() / "file"), 4u);
}

TEST(SampleRefusal, AnEmptyFolderIsUsed) {
    const TemporaryFolder home;
    fs::create_directory(home.path() / "empty");
    EXPECT_EQ(makeSmallSample(home.path() / "empty", 3), "");
    EXPECT_TRUE(fs::exists(home.path() / "empty" / "project.json"));
    EXPECT_EQ(home.names(), std::vector<std::string>{"empty"});
}

TEST(SampleRefusal, CancellingLeavesNothing) {
    const TemporaryFolder home;
    samples::SampleOptions options;
    options.directory = (home.path() / "sample").u8string();
    options.cells = samples::SampleOptions::kSmallestCells;
    double reached = 0.0;
    const auto error = samples::makeSampleCorridor(options, [&](double done) {
        reached = done;
        return done < 0.3;
    });
    ASSERT_TRUE(error.has_value());
    EXPECT_GE(reached, 0.3);
    EXPECT_LT(reached, 1.0);
    EXPECT_TRUE(home.names().empty());
}
