#include "samples/Noise.h"

namespace samples {

namespace {
constexpr std::uint64_t kGoldenStep = 0x9E3779B97F4A7C15ULL;

float fade(float t) {
    return t * t * t * (t * (t * 6.0F - 15.0F) + 10.0F);
}

constexpr float kDiagonal = 0.70710678F;
constexpr float kGradientEast[8] = {1.0F, kDiagonal, 0.0F, -kDiagonal, -1.0F, -kDiagonal, 0.0F, kDiagonal};
constexpr float kGradientNorth[8] = {0.0F, kDiagonal, 1.0F, kDiagonal, 0.0F, -kDiagonal, -1.0F, -kDiagonal};

inline float gradientAt(std::uint32_t bits, float dx, float dy) {
    return kGradientEast[bits & 7u] * dx + kGradientNorth[bits & 7u] * dy;
}
} // namespace

std::uint64_t mixBits(std::uint64_t value) {
    value = (value ^ (value >> 30)) * 0xBF58476D1CE4E5B9ULL;
    value = (value ^ (value >> 27)) * 0x94D049BB133111EBULL;
    return value ^ (value >> 31);
}

Random::Random(std::uint64_t seed, std::uint64_t stream)
    : m_state(mixBits(seed * kGoldenStep + mixBits(stream))) {}

double Random::uniform() {
    m_state += kGoldenStep;
    return static_cast<double>(mixBits(m_state) >> 11) * (1.0 / 9007199254740992.0);
}

float gradientNoise(float x, float y, std::uint32_t seed) {
    const float floorX = std::floor(x);
    const float floorY = std::floor(y);
    const auto column = static_cast<std::int32_t>(floorX);
    const auto row = static_cast<std::int32_t>(floorY);
    const float dx = x - floorX;
    const float dy = y - floorY;
    const float shareX = fade(dx);
    const float south = mix(gradientAt(hashNode(column, row, seed), dx, dy),
                            gradientAt(hashNode(column + 1, row, seed), dx - 1.0F, dy), shareX);
    const float north = mix(gradientAt(hashNode(column, row + 1, seed), dx, dy - 1.0F),
                            gradientAt(hashNode(column + 1, row + 1, seed), dx - 1.0F, dy - 1.0F), shareX);
    return 1.41421356F * mix(south, north, fade(dy));
}

float fractalNoise(float x, float y, std::uint32_t seed, int octaves) {
    float sum = 0.0F;
    float amplitude = 1.0F;
    for (int octave = 0; octave < octaves; ++octave) {
        sum += amplitude * gradientNoise(x, y, seed + static_cast<std::uint32_t>(octave) * 101u);
        amplitude *= 0.5F;
        x = x * 2.0F + 17.3F;
        y = y * 2.0F - 9.1F;
    }
    return sum;
}

double sineDegrees(double degrees) {
    constexpr double kRadiansPerDegree = 0.017453292519943295;
    double folded = degrees - 360.0 * std::floor((degrees + 180.0) / 360.0);
    if (folded > 90.0) {
        folded = 180.0 - folded;
    } else if (folded < -90.0) {
        folded = -180.0 - folded;
    }
    const double a = folded * kRadiansPerDegree;
    const double a2 = a * a;
    return a * (1.0 + a2 * (-1.0 / 6 +
                            a2 * (1.0 / 120 + a2 * (-1.0 / 5040 + a2 * (1.0 / 362880 - a2 / 39916800)))));
}

} // namespace samples
