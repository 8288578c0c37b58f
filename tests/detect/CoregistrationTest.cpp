#include "detect/RobustStatistics.h"
#include "tests/detect/TestRasters.h"

#include <gtest/gtest.h>

#include <cmath>

namespace detect::test {
namespace {

double hills(const Point& p) {
    const double x = p.x - 500000.0;
    const double y = p.y - 3400000.0;
    return 300.0 + 12.0 * std::sin(x / 31.0) * std::cos(y / 27.0) + 5.0 * std::sin((x - 2.0 * y) / 19.0) +
           1.5 * std::cos((2.0 * x + y) / 6.0);
}

RasterPlan hillPlan() {
    RasterPlan plan;
    plan.columns = 400;
    plan.rows = 360;
    return plan;
}

/// The new epoch lies `dx` west, `dy` south and `dz` below where it belongs.
Request shiftedHills(double dx, double dy, double dz, double noiseMetres) {
    Request request;
    request.oldRaster = "/vsimem/hills-old.tif";
    request.newRaster = "/vsimem/hills-new.tif";
    request.parameters.coregistration = CoregistrationMethod::Full;
    Random random(11);
    const auto noise = [&] { return noiseMetres * (random() + random() - 1.0); };
    writeRaster(request.oldRaster, hillPlan(), [&](const Point& p) { return hills(p) + noise(); });
    writeRaster(request.newRaster, hillPlan(), [&](const Point& p) {
        return hills({p.x + dx, p.y + dy}) - dz + noise();
    });
    return request;
}

Coregistration estimate(const Request& request) {
    auto outcome = estimateCoregistration(request);
    if (const auto* failure = std::get_if<Failure>(&outcome)) {
        ADD_FAILURE() << failure->message;
        return {};
    }
    return std::get<Coregistration>(outcome);
}

TEST(Coregistration, FullFindsASubCellShiftAndTheBias) {
    const Coregistration found = estimate(shiftedHills(0.17, -0.21, 0.35, 0.05));
    EXPECT_NEAR(found.dxMetres, 0.17, 0.02);
    EXPECT_NEAR(found.dyMetres, -0.21, 0.02);
    EXPECT_NEAR(found.dzMetres, 0.35, 0.01);
    EXPECT_NEAR(found.dxCells, 0.34, 0.04);
    EXPECT_NEAR(found.dyCells, -0.42, 0.04);
    EXPECT_GT(found.iterations, 1);
    EXPECT_LT(found.nmadAfterMetres, 0.6 * found.nmadBeforeMetres);
}

TEST(Coregistration, FullFindsAShiftOfSeveralCells) {
    const Coregistration found = estimate(shiftedHills(-2.6, 1.9, -1.1, 0.05));
    EXPECT_NEAR(found.dxMetres, -2.6, 0.03);
    EXPECT_NEAR(found.dyMetres, 1.9, 0.03);
    EXPECT_NEAR(found.dzMetres, -1.1, 0.02);
}

TEST(Coregistration, FullFindsAShiftOfManyCells) {
    for (const Point& shift : {Point{-19.3, 14.2}, Point{27.15, 3.4}, Point{0.2, -29.9}}) {
        const Coregistration found = estimate(shiftedHills(shift.x, shift.y, 0.7, 0.05));
        EXPECT_NEAR(found.dxMetres, shift.x, 0.03);
        EXPECT_NEAR(found.dyMetres, shift.y, 0.03);
        EXPECT_NEAR(found.dzMetres, 0.7, 0.02);
    }
}

TEST(Coregistration, FullFindsAShiftOfManyCellsThoughAThirdOfTheGroundHasChanged) {
    Request request = shiftedHills(-21.4, 16.1, -0.3, 0.05);
    Random random(23);
    const auto noise = [&] { return 0.05 * (random() + random() - 1.0); };
    writeRaster(request.newRaster, hillPlan(), [&](const Point& p) {
        const bool isChanged = std::fmod(p.x, 30.0) < 10.0;
        return hills({p.x - 21.4, p.y + 16.1}) + 0.3 + (isChanged ? 4.0 + 3.0 * random() : 0.0) + noise();
    });
    const Coregistration found = estimate(request);
    EXPECT_NEAR(found.dxMetres, -21.4, 0.1);
    EXPECT_NEAR(found.dyMetres, 16.1, 0.1);
    EXPECT_NEAR(found.dzMetres, -0.3, 0.1);
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
    writeRaster(request.newRaster, plan, [&](const Point& p) {
        return relief({p.x + 0.6 * cell, p.y - 0.4 * cell});
    });
    const Coregistration found = estimate(request);
    EXPECT_NEAR(found.dxCells, 0.6, 0.03);
    EXPECT_NEAR(found.dyCells, -0.4, 0.03);
    // At 60 degrees a degree of longitude is 55.8 km and one of latitude 111.4 km (WGS 84).
    EXPECT_NEAR(found.dxMetres, 0.6 * cell * 55801.0, 1.5);
    EXPECT_NEAR(found.dyMetres, -0.4 * cell * 111412.0, 3.0);
}

TEST(Coregistration, FlatGroundGivesTheBiasAndNoShift) {
    Request request;
    request.oldRaster = "/vsimem/flat-old.tif";
    request.newRaster = "/vsimem/flat-new.tif";
    request.parameters.coregistration = CoregistrationMethod::Full;
    writeRaster(request.oldRaster, hillPlan(), [](const Point&) { return 12.0; });
    writeRaster(request.newRaster, hillPlan(), [](const Point&) { return 12.5; });
    const Coregistration found = estimate(request);
    EXPECT_EQ(found.dxMetres, 0.0);
    EXPECT_EQ(found.dyMetres, 0.0);
    EXPECT_NEAR(found.dzMetres, -0.5, 1e-4);
}

TEST(Coregistration, EstimateCanBeCancelled) {
    const Request request = shiftedHills(0.2, 0.2, 0.0, 0.05);
    const auto outcome = estimateCoregistration(request, [](double) { return false; });
    ASSERT_TRUE(std::holds_alternative<Failure>(outcome));
    EXPECT_TRUE(std::get<Failure>(outcome).cancelled);
}

TEST(RobustStatistics, CentreIgnoresAQuarterOfOutliers) {
    Random random(2);
    std::vector<float> values;
    for (int i = 0; i < 10000; ++i)
        values.push_back(static_cast<float>(i % 4 == 0 ? 5.0 + random() : 1.0 + 0.1 * (random() - 0.5)));
    const RobustCentre found = robustCentre(values);
    EXPECT_NEAR(found.centre, 1.0, 0.005);
}

TEST(RobustStatistics, NmadOfNormalValuesIsTheirStandardDeviation) {
    Random random(8);
    std::vector<float> values;
    for (int i = 0; i < 100000; ++i) {
        double sum = -6.0;
        for (int k = 0; k < 12; ++k)
            sum += random();
        values.push_back(static_cast<float>(0.3 * sum));
    }
    EXPECT_NEAR(nmad(values, 0.0), 0.3, 0.006);
}

} // namespace
} // namespace detect::test
