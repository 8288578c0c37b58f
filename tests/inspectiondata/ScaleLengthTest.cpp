#include "workbench/inspectiondata/text/ScaleLength.h"

#include <gtest/gtest.h>

namespace {

using inspection::scaleLengthBelow;

TEST(ScaleLength, ShowsOneTwoOrFiveTimesAPowerOfTen) {
    EXPECT_EQ(scaleLengthBelow(340.0).text, "200 m");
    EXPECT_EQ(scaleLengthBelow(500.0).text, "500 m");
    EXPECT_EQ(scaleLengthBelow(0.7).text, "0.5 m");
    EXPECT_EQ(scaleLengthBelow(99.0).metres, 50.0);
    EXPECT_EQ(scaleLengthBelow(1999.0).text, "1 km");
    EXPECT_EQ(scaleLengthBelow(7.0e6).text, "5000 km");
}

} // namespace
