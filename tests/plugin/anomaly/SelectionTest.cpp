#include "anomaly/Selection.h"
#include "plugin/ClickTest.h"

#include <gtest/gtest.h>

namespace {

using namespace anomaly;

TEST(Click, MayStrayThreePixelsSidewaysAndUpwards) {
    EXPECT_TRUE(isClick(103.0F, 103.0F, 100, 100));
    EXPECT_TRUE(isClick(97.0F, 100.0F, 100, 100));
    EXPECT_FALSE(isClick(104.0F, 100.0F, 100, 100));
    EXPECT_FALSE(isClick(96.0F, 100.0F, 100, 100));
    EXPECT_FALSE(isClick(100.0F, 104.0F, 100, 100));
}

TEST(Click, MayStrayAnyWayTowardsSmallerY) {
    EXPECT_TRUE(isClick(100.0F, 90.0F, 100, 100));
    EXPECT_TRUE(isClick(100.0F, -5000.0F, 100, 100));
    EXPECT_FALSE(isClick(104.0F, 90.0F, 100, 100)) << "the horizontal test is not one-sided";
}

TEST(HoverPressed, OnNothingLetsGoOfEverything) {
    const HoverPress press = pressHovered(kNothingPicked, 7);
    EXPECT_TRUE(press.isCleared);
    EXPECT_FALSE(press.takesPicked);
    EXPECT_EQ(press.lastPickedId, kNothingPicked);
}

TEST(HoverPressed, OnAnotherObjectTakesItInPlaceOfTheOld) {
    const HoverPress press = pressHovered(8, 7);
    EXPECT_TRUE(press.isCleared);
    EXPECT_TRUE(press.takesPicked);
    EXPECT_EQ(press.lastPickedId, 8);
}

TEST(HoverPressed, OnTheSameObjectChangesNothing) {
    const HoverPress press = pressHovered(7, 7);
    EXPECT_FALSE(press.isCleared);
    EXPECT_FALSE(press.takesPicked);
    EXPECT_EQ(press.lastPickedId, 7);
}

TEST(HoverPressed, TheFirstTimeTakesTheObject) {
    const HoverPress press = pressHovered(7, kNothingPicked);
    EXPECT_TRUE(press.takesPicked);
    EXPECT_EQ(press.lastPickedId, 7);
}

TEST(Bounds, AreHitStrictlyInsideOnly) {
    const std::vector<Box> boxes{{0, 0, 2, 2}, {1, 1, 3, 3}, {5, 5, 6, 6}};
    EXPECT_EQ(hitByBounds(boxes, {1.5, 1.5}), (std::vector<std::size_t>{0, 1}));
    EXPECT_EQ(hitByBounds(boxes, {1.0, 1.5}), (std::vector<std::size_t>{0})) << "on the second one's edge";
    EXPECT_TRUE(hitByBounds(boxes, {2.0, 3.0}).empty());
    EXPECT_TRUE(hitByBounds({}, {0, 0}).empty());
}

TEST(Nearest, CentreWinsAndTheFirstOfEquallyNearOnes) {
    EXPECT_EQ(nearestCentre({{0, 0}, {3, 0}}, {2, 0}), 1U);
    EXPECT_EQ(nearestCentre({{0, 0}, {2, 0}}, {1, 0}), 0U);
    EXPECT_EQ(nearestCentre({{2, 0}, {0, 0}, {1, 1}}, {1, 0}), 0U);
    EXPECT_EQ(nearestCentre({}, {1, 0}), std::nullopt);
}

TEST(Frame, TakesInWhatItContainsEdgesIncludedAndLetsGoOfTheRest) {
    const Box frame{0, 0, 10, 10};
    EXPECT_EQ(frameChange(frame, {10, 0}, false), FrameChange::Enters);
    EXPECT_EQ(frameChange(frame, {5, 5}, true), FrameChange::None);
    EXPECT_EQ(frameChange(frame, {10.1, 5}, true), FrameChange::Leaves);
    EXPECT_EQ(frameChange(frame, {-1, 5}, false), FrameChange::None);
}

} // namespace
