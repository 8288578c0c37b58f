#include "detect/coregister/RobustStatistics.h"
#include "tests/detect/MisregisteredPair.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace detect::test {
namespace {

TEST(RobustStatistics, CentreIgnoresAQuarterOfOutliers) {
    Random random(2);
    std::vector<float> values;
    for (int i = 0; i < 10000; ++i) {
        values.push_back(static_cast<float>(i % 4 == 0 ? 5.0 + random() : 1.0 + 0.1 * (random() - 0.5)));
    }
    const RobustCentre found = robustCentre(values);
    EXPECT_NEAR(found.centre, 1.0, 0.005);
    EXPECT_NEAR(found.stableShare, 0.75, 0.01);
}

TEST(RobustStatistics, NmadOfNormalValuesIsTheirStandardDeviation) {
    Random random(8);
    std::vector<float> values;
    for (int i = 0; i < 100000; ++i) {
        values.push_back(static_cast<float>(0.3 * normal(random)));
    }
    EXPECT_NEAR(nmad(values, 0.0), 0.3, 0.006);
}

TEST(RobustStatistics, StableNmadIsThatOfTheGroundBetweenChanges) {
    Random random(9);
    std::vector<float> values;
    for (int i = 0; i < 100000; ++i) {
        values.push_back(static_cast<float>(i % 10 < 3 ? 2.0 + random() : 0.3 * normal(random)));
    }
    EXPECT_NEAR(stableNmad(values, 0.0), 0.3, 0.015);
    const RobustCentre found = robustCentre(values);
    EXPECT_NEAR(found.stableNmad, 0.3, 0.02);
    EXPECT_GT(found.nmad, 0.4) << "changes widen the scatter of all";
}

} // namespace
} // namespace detect::test
