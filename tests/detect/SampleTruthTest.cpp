// The generated corridor, whose changes are known, found by the program as an inspector runs it.

#include "tests/detect/Program.h"
#include "tests/detect/TestRasters.h"
#include "tests/detect/TruthScore.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace detect::test {
namespace {

class SampleTruth : public testing::Test {
protected:
    static void SetUpTestSuite() {
        s_folder = std::make_unique<TemporaryFolder>();
        const ProgramRun made =
            runCorridor({"sample", s_folder->file("sample"), "--seed", "2026", "--size", "2048", "--quiet"});
        ASSERT_EQ(made.status, 0) << made.messages;
    }
    static void TearDownTestSuite() { s_folder.reset(); }

    static TruthScore scoreOf(const std::vector<std::string>& more) {
        std::vector<std::string> epochs;
        for (const auto& entry :
             std::filesystem::directory_iterator(s_folder->path() / "sample" / "epochs")) {
            epochs.push_back((entry.path() / "dsm.tif").string());
        }
        std::sort(epochs.begin(), epochs.end());
        const std::string result = s_folder->file("result.gpkg");
        std::vector<std::string> arguments{"detect",      "--old", epochs.front(), "--new",
                                           epochs.back(), "--out", result,         "--quiet"};
        arguments.insert(arguments.end(), more.begin(), more.end());
        const ProgramRun run = runCorridor(arguments);
        EXPECT_EQ(run.status, 0) << run.messages;
        const auto score = scoreAgainstTruth(s_folder->file("sample/truth.gpkg"), result);
        EXPECT_TRUE(score);
        return score.value_or(TruthScore());
    }

    static double rightClasses(const TruthScore& score) {
        const auto right =
            std::count_if(score.changes.begin(), score.changes.end(),
                          [](const ScoredChange& c) { return c.suggestedClass == c.knownClass; });
        return static_cast<double>(right) / static_cast<double>(score.changes.size());
    }

    static std::unique_ptr<TemporaryFolder> s_folder;
};

std::unique_ptr<TemporaryFolder> SampleTruth::s_folder;

TEST_F(SampleTruth, EveryChangeIsFoundWithItsVolumeAndClass) {
    for (const char* method : {"bias", "full"}) {
        const TruthScore score = scoreOf({"--coregister", method});
        EXPECT_GT(score.changes.size(), 20U);
        EXPECT_EQ(score.recall, 1.0) << method;
        EXPECT_EQ(score.precision, 1.0) << method;
        EXPECT_LT(score.volumeError, 0.01) << method;
        // The known volumes leave out what lies below 0.25 m, a tenth of the gentlest bowl; the rim takes it in.
        EXPECT_LT(score.worstVolumeError, 0.12) << method;
        EXPECT_GT(rightClasses(score), 0.9) << method;
    }
}

TEST_F(SampleTruth, SignificanceFindsThemWithoutAThreshold) {
    const TruthScore score = scoreOf({"--confidence", "0.99"});
    EXPECT_GE(score.recall, 0.95);
    EXPECT_GE(score.precision, 0.95);
    EXPECT_LT(score.volumeError, 0.03);
}

} // namespace
} // namespace detect::test
