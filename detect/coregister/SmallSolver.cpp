#include "detect/coregister/SmallSolver.h"

#include <cmath>

namespace detect {

namespace {

constexpr double kLeastPivot = 1e-9;

} // namespace

std::optional<SmallVector> solveSymmetric(const SmallMatrix& a, const SmallVector& b, std::size_t count) {
    SmallVector scale{};
    for (std::size_t i = 0; i < count; ++i) {
        if (!(a[i][i] > 0.0)) {
            return std::nullopt;
        }
        scale[i] = 1.0 / std::sqrt(a[i][i]);
    }
    SmallMatrix lower{};
    for (std::size_t i = 0; i < count; ++i) {
        for (std::size_t j = 0; j <= i; ++j) {
            double left = a[i][j] * scale[i] * scale[j];
            for (std::size_t k = 0; k < j; ++k) {
                left -= lower[i][k] * lower[j][k];
            }
            if (i == j && !(left > kLeastPivot)) {
                return std::nullopt;
            }
            lower[i][j] = i == j ? std::sqrt(left) : left / lower[j][j];
        }
    }
    SmallVector x{};
    for (std::size_t i = 0; i < count; ++i) {
        x[i] = b[i] * scale[i];
        for (std::size_t k = 0; k < i; ++k) {
            x[i] -= lower[i][k] * x[k];
        }
        x[i] /= lower[i][i];
    }
    for (std::size_t i = count; i-- > 0;) {
        for (std::size_t k = i + 1; k < count; ++k) {
            x[i] -= lower[k][i] * x[k];
        }
        x[i] /= lower[i][i];
    }
    for (std::size_t i = 0; i < count; ++i) {
        x[i] *= scale[i];
    }
    return x;
}

} // namespace detect
