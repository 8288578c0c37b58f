#pragma once

#include <array>
#include <optional>

namespace detect {

/// At most five unknowns; only the first `count` rows and columns of a matrix are looked at.
using SmallVector = std::array<double, 5>;
using SmallMatrix = std::array<SmallVector, 5>;

/// Solves a x = b for a symmetric matrix (its lower triangle) by Cholesky's method, on columns scaled to a
/// unit diagonal. Nothing when the matrix is not positive definite to nine digits.
std::optional<SmallVector> solveSymmetric(const SmallMatrix& a, const SmallVector& b, std::size_t count);

} // namespace detect
