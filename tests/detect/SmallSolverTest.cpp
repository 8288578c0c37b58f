#include "detect/coregister/SmallSolver.h"

#include <gtest/gtest.h>

namespace detect::test {
namespace {

TEST(SmallSolver, SolvesASymmetricSystemOfAnyScale) {
    // a = l l' with l lower triangular, columns of very different size.
    const SmallMatrix a{{{4e12}, {2e6, 10.0}, {-4e3, 7e-3, 1.4e-5}}};
    const SmallVector truth{3e-7, -2.0, 5e3};
    SmallVector b{};
    for (std::size_t i = 0; i < 3; ++i) {
        for (std::size_t j = 0; j < 3; ++j) {
            b[i] += (j <= i ? a[i][j] : a[j][i]) * truth[j];
        }
    }
    const auto found = solveSymmetric(a, b, 3);
    ASSERT_TRUE(found);
    for (std::size_t i = 0; i < 3; ++i) {
        EXPECT_NEAR((*found)[i] / truth[i], 1.0, 1e-9);
    }
}

TEST(SmallSolver, RefusesWhatIsNotPositiveDefinite) {
    EXPECT_FALSE(solveSymmetric({{{1.0}, {1.0, 1.0}}}, {1.0, 1.0}, 2)) << "two columns alike";
    EXPECT_FALSE(solveSymmetric({{{1.0}, {2.0, 1.0}}}, {1.0, 1.0}, 2)) << "negative";
    EXPECT_FALSE(solveSymmetric({{{0.0}}}, {1.0}, 1));
}

} // namespace
} // namespace detect::test
