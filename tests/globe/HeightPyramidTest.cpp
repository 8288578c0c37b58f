#include "globe/src/terrain/HeightPyramid.h"

#include <gtest/gtest.h>

#include <cmath>

namespace {

using osgEarth::CellWindow;
using osgEarth::HeightPyramid;

constexpr int kColumns = 700; // neither a multiple of the blocks nor of the steps
constexpr int kRows = 300;

/// A plane, whose means over any cells are its heights at their middle.
float planeAt(double column, double row) {
    return static_cast<float>(100.0 + 0.5 * column - 0.25 * row);
}

std::vector<float> planeIn(const CellWindow& window) {
    std::vector<float> heights;
    const double middle = window.step / 2.0;
    for (int row = window.row; row < window.row + window.height; row += window.step) {
        for (int column = window.column; column < window.column + window.width; column += window.step) {
            heights.push_back(planeAt(column + middle, row + middle));
        }
    }
    return heights;
}

CellWindow window(int column, int row, int width, int height, int step) {
    CellWindow window;
    window.column = column;
    window.row = row;
    window.width = width;
    window.height = height;
    window.step = step;
    return window;
}

class HeightPyramidTest : public testing::Test {
protected:
    HeightPyramidTest() { bring(window(0, 0, kColumns, kRows, 4)); }

    void bring(const CellWindow& wanted) {
        for (const HeightPyramid::Place& place : m_pyramid.blocksOf(wanted)) {
            m_pyramid.insert(place, planeIn(m_pyramid.windowOf(place)));
        }
    }
    float greatestError(const CellWindow& wanted) {
        std::vector<float> heights;
        m_pyramid.read(wanted, heights);
        const std::vector<float> expected = planeIn(wanted);
        EXPECT_EQ(heights.size(), expected.size());
        float error = 0.0F;
        for (std::size_t i = 0; i < std::min(heights.size(), expected.size()); ++i) {
            error = std::isnan(heights[i]) ? INFINITY : std::max(error, std::abs(heights[i] - expected[i]));
        }
        return error;
    }

    HeightPyramid m_pyramid{kColumns, kRows, 4};
};

TEST_F(HeightPyramidTest, BlocksThatHaveComeAreReadAsTheyAre) {
    const CellWindow wanted = window(100, 30, 333, 222, 1);
    bring(wanted);
    EXPECT_EQ(greatestError(wanted), 0.0F);
    EXPECT_EQ(greatestError(window(0, 0, kColumns, kRows, 4)), 0.0F);
}

TEST_F(HeightPyramidTest, ACoarserBlockStandsInUntilTheFineOneHasCome) {
    const CellWindow inside = window(20, 20, 400, 200, 1);
    EXPECT_LT(greatestError(inside), 1e-3F) << "bilinear on a plane";
    const CellWindow rim = window(0, 0, kColumns, kRows, 1);
    EXPECT_GT(greatestError(rim), 0.0F);
    EXPECT_LT(greatestError(rim), 2.0F) << "the rim continues outwards by half a coarse cell";
    bring(rim);
    EXPECT_EQ(greatestError(rim), 0.0F);
}

TEST_F(HeightPyramidTest, OnlyWhatLacksIsTakenFromCoarserBlocks) {
    const std::vector<HeightPyramid::Place> places = m_pyramid.blocksOf(window(0, 0, 256, 128, 1));
    ASSERT_EQ(places.size(), 2U);
    m_pyramid.insert(places[0], std::vector<float>(std::size_t{128} * 128, 7.0F));
    std::vector<float> heights;
    m_pyramid.read(window(120, 0, 16, 1, 1), heights);
    EXPECT_EQ(heights[7], 7.0F);
    EXPECT_NEAR(heights[8], planeAt(128.5, 0.5), 2.0F);
}

TEST_F(HeightPyramidTest, CoarserThanAllIsTakenFromTheCoarsest) {
    std::vector<float> heights;
    m_pyramid.read(window(0, 0, kColumns, kRows, 64), heights);
    ASSERT_EQ(heights.size(), 11U * 5U);
    EXPECT_NEAR(heights[0], planeAt(32.0, 32.0), 1e-3F);
    EXPECT_NEAR(heights[1 * 11 + 3], planeAt(3 * 64 + 32.0, 64 + 32.0), 1e-3F);
}

TEST_F(HeightPyramidTest, TheLatestUsedBlocksStayAndTheCoarsestAlways) {
    HeightPyramid large(128 * 64, 128 * 64, 16);
    for (const HeightPyramid::Place& place : large.blocksOf(window(0, 0, 128 * 64, 128 * 64, 16))) {
        large.insert(place, planeIn(large.windowOf(place)));
    }
    const HeightPyramid::Place first{1, 0, 0};
    const HeightPyramid::Place second{1, 1, 0};
    std::vector<float> heights;
    for (int count = 0; count <= int(HeightPyramid::kMostBlocks); ++count) {
        const HeightPyramid::Place place{1, count % 64, count / 64};
        large.insert(place, planeIn(large.windowOf(place)));
        large.read(window(0, 0, 1, 1, 1), heights); // of the first block
    }
    EXPECT_TRUE(large.has(first));
    EXPECT_FALSE(large.has(second));
    EXPECT_TRUE(large.has({16, 0, 0}));
}

} // namespace
