#include "detect/coregister/GroundScatter.h"
#include "tests/detect/MisregisteredPair.h"

#include <gtest/gtest.h>

#include <cmath>

namespace detect::test {
namespace {

/// Cells with slopes up to about one, dZ of the deviation told by the two figures about a level of 2 m.
std::vector<SlopedDifference> scattered(double sigma, double perSlope, double changedShare,
                                        std::size_t cells) {
    Random random(5);
    std::vector<SlopedDifference> made;
    for (std::size_t i = 0; i < cells; ++i) {
        const double slope = random();
        const double deviation = std::hypot(sigma, perSlope * slope);
        const double dz = random() < changedShare ? 3.0 + random() : deviation * normal(random);
        made.push_back({static_cast<float>(slope * slope), static_cast<float>(2.0 + dz)});
    }
    return made;
}

TEST(GroundScatter, TellsLevelGroundFromSlopes) {
    const auto found = scatterOnSlopes(scattered(0.05, 0.2, 0.0, 60000), 2.0);
    ASSERT_TRUE(found);
    EXPECT_NEAR(found->sigmaMetres, 0.05, 0.0025);
    EXPECT_NEAR(found->sigmaPerSlopeMetres, 0.2, 0.008);
}

TEST(GroundScatter, ChangesWeighLittle) {
    const auto found = scatterOnSlopes(scattered(0.05, 0.2, 0.25, 60000), 2.0);
    ASSERT_TRUE(found);
    EXPECT_NEAR(found->sigmaMetres, 0.05, 0.006);
    EXPECT_NEAR(found->sigmaPerSlopeMetres, 0.2, 0.02);
}

TEST(GroundScatter, SlopesWithoutInfluenceCountForNothing) {
    const auto found = scatterOnSlopes(scattered(0.05, 0.0, 0.1, 60000), 2.0);
    ASSERT_TRUE(found);
    EXPECT_NEAR(found->sigmaMetres, 0.05, 0.002);
    EXPECT_EQ(found->sigmaPerSlopeMetres, 0.0);
}

TEST(GroundScatter, FewCellsGiveOneFigureAndFewerNone) {
    const auto found = scatterOnSlopes(scattered(0.05, 0.0, 0.0, 150), 2.0);
    ASSERT_TRUE(found);
    EXPECT_NEAR(found->sigmaMetres, 0.05, 0.015);
    EXPECT_EQ(found->sigmaPerSlopeMetres, 0.0);
    EXPECT_FALSE(scatterOnSlopes(scattered(0.05, 0.0, 0.0, 99), 2.0));
}

TEST(GroundScatter, PerfectDataHaveNone) {
    const auto found = scatterOnSlopes(std::vector<SlopedDifference>(5000, {0.25F, 2.0F}), 2.0);
    ASSERT_TRUE(found);
    EXPECT_EQ(found->sigmaMetres, 0.0);
    EXPECT_EQ(found->sigmaPerSlopeMetres, 0.0);
}

MisregisteredPair noisyHills() {
    MisregisteredPair pair;
    pair.oldPlan.columns = pair.newPlan.columns = 400;
    pair.oldPlan.rows = pair.newPlan.rows = 360;
    pair.ground = hills;
    pair.truth.dzMetres = 0.35;
    pair.truth.noiseMetres = 0.05;
    return pair;
}

TEST(GroundScatter, EveryMethodTellsTheNoiseOfBothEpochs) {
    Request request = noisyHills().write();
    for (const auto method :
         {CoregistrationMethod::None, CoregistrationMethod::Bias, CoregistrationMethod::Full}) {
        request.parameters.coregistration = method;
        const Coregistration found = estimateOrFail(request);
        EXPECT_NEAR(found.sigmaMetres, 0.05 * std::sqrt(2.0), 0.003);
        EXPECT_EQ(found.sigmaPerSlopeMetres, 0.0);
        EXPECT_GT(found.stableShare, 0.99);
    }
}

TEST(GroundScatter, AShiftLeftInPlaceShowsOnSlopes) {
    MisregisteredPair pair = noisyHills();
    pair.truth.dxMetres = pair.truth.dyMetres = 0.3;
    Request request = pair.write();
    request.parameters.coregistration = CoregistrationMethod::Bias;
    const Coregistration left = estimateOrFail(request);
    // Its whole length on slopes that face along it, nothing on those across.
    EXPECT_GT(left.sigmaPerSlopeMetres, 0.2);
    EXPECT_LT(left.sigmaPerSlopeMetres, 0.3 * std::sqrt(2.0));
    request.parameters.coregistration = CoregistrationMethod::Full;
    EXPECT_LT(estimateOrFail(request).sigmaPerSlopeMetres, 0.03);
}

TEST(GroundScatter, OneRowOfCellsStillHasAScatter) {
    MisregisteredPair pair = noisyHills();
    pair.oldPlan.rows = pair.newPlan.rows = 1;
    Request request = pair.write();
    request.parameters.coregistration = CoregistrationMethod::Bias;
    const Coregistration found = estimateOrFail(request);
    EXPECT_NEAR(found.sigmaMetres, 0.05 * std::sqrt(2.0), 0.02);
    EXPECT_EQ(found.sigmaPerSlopeMetres, 0.0);
}

} // namespace
} // namespace detect::test
