#include "workbench/inspectiondata/creation/LineJoin.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>

namespace {

using namespace inspection;

bool isSame(const LineVertex& a, const LineVertex& b) {
    return a.x == b.x && a.y == b.y && a.z == b.z;
}

TEST(LineJoinTest, PartsInAnyOrderAndDirectionBecomeTheLineOfTheFirstOne) {
    std::mt19937 random(7);
    LinePart whole;
    for (int i = 0; i <= 60; ++i) {
        whole.push_back({i * 10.0, i % 7 * 3.0, i * 0.5});
    }
    for (int trial = 0; trial < 200; ++trial) {
        std::vector<LinePart> parts;
        for (std::size_t begin = 0; begin + 1 < whole.size();) {
            const std::size_t length = 1 + random() % 9;
            const std::size_t end = std::min(begin + length, whole.size() - 1);
            parts.emplace_back(whole.begin() + static_cast<std::ptrdiff_t>(begin),
                               whole.begin() + static_cast<std::ptrdiff_t>(end) + 1);
            begin = end;
        }
        std::shuffle(parts.begin(), parts.end(), random);
        std::vector<bool> turned;
        for (LinePart& part : parts) {
            turned.push_back(random() % 2 == 0);
            if (turned.back()) {
                std::reverse(part.begin(), part.end());
            }
        }
        LinePart expected = whole;
        if (turned.front()) {
            std::reverse(expected.begin(), expected.end());
        }
        const auto line = joinEndToEnd(parts, 1.0);
        ASSERT_TRUE(line.has_value()) << "trial " << trial;
        EXPECT_TRUE(std::equal(line->begin(), line->end(), expected.begin(), expected.end(), isSame))
            << "trial " << trial;
    }
}

TEST(LineJoinTest, EndsThatAreNearlyTogetherMeetAndBothStay) {
    const auto line = joinEndToEnd({{{0, 0}, {10, 0}}, {{10.9, 0}, {20, 0}}}, 1.0);
    ASSERT_TRUE(line.has_value());
    EXPECT_EQ(line->size(), 4U);
}

TEST(LineJoinTest, AGapIsNamedByItsPlaceAndWidth) {
    const auto line = joinEndToEnd({{{0, 0}, {10, 0}}, {{45, 0}, {60, 0}}, {{0, 0}, {0, -10}}}, 1.0);
    ASSERT_FALSE(line.has_value());
    EXPECT_FALSE(line.error().isBranch);
    EXPECT_DOUBLE_EQ(line.error().x, 10.0);
    EXPECT_DOUBLE_EQ(line.error().y, 0.0);
    EXPECT_DOUBLE_EQ(line.error().gap, 35.0);
}

TEST(LineJoinTest, ABranchIsNamedByItsPlace) {
    const auto line = joinEndToEnd({{{0, 0}, {10, 0}}, {{10, 0}, {20, 5}}, {{10, 0}, {20, -5}}}, 1.0);
    ASSERT_FALSE(line.has_value());
    EXPECT_TRUE(line.error().isBranch);
    EXPECT_DOUBLE_EQ(line.error().x, 10.0);
}

TEST(LineJoinTest, ARingWithATailIsABranch) {
    const auto line = joinEndToEnd({{{0, 0}, {10, 0}, {10, 10}, {0, 0}}, {{0, 0}, {-10, 0}}}, 1.0);
    ASSERT_FALSE(line.has_value());
    EXPECT_TRUE(line.error().isBranch);
}

TEST(LineJoinTest, RepeatedVerticesAndPartsWithoutLengthAreLeftOut) {
    const auto line = joinEndToEnd({{{5, 5}, {5, 5}}, {{0, 0}, {0, 0}, {10, 0}, {10, 0}}}, 1.0);
    ASSERT_TRUE(line.has_value());
    EXPECT_EQ(line->size(), 2U);
    EXPECT_TRUE(joinEndToEnd({{{5, 5}, {5, 5}}, {{1, 1}}}, 1.0)->empty());
    EXPECT_TRUE(joinEndToEnd({}, 1.0)->empty());
}

TEST(SelfCrossingTest, ACrossingIsFoundWhereItIs) {
    const auto place = selfCrossing({{0, 0}, {20, 0}, {20, 10}, {10, 10}, {10, -10}});
    ASSERT_TRUE(place.has_value());
    EXPECT_DOUBLE_EQ(place->x, 10.0);
    EXPECT_DOUBLE_EQ(place->y, 0.0);
}

TEST(SelfCrossingTest, OfSeveralCrossingsTheFirstAlongTheLineIsTold) {
    const auto place = selfCrossing({{0, 0}, {100, 0}, {100, 10}, {90, 10}, {90, -10}, {20, -10}, {20, 10}});
    ASSERT_TRUE(place.has_value());
    EXPECT_TRUE(place->x == 90.0 || place->x == 20.0);
    EXPECT_DOUBLE_EQ(place->y, 0.0);
}

TEST(SelfCrossingTest, ALineThatGoesBackOverItselfMeetsItself) {
    EXPECT_TRUE(selfCrossing({{0, 0}, {10, 0}, {4, 0}}).has_value());
    EXPECT_TRUE(selfCrossing({{0, 0}, {10, 0}, {10, 5}, {10, 0}, {20, 0}}).has_value());
}

TEST(SelfCrossingTest, AVertexOnAnEarlierSegmentIsAMeeting) {
    EXPECT_TRUE(selfCrossing({{0, 0}, {20, 0}, {20, 10}, {10, 0}, {10, -10}}).has_value());
}

TEST(SelfCrossingTest, BendsParallelsAndClosedRingsAreNone) {
    EXPECT_FALSE(selfCrossing({}).has_value());
    EXPECT_FALSE(selfCrossing({{0, 0}, {10, 0}, {20, 0}}).has_value());
    EXPECT_FALSE(selfCrossing({{0, 0}, {10, 0}, {10, 1}, {0, 1}, {0, 2}, {10, 2}}).has_value());
    EXPECT_FALSE(selfCrossing({{0, 0}, {10, 0}, {10, 10}, {0, 0}}).has_value());
    EXPECT_FALSE(selfCrossing({{0, 0}, {10, 10}, {30, 30}, {40, 30}, {50, 40}}).has_value());
}

} // namespace
