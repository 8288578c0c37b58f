#include "detect/coregister/StableStatistics.h"

#include <algorithm>
#include <numeric>

namespace detect {

namespace {

constexpr std::size_t kSlopedCells = 80'000;

std::vector<SlopedDifference> withSlopes(const EquationSet& equations, const std::vector<float>& residuals) {
    std::vector<SlopedDifference> sloped;
    const std::size_t stride = residuals.size() / kSlopedCells + 1;
    for (std::size_t i = 0; i < residuals.size(); i += stride) {
        sloped.push_back({equations.cells[i].oldSlope().squared(), residuals[i]});
    }
    return sloped;
}

} // namespace

BlockMeans blockMeans(const EquationSet& equations, const std::vector<float>& residuals) {
    std::size_t largest = 0;
    for (std::size_t i = 0, begin = 0; i < equations.blockEnds.size(); begin = equations.blockEnds[i++]) {
        largest = std::max(largest, equations.blockEnds[i] - begin);
    }
    BlockMeans means;
    for (std::size_t i = 0, begin = 0; i < equations.blockEnds.size(); begin = equations.blockEnds[i++]) {
        const std::size_t cells = equations.blockEnds[i] - begin;
        if (10 * cells < 9 * largest) {
            continue;
        }
        const double sum =
            std::accumulate(residuals.begin() + static_cast<std::ptrdiff_t>(begin),
                            residuals.begin() + static_cast<std::ptrdiff_t>(begin + cells), 0.0);
        means.dz.push_back(static_cast<float>(sum / static_cast<double>(cells)));
        means.cells = static_cast<double>(largest);
    }
    return means;
}

void takeStatistics(const RobustCentre& level, std::vector<SlopedDifference> sloped, const BlockMeans& blocks,
                    Coregistration& found) {
    found.nmadAfterMetres = level.nmad;
    found.stableShare = level.stableShare;
    const GroundScatter whole{level.stableNmad, 0.0};
    const GroundScatter scatter = scatterOnSlopes(std::move(sloped), level.centre).value_or(whole);
    found.sigmaMetres = scatter.sigmaMetres;
    found.sigmaPerSlopeMetres = scatter.sigmaPerSlopeMetres;
    found.correlatedCells = correlatedCells(blocks, level.stableNmad);
}

void takeStatistics(const EquationSet& equations, const std::vector<float>& residuals,
                    Coregistration& found) {
    takeStatistics(robustCentre(residuals), withSlopes(equations, residuals),
                   blockMeans(equations, residuals), found);
}

} // namespace detect
