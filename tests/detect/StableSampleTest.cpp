#include "detect/coregister/StableSample.h"
#include "tests/detect/MisregisteredPair.h"

#include <gtest/gtest.h>

#include <tuple>

namespace detect::test {
namespace {

auto figures(const Coregistration& c) {
    return std::make_tuple(c.dxMetres, c.dyMetres, c.dzMetres, c.tiltEast, c.tiltNorth, c.iterations,
                           c.nmadBeforeMetres, c.nmadAfterMetres, c.stableShare, c.sigmaMetres,
                           c.sigmaPerSlopeMetres, c.refusal);
}

/// Tiles so large that a million cells are in fewer of them than there are threads, and small ones.
class Tiles : public testing::TestWithParam<RasterPlan> {};

TEST_P(Tiles, NumberOfThreadsChangesNothing) {
    MisregisteredPair pair;
    pair.oldPlan = pair.newPlan = GetParam();
    pair.ground = hills;
    Random noise(17);
    pair.change = [&](const Point&) { return 0.1 * noise(); };
    pair.truth = {0.17, -0.21, 0.35, 1e-4, 0.0};
    Request request = pair.write();
    for (const auto method : {CoregistrationMethod::Bias, CoregistrationMethod::Full}) {
        request.parameters.coregistration = method;
        const auto alone = figures(estimateOrFail(request, 1));
        EXPECT_EQ(figures(estimateOrFail(request, 2)), alone);
        EXPECT_EQ(figures(estimateOrFail(request, 7)), alone);
    }
}

RasterPlan tiledPlan(int columns, int rows, int tileColumns, int tileRows) {
    RasterPlan plan;
    plan.columns = columns;
    plan.rows = rows;
    plan.creationOptions = {"TILED=YES", "BLOCKXSIZE=" + std::to_string(tileColumns),
                            "BLOCKYSIZE=" + std::to_string(tileRows)};
    return plan;
}

INSTANTIATE_TEST_SUITE_P(StableSample, Tiles,
                         testing::Values(tiledPlan(1024, 2048, 1024, 256), tiledPlan(300, 300, 16, 16)));

TEST(StableSample, SlopedCellsAreSpreadOverAllColumns) {
    MisregisteredPair pair;
    pair.oldPlan = pair.newPlan = tiledPlan(1024, 1024, 256, 256);
    // The height tells the column.
    pair.ground = [](const Point& p) { return (p.x - 500000.0) / 0.5; };
    const Request request = pair.write();
    auto layout = layOutPair(request);
    ASSERT_TRUE(layout);
    auto taken = takeSample(*layout, false, 2, {});
    ASSERT_TRUE(taken);
    const auto& sample = *taken;
    EXPECT_TRUE(sample.patches.empty());
    EXPECT_GT(sample.sloped.size(), 60000U);
    EXPECT_LT(sample.sloped.size(), 120000U);
    for (const SlopedDifference& cell : sample.sloped) {
        ASSERT_NEAR(cell.slopeSquared, 4.0, 1e-3);
    }
}

} // namespace
} // namespace detect::test
