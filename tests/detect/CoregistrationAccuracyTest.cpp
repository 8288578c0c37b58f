// How close the co-registration comes to a known truth. Tolerances are in cells of the old raster.

#include "tests/detect/MisregisteredPair.h"

#include <gtest/gtest.h>
#include <ogr_spatialref.h>

#include <cmath>
#include <memory>

namespace detect::test {
namespace {

constexpr double kHundredthCell = 0.01;
constexpr double kSurveyNoiseMetres = 0.05;

MisregisteredPair hillPair() {
    MisregisteredPair pair;
    pair.oldPlan.columns = pair.newPlan.columns = 400;
    pair.oldPlan.rows = pair.newPlan.rows = 360;
    pair.ground = hills;
    return pair;
}

/// A survey raises every third stretch of 10 m by four to seven metres: 30 to 33 % of the ground.
double stripes(const Point& place) {
    return std::fmod(place.x, 30.0) < 9.0 ? 4.0 + 3.0 * std::abs(std::sin(place.x * 7.0 + place.y * 11.0))
                                          : 0.0;
}

void expectShift(const Coregistration& found, const Misregistration& truth, const Point& cellMetres,
                 double toleranceCells) {
    EXPECT_EQ(found.refusal, "");
    EXPECT_NEAR(found.dxMetres / cellMetres.x, truth.dxMetres / cellMetres.x, toleranceCells);
    EXPECT_NEAR(found.dyMetres / cellMetres.y, truth.dyMetres / cellMetres.y, toleranceCells);
}

void expectTruth(const MisregisteredPair& pair, const Point& cellMetres = {0.5, 0.5},
                 double toleranceCells = kHundredthCell) {
    SCOPED_TRACE("seed " + std::to_string(pair.truth.seed));
    const Coregistration found = estimateOrFail(pair.write());
    expectShift(found, pair.truth, cellMetres, toleranceCells);
    EXPECT_NEAR(found.dzMetres, pair.truth.dzMetres, 0.003);
    EXPECT_NEAR(found.tiltEast, pair.truth.tiltEast, 2e-5);
    EXPECT_NEAR(found.tiltNorth, pair.truth.tiltNorth, 2e-5);
}

/// With and without noise.
void expectTruthBothWays(MisregisteredPair pair, const Point& cellMetres = {0.5, 0.5}) {
    for (const double noise : {0.0, kSurveyNoiseMetres}) {
        SCOPED_TRACE("noise " + std::to_string(noise));
        pair.truth.noiseMetres = noise;
        expectTruth(pair, cellMetres);
    }
}

/// Where a place of one reference system lies in another.
Point transformed(int fromEpsg, int toEpsg, Point place) {
    OGRSpatialReference from;
    OGRSpatialReference to;
    EXPECT_EQ(from.importFromEPSG(fromEpsg), OGRERR_NONE);
    EXPECT_EQ(to.importFromEPSG(toEpsg), OGRERR_NONE);
    from.SetAxisMappingStrategy(OAMS_TRADITIONAL_GIS_ORDER);
    to.SetAxisMappingStrategy(OAMS_TRADITIONAL_GIS_ORDER);
    const std::unique_ptr<OGRCoordinateTransformation> way(OGRCreateCoordinateTransformation(&from, &to));
    EXPECT_TRUE(way->Transform(1, &place.x, &place.y));
    return place;
}

/// Square raster of `cells` around the middle of the hills.
RasterPlan planAround(int epsg, double cellUnits, int cells) {
    const Point middle = transformed(4547, epsg, {500050.0, 3399950.0});
    RasterPlan plan;
    plan.epsg = epsg;
    plan.columns = plan.rows = cells;
    const double half = cells / 2.0 * cellUnits;
    plan.toMap = {middle.x - half, cellUnits, 0.0, middle.y + half, 0.0, -cellUnits};
    return plan;
}

TEST(CoregistrationAccuracy, SubCellShiftAndBias) {
    MisregisteredPair pair = hillPair();
    pair.truth = {0.17, -0.21, 0.35};
    expectTruthBothWays(pair);
    const Coregistration found = estimateOrFail(pair.write());
    EXPECT_NEAR(found.dxCells, 0.34, kHundredthCell);
    EXPECT_NEAR(found.dyCells, -0.42, kHundredthCell);
    EXPECT_LT(found.nmadAfterMetres, 0.1 * found.nmadBeforeMetres);
}

TEST(CoregistrationAccuracy, SmallestShiftsAndHalfCells) {
    for (const double cells : {0.03, 0.1, 0.5, 0.97}) {
        MisregisteredPair pair = hillPair();
        pair.truth = {0.5 * cells, -0.5 * cells, -0.2};
        expectTruthBothWays(pair);
    }
}

TEST(CoregistrationAccuracy, ShiftsOfManyCells) {
    for (const Point& shift : {Point{-2.6, 1.9}, Point{-19.3, 14.2}, Point{27.15, 3.4}, Point{0.2, -29.9}}) {
        MisregisteredPair pair = hillPair();
        pair.truth = {shift.x, shift.y, 0.7};
        expectTruthBothWays(pair);
    }
}

TEST(CoregistrationAccuracy, RandomMisregistrations) {
    for (std::uint64_t seed = 1; seed <= 6; ++seed) {
        MisregisteredPair pair = hillPair();
        Random random(100 + seed);
        const auto between = [&](double most) { return most * (2.0 * random() - 1.0); };
        pair.truth = {between(6.0), between(6.0), between(3.0), 0.0, 0.0, kSurveyNoiseMetres, seed};
        SCOPED_TRACE("dx " + std::to_string(pair.truth.dxMetres) + " dy " +
                     std::to_string(pair.truth.dyMetres));
        expectTruth(pair);
    }
}

TEST(CoregistrationAccuracy, ThirtyPercentOfTheGroundChanged) {
    MisregisteredPair pair = hillPair();
    pair.change = stripes;
    for (const Point& shift : {Point{0.17, -0.21}, Point{-21.4, 16.1}}) {
        pair.truth = {shift.x, shift.y, -0.3};
        expectTruthBothWays(pair);
    }
    EXPECT_NEAR(estimateOrFail(pair.write()).stableShare, 0.7, 0.06);
}

/// One metre up and down over 50 m, in 5 cm of noise: the slopes are a third of the noise that central
/// differences see, and the shift's own standard error is 0.007 cells.
TEST(CoregistrationAccuracy, GentleHillsInNoise) {
    for (std::uint64_t seed = 1; seed <= 5; ++seed) {
        MisregisteredPair pair = hillPair();
        pair.ground = [](const Point& p) {
            return 300.0 + std::sin(p.x * 2.0 * M_PI / 50.0) * std::cos(p.y * 2.0 * M_PI / 50.0);
        };
        pair.truth = {0.37, -0.21, 0.35, 0.0, 0.0, kSurveyNoiseMetres, seed};
        expectTruth(pair, {0.5, 0.5}, 0.03);
    }
}

/// A stop rule that believes steps which noise has made small would end far away.
TEST(CoregistrationAccuracy, GentleHillsInNoiseSeveralCellsAway) {
    MisregisteredPair pair = hillPair();
    pair.ground = [](const Point& p) {
        return 300.0 + std::sin(p.x * 2.0 * M_PI / 50.0) * std::cos(p.y * 2.0 * M_PI / 50.0);
    };
    pair.truth = {2.37, -1.81, 0.35, 0.0, 0.0, kSurveyNoiseMetres, 7};
    expectTruth(pair, {0.5, 0.5}, 0.03);
}

TEST(CoregistrationAccuracy, TiltWithTheShift) {
    MisregisteredPair pair = hillPair();
    pair.truth = {0.17, -0.21, 0.35, 1e-3, -2e-3};
    expectTruthBothWays(pair);
    pair.change = stripes;
    expectTruthBothWays(pair);
}

TEST(CoregistrationAccuracy, LargeTiltWithAShiftOfManyCells) {
    MisregisteredPair pair = hillPair();
    pair.truth = {-21.4, 16.1, 0.35, 1e-2, -2e-2};
    expectTruthBothWays(pair);
}

TEST(CoregistrationAccuracy, TiltWithoutAShift) {
    MisregisteredPair pair = hillPair();
    pair.truth = {0.0, 0.0, 0.35, 1e-3, -2e-3, kSurveyNoiseMetres, 3};
    expectTruth(pair);
}

TEST(CoregistrationAccuracy, FinerNewCells) {
    MisregisteredPair pair = hillPair();
    pair.newPlan.toMap = {500003.1, 0.3, 0.0, 3399996.7, 0.0, -0.3};
    pair.newPlan.columns = 600;
    pair.newPlan.rows = 560;
    pair.truth = {0.17, -0.21, 0.35};
    expectTruthBothWays(pair);
}

TEST(CoregistrationAccuracy, CoarserNewCells) {
    MisregisteredPair pair = hillPair();
    pair.newPlan.toMap = {499980.2, 1.0, 0.0, 3400010.3, 0.0, -1.0};
    pair.newPlan.columns = 250;
    pair.newPlan.rows = 220;
    for (const Point& shift : {Point{0.17, -0.21}, Point{0.6, -0.91}}) {
        pair.truth = {shift.x, shift.y, 0.35};
        expectTruthBothWays(pair);
    }
}

TEST(CoregistrationAccuracy, NewEpochInTheNextZone) {
    MisregisteredPair pair = hillPair();
    pair.oldPlan = planAround(4547, 0.5, 200);
    pair.newPlan = planAround(4548, 0.5, 220);
    pair.truth = {0.17, -0.21, 0.35};
    expectTruthBothWays(pair);
}

TEST(CoregistrationAccuracy, NewEpochInLongitudeAndLatitude) {
    MisregisteredPair pair = hillPair();
    pair.oldPlan = planAround(4547, 0.5, 150);
    pair.newPlan = planAround(4326, 5e-6, 180);
    pair.truth = {0.17, -0.21, 0.35};
    expectTruthBothWays(pair);
}

TEST(CoregistrationAccuracy, OldEpochInLongitudeAndLatitude) {
    MisregisteredPair pair;
    pair.oldPlan = planAround(4326, 5e-6, 150);
    pair.newPlan = planAround(4547, 0.5, 180);
    const Point middle = transformed(4547, 4326, {500050.0, 3399950.0});
    // Hills in degrees: truth needs no second transformation.
    pair.ground = [middle](const Point& p) {
        return hills({500050.0 + (p.x - middle.x) * 1e5, 3399950.0 + (p.y - middle.y) * 1e5});
    };
    pair.truth = {0.17, -0.21, 0.35};
    // At 30.7 degrees north five millionths of a degree are 0.479 m east and 0.554 m north (WGS 84).
    expectTruthBothWays(pair, {0.479, 0.554});
    pair.newPlan = pair.oldPlan;
    expectTruthBothWays(pair, {0.479, 0.554});
}

} // namespace
} // namespace detect::test
