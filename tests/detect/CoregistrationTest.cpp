#include "tests/detect/MisregisteredPair.h"

#include <gtest/gtest.h>

#include <cmath>

namespace detect::test {
namespace {

/// The new epoch lies `dx` west, `dy` south and `dz` below where it belongs.
Request shiftedHills(double dx, double dy, double dz, double noiseMetres) {
    MisregisteredPair pair;
    pair.oldPlan.columns = pair.newPlan.columns = 400;
    pair.oldPlan.rows = pair.newPlan.rows = 360;
    pair.ground = hills;
    pair.truth.dxMetres = dx;
    pair.truth.dyMetres = dy;
    pair.truth.dzMetres = dz;
    pair.truth.noiseMetres = noiseMetres;
    return pair.write();
}

TEST(Coregistration, FullLeavesNoChangesBehindWhereOnlyTheEpochMoved) {
    Request request = shiftedHills(1.3, -0.8, 0.4, 0.05);
    request.parameters.coregistration = CoregistrationMethod::Bias;
    EXPECT_GT(detectOrFail(request).anomalies.size(), 10U);
    request.parameters.coregistration = CoregistrationMethod::Full;
    EXPECT_TRUE(detectOrFail(request).anomalies.empty());
}

TEST(Coregistration, LengthsAreMetresOnLongitudeAndLatitude) {
    RasterPlan plan;
    plan.epsg = 4326;
    plan.columns = 300;
    plan.rows = 300;
    const double cell = 1.0 / 1200.0;
    plan.toMap = {40.0, cell, 0.0, 60.0, 0.0, -cell};
    const auto relief = [&](const Point& p) {
        const double x = (p.x - 40.0) / cell;
        const double y = (p.y - 60.0) / cell;
        return 1500.0 + 200.0 * std::sin(x / 13.0) * std::cos(y / 11.0) +
               60.0 * std::sin((x + 2.0 * y) / 9.0);
    };
    Request request;
    request.oldRaster = "/vsimem/relief-old.tif";
    request.newRaster = "/vsimem/relief-new.tif";
    request.parameters.coregistration = CoregistrationMethod::Full;
    writeRaster(request.oldRaster, plan, relief);
    writeRaster(request.newRaster, plan,
                [&](const Point& p) { return relief({p.x + 0.6 * cell, p.y - 0.4 * cell}); });
    const Coregistration found = estimateOrFail(request);
    EXPECT_NEAR(found.dxCells, 0.6, 0.03);
    EXPECT_NEAR(found.dyCells, -0.4, 0.03);
    // At 60 degrees a degree of longitude is 55.8 km and one of latitude 111.4 km (WGS 84).
    EXPECT_NEAR(found.dxMetres, 0.6 * cell * 55801.0, 1.5);
    EXPECT_NEAR(found.dyMetres, -0.4 * cell * 111412.0, 3.0);
}

TEST(Coregistration, EstimateCanBeCancelled) {
    const Request request = shiftedHills(0.2, 0.2, 0.0, 0.05);
    const auto outcome = estimateCoregistration(request, [](double) { return false; });
    ASSERT_FALSE(outcome);
    EXPECT_TRUE(outcome.error().cancelled);
}

} // namespace
} // namespace detect::test
