// What surveys that do not quite agree must not bring about, and must not cost.

#include "tests/detect/MisregisteredPair.h"

#include <gtest/gtest.h>

#include <cmath>

namespace detect::test {
namespace {

constexpr double kWest = 500000.0;
constexpr double kNorth = 3400000.0;
constexpr double kNoiseMetres = 0.05;

/// Relief of tens of metres, gentle to walk on.
double gentle(const Point& map) {
    const double x = map.x - kWest;
    const double y = map.y - kNorth;
    return 200.0 + 6.0 * std::sin(x / 23.0) * std::cos(y / 19.0) + 2.0 * std::sin((x - 2.0 * y) / 13.0);
}

/// Runs out to nothing at the radius.
double heap(const Point& map, double x, double y, double radius, double height) {
    const double share = std::hypot(map.x - kWest - x, kNorth - map.y - y) / radius;
    return share < 1.0 ? height * (1.0 - share * share) * (1.0 - share * share) : 0.0;
}

MisregisteredPair pairOf(const Surface& ground, const Surface& change) {
    MisregisteredPair pair;
    pair.oldPlan.columns = pair.newPlan.columns = 400;
    pair.oldPlan.rows = pair.newPlan.rows = 400;
    pair.ground = ground;
    pair.change = change;
    pair.truth.noiseMetres = kNoiseMetres;
    return pair;
}

Request requestOf(const MisregisteredPair& pair, CoregistrationMethod method) {
    Request request = pair.write();
    request.parameters.coregistration = method;
    request.parameters.thresholdMetres = 0.3;
    return request;
}

TEST(SurveyPair, SeedIsACoreAtTheWholeLevelHoweverFarItGrows) {
    RasterPlan plan;
    plan.columns = plan.rows = 60;
    const auto patch = [&](int coreCells) {
        std::vector<float> heights(3600, 50.0F);
        for (int row = 20; row < 27; ++row) {
            for (int column = 20; column < 27; ++column) {
                const bool inCore = row >= 22 && row < 22 + coreCells && column >= 22 && column < 25;
                heights[static_cast<std::size_t>(row * 60 + column)] += inCore ? 0.32F : 0.2F;
            }
        }
        return heights;
    };
    Request request;
    request.oldRaster = "/vsimem/seed-old.tif";
    request.newRaster = "/vsimem/seed-new.tif";
    request.parameters.coregistration = CoregistrationMethod::None;
    request.parameters.thresholdMetres = 0.3;
    writeRaster(request.oldRaster, plan, std::vector<float>(3600, 50.0F));
    writeRaster(request.newRaster, plan, patch(2));
    Changes changes = detectOrFail(request);
    EXPECT_TRUE(changes.anomalies.empty()) << "noise lifts single cells over the threshold";
    EXPECT_EQ(changes.rejections.core, 1);
    writeRaster(request.newRaster, plan, patch(3));
    for (const int blocks : {0, 1, 5, 23}) {
        request.parameters.blockRows = request.parameters.blockColumns = blocks;
        changes = detectOrFail(request);
        ASSERT_EQ(changes.anomalies.size(), 1U) << "blocks of " << blocks;
        EXPECT_EQ(changes.anomalies[0].cells, 49);
    }
    request.parameters.rules.core = false;
    writeRaster(request.newRaster, plan, patch(1));
    EXPECT_EQ(detectOrFail(request).anomalies.size(), 1U);
}

TEST(SurveyPair, MovedEpochKeepsGentleChangesWholeAndUnbroken) {
    const auto heaps = [](const Point& p) {
        return heap(p, 50, 60, 18, 1.0) + heap(p, 140, 60, 30, 0.8) - heap(p, 60, 140, 35, 1.2);
    };
    MisregisteredPair pair = pairOf(gentle, heaps);
    const Changes still = detectOrFail(requestOf(pair, CoregistrationMethod::None));
    ASSERT_EQ(still.anomalies.size(), 3U);
    pair.truth.dxMetres = 0.3;
    pair.truth.dyMetres = -0.2;
    for (const double cell : {0.5, 0.6}) {
        SCOPED_TRACE(cell);
        pair.newPlan.toMap = {kWest - 3.3, cell, 0.0, kNorth + 2.9, 0.0, -cell};
        const Changes moved = detectOrFail(requestOf(pair, CoregistrationMethod::Full));
        ASSERT_EQ(moved.anomalies.size(), 3U);
        for (std::size_t i = 0; i < 3; ++i) {
            const double cells = static_cast<double>(still.anomalies[i].cells);
            EXPECT_NEAR(static_cast<double>(moved.anomalies[i].cells), cells, 0.04 * cells);
            const double volume = still.anomalies[i].volumeCubicMetres();
            EXPECT_NEAR(moved.anomalies[i].volumeCubicMetres(), volume, 0.02 * volume);
        }
    }
}

TEST(SurveyPair, WallsOfAMovedEpochAreNoChangesAndChangesBesideThemStay) {
    const auto built = [](const Point& p) {
        double height = gentle(p);
        for (double x = 20.0; x < 190.0; x += 40.0) {
            for (double y = 20.0; y < 190.0; y += 40.0) {
                const double u = (p.x - kWest - x) + 0.3 * (kNorth - p.y - y);
                const double v = (kNorth - p.y - y) - 0.3 * (p.x - kWest - x);
                height += std::abs(u) < 7.0 && std::abs(v) < 5.0 ? 8.0 : 0.0;
            }
        }
        return height;
    };
    // The ground sinks under a house and around it.
    MisregisteredPair pair = pairOf(built, [](const Point& p) { return -heap(p, 100, 100, 25, 1.2); });
    pair.truth.dxMetres = 0.3;
    pair.truth.dyMetres = -0.2;
    for (const double cell : {0.5, 0.6, 0.8}) {
        SCOPED_TRACE(cell);
        pair.newPlan.toMap = {kWest - 3.3, cell, 0.0, kNorth + 2.9, 0.0, -cell};
        const Changes found = detectOrFail(requestOf(pair, CoregistrationMethod::Full));
        ASSERT_EQ(found.anomalies.size(), 1U);
        EXPECT_NEAR(found.anomalies[0].cutCubicMetres, 1.2 * 3.14159 * 25.0 * 25.0 / 3.0, 25.0);
    }
}

} // namespace
} // namespace detect::test
