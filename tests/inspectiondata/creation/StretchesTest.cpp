#include "workbench/inspectiondata/creation/Stretches.h"

#include <gtest/gtest.h>

namespace {

using namespace inspection;

Centerline straight(double length, double start = 0.0) {
    Centerline line;
    line.vertices = chainagesFrom({{0, 0}, {length, 0}}, start);
    return line;
}

TEST(StretchesTest, AreNamedByChainageAndHoldAllGroundWithinTheHalfWidth) {
    const auto stretches = stretchesAlong(straight(500), 250, 100);
    ASSERT_EQ(stretches.size(), 2U);
    EXPECT_EQ(stretches[0].name, QStringLiteral("K0+000—K0+250"));
    EXPECT_EQ(stretches[1].name, QStringLiteral("K0+250—K0+500"));
    EXPECT_DOUBLE_EQ(stretches[1].startMetres, 250.0);
    EXPECT_DOUBLE_EQ(stretches[1].box.xMin, 150.0);
    EXPECT_DOUBLE_EQ(stretches[1].box.xMax, 600.0);
    EXPECT_DOUBLE_EQ(stretches[1].box.yMin, -100.0);
    EXPECT_DOUBLE_EQ(stretches[1].box.yMax, 100.0);
}

TEST(StretchesTest, AShortRestGoesWithTheLastStretch) {
    EXPECT_EQ(stretchesAlong(straight(549), 250, 10).size(), 2U);
    EXPECT_DOUBLE_EQ(stretchesAlong(straight(549), 250, 10).back().endMetres, 549.0);
    EXPECT_EQ(stretchesAlong(straight(551), 250, 10).size(), 3U);
    EXPECT_EQ(stretchesAlong(straight(30), 250, 10).size(), 1U);
}

TEST(StretchesTest, ChainagesGoOnFromTheStart) {
    const auto stretches = stretchesAlong(straight(500, 12500), 250, 10);
    EXPECT_EQ(stretches.front().name, QStringLiteral("K12+500—K12+750"));
    EXPECT_DOUBLE_EQ(stretches.back().endMetres, 13000.0);
}

TEST(StretchesTest, BendsWithinAStretchLieInItsBox) {
    Centerline line;
    line.vertices = chainagesFrom({{0, 0}, {90, 80}, {180, 0}, {600, 0}}, 0.0);
    const auto stretches = stretchesAlong(line, 250, 10);
    EXPECT_DOUBLE_EQ(stretches[0].box.yMax, 90.0);
    EXPECT_DOUBLE_EQ(stretches[1].box.yMax, 10.0);
    for (std::size_t i = 1; i < stretches.size(); ++i) {
        EXPECT_LE(stretches[i].box.xMin, stretches[i - 1].box.xMax); // no ground between them is lost
    }
}

TEST(StretchesTest, AreCutToTheDataAndLeftOutWhereThereIsNone) {
    const std::vector<Stretch> stretches = stretchesAlong(straight(1000), 250, 100);
    const detect::Box area{0, -50, 800, 500};
    const auto kept = stretchesWithData(stretches, area, [](double x, double) { return x < 400.0; });
    ASSERT_EQ(kept.size(), 2U);
    EXPECT_DOUBLE_EQ(kept[0].box.xMin, 0.0);
    EXPECT_DOUBLE_EQ(kept[0].box.yMin, -50.0);
    EXPECT_TRUE(
        stretchesWithData(stretches, {2000, 0, 3000, 100}, [](double, double) { return true; }).empty());
}

TEST(StretchesTest, OverAnAreaBoxesAreNearlySquareAndADozenAtMost) {
    EXPECT_EQ(stretchesOver({0, 0, 100, 100}, 1e6).size(), 1U);
    const auto many = stretchesOver({0, 0, 3000, 1000}, 1e9);
    EXPECT_EQ(many.size(), 12U);
    EXPECT_EQ(many.front().name, QStringLiteral("1号区"));
    double area = 0.0;
    for (const Stretch& stretch : many) {
        area += (stretch.box.xMax - stretch.box.xMin) * (stretch.box.yMax - stretch.box.yMin);
    }
    EXPECT_DOUBLE_EQ(area, 3e6);
}

} // namespace
