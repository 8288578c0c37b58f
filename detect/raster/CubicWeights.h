#pragma once

#include <array>

namespace detect {

/// Cubic convolution (Keys 1981, a = -1/2): weights of the four posts around a place that lies `share` of the way
/// from the second to the third. Exact on planes and parabolas.
inline std::array<float, 4> cubicWeights(double share) {
    const double s = share;
    const double s2 = s * s;
    const double s3 = s2 * s;
    return {static_cast<float>(-0.5 * s3 + s2 - 0.5 * s), static_cast<float>(1.5 * s3 - 2.5 * s2 + 1.0),
            static_cast<float>(-1.5 * s3 + 2.0 * s2 + 0.5 * s), static_cast<float>(0.5 * s3 - 0.5 * s2)};
}

} // namespace detect
