#include "samples/Noise.h"

#include <gtest/gtest.h>

using namespace samples;

TEST(Noise, StreamOfRandomNumbersIsFixedBySeedAndNumber) {
    Random first(7, 1);
    Random again(7, 1);
    Random otherStream(7, 2);
    const double value = first.uniform();
    EXPECT_EQ(value, again.uniform());
    EXPECT_NE(value, otherStream.uniform());
}

TEST(Noise, WhiteNoiseHasMeanZeroAndDeviationOne) {
    double sum = 0.0;
    double sumOfSquares = 0.0;
    constexpr int kSide = 400;
    for (int row = 0; row < kSide; ++row) {
        for (int column = 0; column < kSide; ++column) {
            const auto value = static_cast<double>(whiteNoise(column, row, 11));
            sum += value;
            sumOfSquares += value * value;
        }
    }
    EXPECT_NEAR(sum / (kSide * kSide), 0.0, 0.02);
    EXPECT_NEAR(sumOfSquares / (kSide * kSide), 1.0, 0.03);
}

TEST(Noise, GradientNoiseIsContinuousAcrossLatticeLines) {
    for (int i = -20; i < 20; ++i) {
        const auto line = static_cast<float>(i);
        EXPECT_NEAR(gradientNoise(line - 1e-4F, 0.37F, 5), gradientNoise(line + 1e-4F, 0.37F, 5), 1e-3F);
    }
}

TEST(Noise, SineFollowsTheLibraryFunction) {
    for (double degrees = -720.0; degrees <= 720.0; degrees += 7.3) {
        EXPECT_NEAR(sineDegrees(degrees), std::sin(degrees * 3.14159265358979323846 / 180.0), 1e-7)
            << degrees;
    }
}
