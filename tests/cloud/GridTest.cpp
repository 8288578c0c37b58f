#include "cloud/GapCloser.h"
#include "cloud/HighestGrid.h"
#include "cloud/ReturnStore.h"
#include "tests/support/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <random>

namespace cloud::test {

namespace {

constexpr float kEmpty = std::numeric_limits<float>::quiet_NaN();

// Sixteen blocks, of which five fit into memory.
TEST(HighestGrid, KeepsWhatWaitsInTheScratchFile) {
    const TemporaryFolder folder;
    constexpr int kSide = 1000;
    {
        HighestGrid grid(kSide, kSide, folder.file("scratch"), 5 << 18);
        std::vector<float> expected(std::size_t{kSide} * kSide, kEmpty);
        std::mt19937 random(3);
        std::uniform_int_distribution<int> cell(0, kSide - 1);
        std::uniform_real_distribution<float> height(-10.0F, 10.0F);
        for (int i = 0; i < 5000; ++i) {
            const int column = cell(random);
            const int row = cell(random);
            const float z = height(random);
            ASSERT_TRUE(grid.raise(column, row, z));
            float& kept = expected[static_cast<std::size_t>(row * kSide + column)];
            kept = std::isnan(kept) ? z : std::max(kept, z);
        }
        EXPECT_EQ(folder.names(), std::vector<std::string>{"scratch"});
        std::vector<float> heights;
        ASSERT_TRUE(grid.read({0, 0, kSide, kSide}, heights));
        std::size_t wrong = 0;
        for (std::size_t i = 0; i < expected.size(); ++i) {
            wrong += std::isnan(expected[i]) ? !std::isnan(heights[i]) : heights[i] != expected[i];
        }
        EXPECT_EQ(wrong, 0U);
    }
    EXPECT_EQ(folder.names(), std::vector<std::string>{}) << "the scratch file goes with the grid";
}

TEST(HighestGrid, SaysWhenTheScratchFileCannotBeWritten) {
    HighestGrid grid(1000, 1000, "/nonexistent/scratch", 1);
    Status done;
    for (int column = 0; column < 1000 && done; ++column) {
        for (int row = 0; row < 1000 && done; row += 100) {
            done = grid.raise(column, row, 1.0F);
        }
    }
    ASSERT_FALSE(done);
    EXPECT_EQ(done.error().message, "/nonexistent/scratch：无法写入临时文件，磁盘可能已满");
}

/// As numpy.percentile gives it where nothing else is asked for: sorted, and linear between neighbours.
float plainPercentile(std::vector<float> heights, double percent) {
    std::sort(heights.begin(), heights.end());
    const double rank = percent / 100.0 * static_cast<double>(heights.size() - 1);
    const auto low = static_cast<std::size_t>(std::floor(rank));
    const std::size_t high = std::min(low + 1, heights.size() - 1);
    return static_cast<float>(heights[low] +
                              (rank - static_cast<double>(low)) * (heights[high] - heights[low]));
}

struct StoreCase {
    double percent;
    std::size_t mostBytes;
};

class EveryStore : public testing::TestWithParam<StoreCase> {};

// Crowded cells and cells with one return, in four blocks; from all in memory to hardly any, where a crowded cell is
// larger than what may be held.
TEST_P(EveryStore, GivesThePercentileOfEachCell) {
    const TemporaryFolder folder;
    constexpr int kColumns = 300;
    constexpr int kRows = 270;
    std::vector<std::vector<float>> expected(std::size_t{kColumns} * kRows);
    HighestGrid grid(kColumns, kRows, folder.file("scratch"));
    {
        ReturnStore store(kColumns, kRows, folder.file("returns"), GetParam().mostBytes);
        std::mt19937 random(5);
        std::geometric_distribution<int> crowd(0.3);
        std::uniform_int_distribution<int> column(0, kColumns - 1);
        std::uniform_real_distribution<float> height(-30.0F, 60.0F);
        for (int i = 0; i < 20000; ++i) {
            const int x = i % 4 == 0 ? column(random) : std::min(crowd(random), kColumns - 1);
            const int y = std::min(crowd(random) * 90, kRows - 1);
            const float z = height(random);
            ASSERT_TRUE(store.add(x, y, z));
            expected[static_cast<std::size_t>(y * kColumns + x)].push_back(z);
        }
        ASSERT_TRUE(store.percentiles(GetParam().percent, grid, {}));
    }
    std::vector<float> heights;
    ASSERT_TRUE(grid.read({0, 0, kColumns, kRows}, heights));
    std::size_t wrong = 0;
    for (std::size_t i = 0; i < expected.size(); ++i) {
        wrong += expected[i].empty() ? !std::isnan(heights[i])
                                     : heights[i] != plainPercentile(expected[i], GetParam().percent);
    }
    EXPECT_EQ(wrong, 0U);
    EXPECT_EQ(folder.names(), std::vector<std::string>{}) << "the scratch file goes with the store";
}

INSTANTIATE_TEST_SUITE_P(Percentiles, EveryStore,
                         testing::Values(StoreCase{50.0, 64u << 20}, StoreCase{95.0, 100000},
                                         StoreCase{37.5, 2000}, StoreCase{0.0, 2000}, StoreCase{12.0, 2000},
                                         StoreCase{100.0, 2000}),
                         [](const auto& one) {
                             return "Percent" + std::to_string(static_cast<int>(one.param.percent)) +
                                    "Bytes" + std::to_string(one.param.mostBytes);
                         });

TEST(ReturnStore, SaysWhenTheScratchFileCannotBeWritten) {
    ReturnStore store(1000, 1000, "/nonexistent/returns", 1);
    Status done;
    for (int i = 0; i < 1000 && done; ++i) {
        done = store.add(i, 500, 1.0F);
    }
    ASSERT_FALSE(done);
    EXPECT_EQ(done.error().message, "/nonexistent/returns：无法写入临时文件，磁盘可能已满");
}

TEST(GapCloser, MeasuresAGapFromSideToSide) {
    // Three empty cells: each is within two steps of a height, but two is all that may be closed.
    std::vector<float> row{1.0F, kEmpty, kEmpty, kEmpty, 5.0F};
    EXPECT_EQ(GapCloser(2).close(row, 5, {0, 0, 5, 1}), 0);
    EXPECT_EQ(GapCloser(3).close(row, 5, {0, 0, 5, 1}), 3);
    EXPECT_FLOAT_EQ(row[1], 2.0F);
    EXPECT_FLOAT_EQ(row[2], 3.0F);
    EXPECT_FLOAT_EQ(row[3], 4.0F);
}

TEST(GapCloser, TakesNoClosedCellForAMeasuredOne) {
    std::vector<float> cells{1.0F,   kEmpty, 1.0F,   //
                             kEmpty, kEmpty, kEmpty, //
                             kEmpty, kEmpty, kEmpty};
    EXPECT_EQ(GapCloser(1).close(cells, 3, {0, 0, 3, 3}), 1);
    EXPECT_FLOAT_EQ(cells[1], 1.0F);
}

} // namespace

} // namespace cloud::test
