#pragma once

#include <cmath>
#include <cstdint>
#include <vector>

/// Random figures that are the same on every machine: integer hashes, and only those floating-point
/// operations that IEEE 754 defines to the last bit (no libm transcendentals, no std::*_distribution).
namespace samples {

/// Finaliser of SplitMix64 (Steele, Lea, Flood 2014): spreads every bit of the input over the output.
std::uint64_t mixBits(std::uint64_t value);

/// A stream of random numbers (SplitMix64), fixed by a seed and the number of the stream. Each thread needs
/// its own; the order of the calls is part of what comes out.
class Random {
public:
    Random(std::uint64_t seed, std::uint64_t stream);

    /// In [0, 1).
    double uniform();
    /// In [low, high).
    double between(double low, double high) { return low + (high - low) * uniform(); }
    /// True in that share of the calls, 0 .. 1.
    bool chance(double probability) { return uniform() < probability; }

private:
    std::uint64_t m_state;
};

/// 32 hashed bits of a lattice node; the factors of the first line are the primes of xxHash (Collet 2012).
inline std::uint32_t hashNode(std::int32_t x, std::int32_t y, std::uint32_t seed) {
    std::uint32_t bits = static_cast<std::uint32_t>(x) * 0x9E3779B1u ^
                         static_cast<std::uint32_t>(y) * 0x85EBCA77u ^ seed * 0xC2B2AE3Du;
    bits = (bits ^ (bits >> 15)) * 0x2C1B3C6Du;
    bits = (bits ^ (bits >> 12)) * 0x297A2D39u;
    return bits ^ (bits >> 15);
}

/// In [0, 1), from hashed bits.
inline float unitOf(std::uint32_t bits) {
    return static_cast<float>(bits >> 8) * (1.0F / 16777216.0F);
}

/// Gradient noise (Perlin 2002) with one lattice cell per unit, about -1 .. 1, mean 0; 0 at the nodes, and
/// smooth to the second derivative.
float gradientNoise(float x, float y, std::uint32_t seed);

/// The same with lattice cells of `cellMetres`, for a place in metres.
inline float gradientNoise(double x, double y, float cellMetres, std::uint32_t seed) {
    return gradientNoise(static_cast<float>(x) / cellMetres, static_cast<float>(y) / cellMetres, seed);
}

/// Sum of `octaves` gradient noises, each with half the wave length and half the amplitude of the one before:
/// within about -2 .. 2 however many there are.
float fractalNoise(float x, float y, std::uint32_t seed, int octaves);
inline float fractalNoise(double x, double y, float cellMetres, std::uint32_t seed, int octaves) {
    return fractalNoise(static_cast<float>(x) / cellMetres, static_cast<float>(y) / cellMetres, seed,
                        octaves);
}

/// Independent per cell, close to a normal distribution with mean 0 and standard deviation 1 (Irwin-Hall of
/// 4), never beyond 3.5 of them.
inline float whiteNoise(std::int32_t column, std::int32_t row, std::uint32_t seed) {
    const std::uint32_t first = hashNode(column, row, seed);
    const std::uint32_t second = first * 0x9E3779B1u + 0x7F4A7C15u;
    const auto half = [](std::uint32_t bits) {
        return static_cast<float>(bits & 0xFFFFu) * (1.0F / 65536.0F);
    };
    const float sum = half(first) + half(first >> 16) + half(second ^ (second >> 13)) + half(second >> 16);
    return (sum - 2.0F) * 1.7320508F;
}

/// Sine and cosine of any angle in degrees, by a Taylor polynomial (error below 1e-7).
double sineDegrees(double degrees);
inline double cosineDegrees(double degrees) {
    return sineDegrees(degrees + 90.0);
}

/// first, first + step, ... as long as below `end`.
inline std::vector<double> stepsFrom(double first, double end, double step) {
    std::vector<double> values;
    for (int i = 0; first + i * step < end; ++i) {
        values.push_back(first + i * step);
    }
    return values;
}

/// `from` at share 0, `to` at share 1, straight on beyond them.
inline float mix(float from, float to, float share) {
    return from + (to - from) * share;
}
inline double mix(double from, double to, double share) {
    return from + (to - from) * share;
}

template<class T>
T clampUnit(T value) {
    return value < T(0) ? T(0) : value > T(1) ? T(1) : value;
}

/// A share as a byte; cut to 0 .. 1 first.
template<class T>
std::uint8_t byteOf(T share) {
    return static_cast<std::uint8_t>(clampUnit(share) * T(255));
}

/// 0 up to `low`, 1 from `high` on, smooth in between (the cubic 3 t² - 2 t³); `low` may be greater than
/// `high`, which turns it round, but not equal to it.
template<class T>
T smoothStep(T low, T high, T value) {
    const T share = clampUnit((value - low) / (high - low));
    return share * share * (T(3) - T(2) * share);
}

} // namespace samples
