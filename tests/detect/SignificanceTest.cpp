// Changes judged against the uncertainty of the surveys.

#include "detect/search/LevelOfDetection.h"
#include "tests/detect/TestRasters.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

namespace detect::test {
namespace {

constexpr double kWest = 500000.0;
constexpr double kNorth = 3400000.0;

/// Normal noise with standard deviation 1 (Box & Muller 1958).
double normal(Random& random) {
    const double u = 1.0 - random();
    return std::sqrt(-2.0 * std::log(u)) * std::cos(6.283185307179586 * random());
}

class SignificanceOfChange : public testing::Test {
protected:
    SignificanceOfChange() {
        m_request.oldRaster = "/vsimem/significance-old.tif";
        m_request.newRaster = "/vsimem/significance-new.tif";
        m_plan.columns = 300;
        m_plan.rows = 240;
        // Pure significance, as `corridor detect --confidence` asks for.
        m_request.parameters.significance.emplace();
        m_request.parameters.thresholdMetres = 0.0;
    }

    /// Noise of the given standard deviation in each epoch and a slab of `slabMetres`, 20 m x 15 m.
    void writeSlab(double sigmaMetres, double slabMetres, std::uint64_t seed = 3) {
        Random random(seed);
        writeRaster(m_request.oldRaster, m_plan,
                    [&](const Point&) { return 50.0 + sigmaMetres * normal(random); });
        writeRaster(m_request.newRaster, m_plan, [&](const Point& p) {
            const double x = p.x - kWest;
            const double y = kNorth - p.y;
            const bool slab = x > 40 && x < 60 && y > 50 && y < 65;
            return 50.0 + (slab ? slabMetres : 0.0) + sigmaMetres * normal(random);
        });
    }

    RasterPlan m_plan;
    Request m_request;
};

TEST(Quantile, IsThatOfTheNormalDistribution) {
    EXPECT_NEAR(quantileFor(0.6826894921), 1.0, 1e-6);
    EXPECT_NEAR(quantileFor(0.95), 1.959963985, 1e-6);
    EXPECT_NEAR(quantileFor(0.99), 2.575829304, 1e-6);
}

TEST_F(SignificanceOfChange, SlabBelowTheUsualThresholdIsFoundOnQuietGround) {
    writeSlab(0.02, 0.15);
    m_request.parameters.significance->confidence = 0.99;
    const Changes found = detectOrFail(m_request);
    ASSERT_EQ(found.anomalies.size(), 1U);
    EXPECT_NEAR(found.anomalies[0].areaSquareMetres, 300.0, 12.0);
    EXPECT_NEAR(found.anomalies[0].fillCubicMetres, 45.0, 1.5);
    const double sigma = 0.02 * std::sqrt(2.0);
    EXPECT_NEAR(found.anomalies[0].sigmaMetres, sigma, 0.05 * sigma);
    EXPECT_NEAR(found.anomalies[0].levelOfDetectionMetres, 2.576 * sigma, 0.05 * 2.576 * sigma);
    EXPECT_GT(found.anomalies[0].significance, 0.15 / (2.576 * sigma));

    m_request.parameters.significance.reset();
    m_request.parameters.thresholdMetres = 0.5;
    EXPECT_TRUE(detectOrFail(m_request).anomalies.empty());
}

TEST_F(SignificanceOfChange, SameSlabIsNoneOnNoisyGround) {
    writeSlab(0.1, 0.15);
    m_request.parameters.significance->confidence = 0.99;
    EXPECT_TRUE(detectOrFail(m_request).anomalies.empty());
}

TEST_F(SignificanceOfChange, GivenStandardDeviationsReplaceTheScatter) {
    writeSlab(0.02, 0.15);
    m_request.parameters.significance = Significance{0.09, 0.12, 0.95};
    const Changes doubtful = detectOrFail(m_request);
    EXPECT_TRUE(doubtful.anomalies.empty()) << "0.15 m is one standard deviation";
    m_request.parameters.significance = Significance{0.015, 0.02, 0.95};
    const Changes certain = detectOrFail(m_request);
    ASSERT_EQ(certain.anomalies.size(), 1U);
    EXPECT_NEAR(certain.anomalies[0].sigmaMetres, 0.025, 1e-4);
    EXPECT_NEAR(certain.anomalies[0].levelOfDetectionMetres, 1.96 * 0.025, 1e-3);
}

TEST_F(SignificanceOfChange, ThresholdGivenTooMustBeReachedAsWell) {
    writeSlab(0.02, 0.15);
    m_request.parameters.thresholdMetres = 0.3;
    EXPECT_TRUE(detectOrFail(m_request).anomalies.empty());
    writeSlab(0.02, 0.4);
    const Changes found = detectOrFail(m_request);
    ASSERT_EQ(found.anomalies.size(), 1U);
    EXPECT_NEAR(found.anomalies[0].levelOfDetectionMetres, 0.3, 1e-6);
}

TEST_F(SignificanceOfChange, WeakRimBelongsToAChangeOnlyWhereItReachesOne) {
    // A slab of 3.5 standard deviations with a rim of 1.4, and a rim alone elsewhere.
    Random random(8);
    const double sigma = 0.05;
    const auto noise = [&] { return 0.05 * sigma * normal(random); };
    writeRaster(m_request.oldRaster, m_plan, [&](const Point&) { return 50.0 + noise(); });
    writeRaster(m_request.newRaster, m_plan, [&](const Point& p) {
        const double x = p.x - kWest;
        const double y = kNorth - p.y;
        const bool slab = x > 40 && x < 60 && y > 50 && y < 65;
        const bool rim = (x > 36 && x < 64 && y > 46 && y < 69) || (x > 90 && x < 110 && y > 50 && y < 70);
        return 50.0 + (slab ? 3.5 * sigma : rim ? 1.4 * sigma : 0.0) + noise();
    });
    m_request.parameters.significance = Significance{sigma / std::sqrt(2.0), sigma / std::sqrt(2.0), 0.95};
    const Changes found = detectOrFail(m_request);
    ASSERT_EQ(found.anomalies.size(), 1U);
    EXPECT_NEAR(found.anomalies[0].areaSquareMetres, 28.0 * 23.0, 1.0);
}

TEST_F(SignificanceOfChange, SteepGroundNeedsMoreThanLevelGround) {
    // Survey points whose position scatters by 0.15 m: heights scatter where the ground is steep.
    const auto ground = [](double x) { return x < 75.0 ? 0.0 : 1.2 * (x - 75.0); };
    Random random(12);
    const auto surveyed = [&](const Point& p) {
        return 50.0 + ground(p.x - kWest + 0.15 * normal(random)) + 0.01 * normal(random);
    };
    const auto patch = [](const Point& p) {
        const double y = kNorth - p.y;
        const double x = p.x - kWest;
        return y > 50 && y < 60 && ((x > 30 && x < 45) || (x > 105 && x < 120)) ? 0.25 : 0.0;
    };
    writeRaster(m_request.oldRaster, m_plan, surveyed);
    writeRaster(m_request.newRaster, m_plan, [&](const Point& p) { return surveyed(p) + patch(p); });
    m_request.parameters.significance->confidence = 0.999;
    const Changes found = detectOrFail(m_request);
    ASSERT_EQ(found.anomalies.size(), 1U) << "only the patch on level ground is beyond doubt";
    EXPECT_LT(found.anomalies[0].centroid.x, kWest + 60);
    EXPECT_GT(found.coregistration.sigmaPerSlopeMetres, 0.1);
}

/// What a survey of the same ground would give, repeated: the error of the volume scatters as it says.
class VolumeUncertainty : public SignificanceOfChange, public testing::WithParamInterface<int> {};

TEST_P(VolumeUncertainty, IsTheScatterOfRepeatedSurveys) {
    const int together = GetParam(); // cells that share one error, along each side
    const double sigma = 0.05;
    double squares = 0.0;
    double stated = 0.0;
    const int surveys = 24;
    for (int survey = 0; survey < surveys; ++survey) {
        Random random(100 + static_cast<std::uint64_t>(survey));
        const auto noisy = [&](const std::function<double(double, double)>& change) {
            const int across = m_plan.columns / together + 1;
            std::vector<double> errors;
            for (int i = 0; i < across * (m_plan.rows / together + 1); ++i) {
                errors.push_back(sigma * normal(random));
            }
            std::vector<float> heights;
            for (int row = 0; row < m_plan.rows; ++row) {
                for (int column = 0; column < m_plan.columns; ++column) {
                    heights.push_back(static_cast<float>(
                        50.0 + change(column * 0.5 + 0.25, row * 0.5 + 0.25) +
                        errors[static_cast<std::size_t>(row / together * across + column / together)]));
                }
            }
            return heights;
        };
        writeRaster(m_request.oldRaster, m_plan, noisy([](double, double) { return 0.0; }));
        writeRaster(m_request.newRaster, m_plan, noisy([](double x, double y) {
                        return x > 40 && x < 60 && y > 50 && y < 65 ? 2.0 : 0.0;
                    }));
        m_request.parameters.significance->confidence = 0.9999;
        m_request.parameters.thresholdMetres = 0.5;
        const Changes found = detectOrFail(m_request);
        ASSERT_EQ(found.anomalies.size(), 1U);
        const double error = found.anomalies[0].fillCubicMetres - 600.0;
        squares += error * error / surveys;
        stated += found.anomalies[0].volumeSigmaCubicMetres / surveys;
    }
    // Of 24 surveys the scatter itself is known to about 15 %.
    EXPECT_NEAR(std::sqrt(squares) / stated, 1.0, 0.45) << "stated " << stated << " m3";
}

INSTANTIATE_TEST_SUITE_P(CellsThatErrTogether, VolumeUncertainty, testing::Values(1, 4));

} // namespace
} // namespace detect::test
