#include "detect/coregister/GroundScatter.h"

#include "detect/coregister/RobustStatistics.h"

#include <algorithm>
#include <cmath>

namespace detect {

namespace {

constexpr std::size_t kMostBins = 12;
constexpr std::size_t kLeastCellsInBin = 100;
constexpr std::size_t kLeastBlocks = 30;
constexpr int kReweightings = 3;
constexpr double kLeastStandardErrors = 3.0;
/// Variance of a squared NMAD of n normal values, times n, over the fourth power of their deviation: four
/// times that of the NMAD itself, which is 1.36 (Rousseeuw & Croux 1993).
constexpr double kVarianceOfSquaredNmad = 5.4;

struct Bin {
    double slopeSquared = 0.0;
    double variance = 0.0; ///< of dZ, square metres
    double cells = 0.0;
};

Bin binOf(const SlopedDifference* first, const SlopedDifference* end, double levelMetres) {
    std::vector<float> dz;
    for (const SlopedDifference* cell = first; cell != end; ++cell) {
        dz.push_back(static_cast<float>(static_cast<double>(cell->dz) - levelMetres));
    }
    // About the level, not about a middle of its own: where an epoch lies aside, a slope's two sides differ.
    const double nmadMetres = stableNmad(std::move(dz), 0.0);
    const auto middle = static_cast<double>(first[(end - first) / 2].slopeSquared);
    return {middle, nmadMetres * nmadMetres, static_cast<double>(end - first)};
}

std::vector<Bin> binBySlope(std::vector<SlopedDifference>& differences, double levelMetres) {
    std::sort(
        differences.begin(), differences.end(),
        [](const SlopedDifference& a, const SlopedDifference& b) { return a.slopeSquared < b.slopeSquared; });
    const std::size_t count = std::min(kMostBins, differences.size() / kLeastCellsInBin);
    std::vector<Bin> bins;
    for (std::size_t i = 0; i < count; ++i) {
        bins.push_back(binOf(differences.data() + i * differences.size() / count,
                             differences.data() + (i + 1) * differences.size() / count, levelMetres));
    }
    return bins;
}

/// variance = level + perSlopeSquared * slopeSquared
struct Line {
    double level = 0.0;
    double perSlopeSquared = 0.0;

    double at(double slopeSquared) const { return level + perSlopeSquared * slopeSquared; }
};

struct WeightedSums {
    double w = 0.0, x = 0.0, y = 0.0, xx = 0.0, xy = 0.0;

    void add(const Bin& bin, double weight) {
        w += weight;
        x += weight * bin.slopeSquared;
        y += weight * bin.variance;
        xx += weight * bin.slopeSquared * bin.slopeSquared;
        xy += weight * bin.slopeSquared * bin.variance;
    }
};

/// A variance is the surer the smaller it is, so the weights lean on the line itself.
Line fitLine(const std::vector<Bin>& bins) {
    Line line;
    for (const Bin& bin : bins) {
        line.level += bin.variance / static_cast<double>(bins.size());
    }
    for (int round = 0; round < kReweightings; ++round) {
        WeightedSums sum;
        for (const Bin& bin : bins) {
            const double expected = line.at(bin.slopeSquared);
            if (!(expected > 0.0)) {
                return line; // epochs that agree perfectly
            }
            sum.add(bin, bin.cells / (kVarianceOfSquaredNmad * expected * expected));
        }
        const double spread = sum.xx - sum.x * sum.x / sum.w; // 1 / variance of the gradient
        const double gradient = (sum.xy - sum.x * sum.y / sum.w) / spread;
        const bool matters = gradient * std::sqrt(spread) > kLeastStandardErrors;
        line = matters ? Line{(sum.y - gradient * sum.x) / sum.w, gradient} : Line{sum.y / sum.w, 0.0};
        // The gentlest ground is no quieter than it was seen to be on any line that grows.
        if (!(line.level > 0.0)) {
            line.level = bins.front().variance;
        }
    }
    return line;
}

} // namespace

double correlatedCells(const BlockMeans& blocks, double nmadOfCells) {
    if (blocks.dz.size() < kLeastBlocks || !(nmadOfCells > 0.0)) {
        return 1.0;
    }
    const double share = robustCentre(blocks.dz).stableNmad / nmadOfCells;
    return std::clamp(blocks.cells * share * share, 1.0, blocks.cells);
}

std::optional<GroundScatter> scatterOnSlopes(std::vector<SlopedDifference> differences, double levelMetres) {
    const std::vector<Bin> bins = binBySlope(differences, levelMetres);
    if (bins.empty()) {
        return std::nullopt;
    }
    const Line line = fitLine(bins);
    return GroundScatter{std::sqrt(line.level), std::sqrt(line.perSlopeSquared)};
}

} // namespace detect
