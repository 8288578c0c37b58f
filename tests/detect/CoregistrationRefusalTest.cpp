// When no shift can be trusted, the heights are still brought together, and the reason is told.

#include "tests/detect/MisregisteredPair.h"

#include <gtest/gtest.h>

#include <cmath>

namespace detect::test {
namespace {

constexpr double kSurveyNoiseMetres = 0.05;

MisregisteredPair pairOf(const Surface& ground, double noiseMetres, std::uint64_t seed = 1) {
    MisregisteredPair pair;
    pair.oldPlan.columns = pair.newPlan.columns = 400;
    pair.oldPlan.rows = pair.newPlan.rows = 360;
    pair.ground = ground;
    pair.truth = {0.17, -0.21, 0.35, 0.0, 0.0, noiseMetres, seed};
    return pair;
}

void expectRefusal(const Coregistration& found, const std::string& part) {
    EXPECT_NE(found.refusal.find(part), std::string::npos) << "refusal: " << found.refusal;
    EXPECT_EQ(found.refusal.find('\n'), std::string::npos);
    EXPECT_EQ(found.dxMetres, 0.0);
    EXPECT_EQ(found.dyMetres, 0.0);
    EXPECT_EQ(found.dxCells, 0.0);
    EXPECT_EQ(found.dyCells, 0.0);
}

double flat(const Point&) {
    return 12.0;
}

double evenSlope(const Point& p) {
    return 300.0 + 0.1 * (p.x - 500000.0) + 0.05 * (p.y - 3400000.0);
}

TEST(CoregistrationRefusal, FlatGround) {
    for (const double noise : {0.0, 0.01, kSurveyNoiseMetres, 0.3}) {
        for (std::uint64_t seed = 1; seed <= 6; ++seed) {
            SCOPED_TRACE("noise " + std::to_string(noise) + " seed " + std::to_string(seed));
            const Coregistration found = estimateOrFail(pairOf(flat, noise, seed).write());
            expectRefusal(found, "起伏太小");
            EXPECT_NEAR(found.dzMetres, 0.35, 1e-4 + 0.02 * noise);
        }
    }
}

/// Image matching leaves noise that hangs together over several cells, which looks like relief.
TEST(CoregistrationRefusal, FlatGroundWithSmoothNoise) {
    for (std::uint64_t seed = 1; seed <= 6; ++seed) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        const MisregisteredPair pair = pairOf(flat, 0.0);
        const Request request = pair.write();
        Random random(seed);
        for (const std::string& path : {request.oldRaster, request.newRaster}) {
            constexpr int kSide = 5;
            const int columns = pair.oldPlan.columns;
            const int rows = pair.oldPlan.rows;
            std::vector<double> white(static_cast<std::size_t>((columns + kSide) * (rows + kSide)));
            for (double& value : white) {
                value = normal(random);
            }
            std::vector<float> heights;
            for (int row = 0; row < rows; ++row) {
                for (int column = 0; column < columns; ++column) {
                    double sum = 0.0;
                    for (int i = 0; i < kSide * kSide; ++i) {
                        sum += white[static_cast<std::size_t>((row + i / kSide) * (columns + kSide) + column +
                                                              i % kSide)];
                    }
                    heights.push_back(static_cast<float>(12.0 + kSurveyNoiseMetres * sum / kSide));
                }
            }
            writeRaster(path, pair.oldPlan, heights);
        }
        expectRefusal(estimateOrFail(request), "起伏太小");
    }
}

TEST(CoregistrationRefusal, EvenSlope) {
    for (const double noise : {0.0, kSurveyNoiseMetres}) {
        SCOPED_TRACE("noise " + std::to_string(noise));
        expectRefusal(estimateOrFail(pairOf(evenSlope, noise).write()), "坡向单一");
    }
}

TEST(CoregistrationRefusal, ReliefInOneDirectionOnly) {
    const Surface dunes = [](const Point& p) { return 300.0 + 3.0 * std::sin(p.x / 20.0); };
    for (const double noise : {0.0, kSurveyNoiseMetres}) {
        SCOPED_TRACE("noise " + std::to_string(noise));
        expectRefusal(estimateOrFail(pairOf(dunes, noise).write()), "坡向单一");
    }
}

TEST(CoregistrationRefusal, ChangesOnFlatGroundAreNoRelief) {
    MisregisteredPair pair = pairOf(flat, kSurveyNoiseMetres);
    pair.change = [](const Point& p) {
        return std::max(0.0, 8.0 * std::sin(p.x / 9.0) * std::cos(p.y / 7.0) - 3.0);
    };
    expectRefusal(estimateOrFail(pair.write()), "起伏太小");
}

TEST(CoregistrationRefusal, TiltIsLevelledAllTheSame) {
    MisregisteredPair pair = pairOf(flat, kSurveyNoiseMetres);
    pair.truth.tiltEast = 1e-3;
    pair.truth.tiltNorth = -5e-4;
    const Coregistration found = estimateOrFail(pair.write());
    expectRefusal(found, "起伏太小");
    EXPECT_NEAR(found.tiltEast, 1e-3, 2e-5);
    EXPECT_NEAR(found.tiltNorth, -5e-4, 2e-5);
    EXPECT_NEAR(found.dzMetres, 0.35, 0.002);
    EXPECT_LT(found.nmadAfterMetres, found.nmadBeforeMetres);
}

TEST(CoregistrationRefusal, FewCellsInCommon) {
    MisregisteredPair pair = pairOf(hills, 0.0);
    pair.newPlan.toMap[0] += 0.5 * (400 - 12);
    pair.newPlan.toMap[3] -= 0.5 * (360 - 12);
    expectRefusal(estimateOrFail(pair.write()), "像元太少");
}

TEST(CoregistrationRefusal, ShiftBeyondTheSearchRange) {
    MisregisteredPair pair = pairOf(
        [](const Point& p) {
            return 300.0 + 30.0 * std::sin((p.x - 500000.0) / 90.0) * std::cos((p.y - 3400000.0) / 80.0);
        },
        kSurveyNoiseMetres);
    pair.truth.dxMetres = 40.0; // 80 cells
    expectRefusal(estimateOrFail(pair.write()), "搜索范围");
}

/// Slopes that moved down as a whole, beside ground that stayed: no shift brings both together.
TEST(CoregistrationRefusal, MovingPartOfTheGroundIsNoShiftOfTheEpoch) {
    const auto isHill = [](const Point& p) { return std::fmod(p.x, 100.0) < 40.0; };
    // Rough from cell to cell, and the same in both epochs.
    const Surface partlyHills = [&](const Point& p) {
        const double mixed =
            43758.5453 * std::sin(std::floor(p.x * 2.0) * 12.9898 + std::floor(p.y * 2.0) * 78.233);
        return isHill(p) ? hills(p) : 300.0 + 0.02 * (mixed - std::floor(mixed));
    };
    MisregisteredPair pair = pairOf(partlyHills, 0.0);
    pair.truth = {};
    pair.change = [&](const Point& p) { return isHill(p) ? hills({p.x + 0.3, p.y - 0.3}) - hills(p) : 0.0; };
    const Coregistration found = estimateOrFail(pair.write());
    expectRefusal(found, "没有变小");
    EXPECT_NEAR(found.stableShare, 0.6, 0.01);
}

/// Between flat ground and hills there is no amplitude for which a wrong shift is told.
TEST(CoregistrationRefusal, WeakReliefIsRefusedOrTellsTheShift) {
    int refused = 0;
    int told = 0;
    for (const double amplitudeMetres : {0.02, 0.05, 0.1, 0.15, 0.2, 0.3, 0.5, 1.0}) {
        for (std::uint64_t seed = 1; seed <= 3; ++seed) {
            SCOPED_TRACE("amplitude " + std::to_string(amplitudeMetres) + " seed " + std::to_string(seed));
            const Surface waves = [amplitudeMetres](const Point& p) {
                return 300.0 + amplitudeMetres * std::sin(p.x * 2.0 * M_PI / 50.0) *
                                   std::cos(p.y * 2.0 * M_PI / 50.0);
            };
            const MisregisteredPair pair = pairOf(waves, kSurveyNoiseMetres, seed);
            const Coregistration found = estimateOrFail(pair.write());
            if (!found.refusal.empty()) {
                ++refused;
                EXPECT_LT(amplitudeMetres, 0.25);
                continue;
            }
            ++told;
            // Three standard errors of a tenth of a cell.
            EXPECT_NEAR(found.dxMetres, pair.truth.dxMetres, 0.15);
            EXPECT_NEAR(found.dyMetres, pair.truth.dyMetres, 0.15);
        }
    }
    EXPECT_GT(refused, 6);
    EXPECT_GT(told, 6);
}

TEST(CoregistrationRefusal, NoShiftNeededIsNone) {
    MisregisteredPair pair = pairOf(hills, kSurveyNoiseMetres);
    pair.truth.dxMetres = pair.truth.dyMetres = 0.0;
    const Coregistration found = estimateOrFail(pair.write());
    EXPECT_EQ(found.refusal, "");
    EXPECT_EQ(found.dxMetres, 0.0);
    EXPECT_EQ(found.dyMetres, 0.0);
    EXPECT_NEAR(found.dzMetres, 0.35, 0.002);
}

TEST(CoregistrationRefusal, OnlyFullRefuses) {
    Request request = pairOf(flat, kSurveyNoiseMetres).write();
    for (const auto method : {CoregistrationMethod::None, CoregistrationMethod::Bias}) {
        request.parameters.coregistration = method;
        EXPECT_EQ(estimateOrFail(request).refusal, "");
    }
}

} // namespace
} // namespace detect::test
