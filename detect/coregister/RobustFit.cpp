#include "detect/coregister/RobustFit.h"

#include "detect/coregister/RobustStatistics.h"
#include "detect/coregister/SmallSolver.h"

#include <cmath>
#include <limits>

namespace detect {

namespace {

constexpr int kMostReweightings = 12;
constexpr double kSettledScatter = 1e-3; ///< relative change between two reweightings
constexpr double kLeastScatterMetres = 1e-6;
/// Uncertain position of an old cell's slope: steep places (walls) may deviate more before they count as
/// changed.
constexpr double kSlopeSlackCells = 0.25;
constexpr double kTukeyReach = 4.685;
constexpr std::size_t kScatterCells = 200'000;

/// Slopes as doubles, and symmetric 2 x 2 matrices over them.
struct Pair {
    double east = 0.0;
    double north = 0.0;
};

Pair pairOf(const Slope& slope) {
    return {static_cast<double>(slope.east), static_cast<double>(slope.north)};
}

struct PairMatrix {
    double ee = 0.0;
    double en = 0.0;
    double nn = 0.0;

    void addProduct(const Pair& p, double weight) {
        ee += weight * p.east * p.east;
        en += weight * p.east * p.north;
        nn += weight * p.north * p.north;
    }
    double along(const Pair& p) const {
        return p.east * p.east * ee + 2.0 * p.east * p.north * en + p.north * p.north * nn;
    }
    double halfGap() const { return std::hypot((ee - nn) / 2.0, en); }
    double smallestEigenvalue() const { return (ee + nn) / 2.0 - halfGap(); }
    double largestEigenvalue() const { return (ee + nn) / 2.0 + halfGap(); }
    /// Unit vector of the smallest eigenvalue.
    Pair weakestDirection() const {
        const double angle = std::atan2(2.0 * en, ee - nn) / 2.0;
        return {-std::sin(angle), std::cos(angle)};
    }
    Pair solve(const Pair& b) const {
        const double determinant = ee * nn - en * en;
        return {(nn * b.east - en * b.north) / determinant, (ee * b.north - en * b.east) / determinant};
    }
};

/// The unknowns in their order: height, tilt if fitted, shift if fitted.
class Columns {
public:
    explicit Columns(FitTerms terms) : m_tilt(terms != FitTerms::Shift), m_shift(terms != FitTerms::Tilt) {}

    bool hasShift() const { return m_shift; }
    /// Height and tilt.
    std::size_t levelling() const { return m_tilt ? 3 : 1; }
    std::size_t count() const { return levelling() + (m_shift ? 2 : 0); }
    /// Factors of the unknowns in the equation.
    SmallVector of(const Equation& e) const {
        SmallVector row{-1.0};
        if (m_tilt) {
            row[1] = -static_cast<double>(e.eastMetres);
            row[2] = -static_cast<double>(e.northMetres);
        }
        if (m_shift) {
            row[levelling()] = static_cast<double>(e.slope.east);
            row[levelling() + 1] = static_cast<double>(e.slope.north);
        }
        return row;
    }
    Adjustment adjustment(const SmallVector& x) const {
        Adjustment made;
        made.heightMetres = x[0];
        if (m_tilt) {
            made.tiltEast = x[1];
            made.tiltNorth = x[2];
        }
        if (m_shift) {
            made.eastMetres = x[levelling()];
            made.northMetres = x[levelling() + 1];
        }
        return made;
    }

private:
    bool m_tilt;
    bool m_shift;
};

float residual(const Equation& e, const Adjustment& a) {
    const double explained = a.eastMetres * static_cast<double>(e.slope.east) +
                             a.northMetres * static_cast<double>(e.slope.north) - a.heightMetres -
                             a.tiltEast * static_cast<double>(e.eastMetres) -
                             a.tiltNorth * static_cast<double>(e.northMetres);
    return static_cast<float>(static_cast<double>(e.dz) - explained);
}

/// NMAD of evenly spread ones; no more are needed to know it to half a per cent.
double scatterOf(const std::vector<float>& values) {
    const std::size_t stride = values.size() / kScatterCells + 1;
    std::vector<float> some;
    some.reserve(values.size() / stride + 1);
    for (std::size_t i = 0; i < values.size(); i += stride) {
        some.push_back(values[i]);
    }
    return std::max(nmad(some, 0.0), kLeastScatterMetres);
}

class RobustFitter {
public:
    RobustFitter(const EquationSet& equations, FitTerms terms, double cellMetres)
        : m_equations(equations), m_columns(terms), m_cellMetres(cellMetres),
          m_weights(equations.cells.size()) {}

    std::optional<Fit> run() {
        Fit fit;
        m_left = residuals(m_equations, fit.adjustment);
        fit.adjustment.heightMetres = -robustCentre(m_left).centre;
        double scatter = 0.0;
        int round = 0;
        for (bool settled = false; !settled && round < kMostReweightings; ++round) {
            m_left = residuals(m_equations, levellingOf(fit.adjustment));
            const double before = scatter;
            scatter = scatterOf(m_left);
            weigh(scatter);
            const auto better = solve();
            if (!better) {
                return std::nullopt;
            }
            fit.adjustment = *better;
            settled = std::abs(scatter - before) < kSettledScatter * scatter;
        }
        if (m_columns.hasShift()) {
            m_left = residuals(m_equations, fit.adjustment);
            fit.evidence = judge();
        }
        return fit;
    }

private:
    /// Weights look at what lies there now. With the fitted shift taken off, the slopes' noise would be in
    /// the residuals too, and weights that see both lengthen the step.
    static Adjustment levellingOf(Adjustment adjustment) {
        adjustment.eastMetres = 0.0;
        adjustment.northMetres = 0.0;
        return adjustment;
    }

    struct BlockSums {
        PairMatrix shared; ///< products of slopes common to both epochs
        Pair pull;         ///< of the residuals on the shift
        double weight = 0.0;
    };

    /// Tukey's biweight over the variance. What is steep in both epochs may stray, what is steep in one of
    /// them (the edge of a change) may not, and both weigh little. Treats the epochs alike, or the noise of
    /// their slopes would not cancel.
    void weigh(double scatter) {
        const double slack = kSlopeSlackCells * m_cellMetres;
        for (std::size_t i = 0; i < m_weights.size(); ++i) {
            const Slope& s = m_equations.cells[i].slope;
            const Slope& d = m_equations.cells[i].halfDifference;
            const float middle = s.squared() + d.squared();
            const float apart = 2.0F * std::abs(s.east * d.east + s.north * d.north);
            const auto gentler = static_cast<double>(std::max(middle - apart, 0.0F));
            const auto steeper = static_cast<double>(middle + apart);
            const double reach2 = (scatter * scatter + slack * slack * gentler) * kTukeyReach * kTukeyReach;
            const auto left = static_cast<double>(m_left[i]);
            const double inside = std::max(1.0 - left * left / reach2, 0.0);
            m_weights[i] =
                static_cast<float>(inside * inside / (scatter * scatter + slack * slack * steeper));
        }
    }

    std::optional<Adjustment> solve() {
        m_normal = {};
        SmallVector right{};
        PairMatrix noise;
        const std::size_t count = m_columns.count();
        for (std::size_t i = 0; i < m_weights.size(); ++i) {
            const auto weight = static_cast<double>(m_weights[i]);
            if (weight == 0.0) {
                continue;
            }
            const Equation& e = m_equations.cells[i];
            const SmallVector row = m_columns.of(e);
            for (std::size_t r = 0; r < count; ++r) {
                const double weighted = weight * row[r];
                for (std::size_t c = 0; c <= r; ++c) {
                    m_normal[r][c] += weighted * row[c];
                }
                right[r] += weighted * static_cast<double>(e.dz);
            }
            noise.addProduct(pairOf(e.halfDifference), weight);
        }
        if (m_columns.hasShift()) {
            subtract(noise);
        }
        const auto x = solveSymmetric(m_normal, right, count);
        if (!x) {
            return std::nullopt;
        }
        return m_columns.adjustment(*x);
    }

    void subtract(const PairMatrix& noise) {
        const std::size_t east = m_columns.levelling();
        m_normal[east][east] -= noise.ee;
        m_normal[east + 1][east] -= noise.en;
        m_normal[east + 1][east + 1] -= noise.nn;
    }

    ShiftEvidence judge() const {
        const std::vector<BlockSums> blocks = sumBlocks();
        BlockSums all;
        for (const BlockSums& block : blocks) {
            all.shared.ee += block.shared.ee;
            all.shared.en += block.shared.en;
            all.shared.nn += block.shared.nn;
            all.weight += block.weight;
        }
        const double shared = all.shared.smallestEigenvalue();
        if (!(shared > 0.0)) {
            return {0.0, 0.0, std::numeric_limits<double>::infinity()};
        }
        const Pair weakest = all.shared.weakestDirection();
        double variance = 0.0;
        PairMatrix shiftVariance;
        for (const BlockSums& block : blocks) {
            const double off = block.shared.along(weakest) - shared * block.weight / all.weight;
            variance += off * off;
            shiftVariance.addProduct(all.shared.solve(block.pull), 1.0);
        }
        return {shared / std::sqrt(variance), std::sqrt(shared / all.weight),
                std::sqrt(shiftVariance.largestEigenvalue())};
    }

    /// With the part of the slopes that height and tilt explain taken away.
    std::vector<BlockSums> sumBlocks() const {
        const std::size_t levelling = m_columns.levelling();
        const auto explained = [&](std::size_t slope) {
            return solveSymmetric(m_normal, m_normal[slope], levelling).value_or(SmallVector{});
        };
        const SmallVector ofEast = explained(levelling);
        const SmallVector ofNorth = explained(levelling + 1);
        std::vector<BlockSums> blocks;
        blocks.reserve(m_equations.blockEnds.size());
        std::size_t i = 0;
        for (const std::size_t end : m_equations.blockEnds) {
            BlockSums sums;
            for (; i < end; ++i) {
                const Equation& e = m_equations.cells[i];
                const auto weight = static_cast<double>(m_weights[i]);
                const SmallVector row = m_columns.of(e);
                Pair slope = pairOf(e.slope);
                for (std::size_t c = 0; c < levelling; ++c) {
                    slope.east -= ofEast[c] * row[c];
                    slope.north -= ofNorth[c] * row[c];
                }
                sums.shared.addProduct(slope, weight);
                sums.shared.addProduct(pairOf(e.halfDifference), -weight);
                sums.pull.east += weight * slope.east * static_cast<double>(m_left[i]);
                sums.pull.north += weight * slope.north * static_cast<double>(m_left[i]);
                sums.weight += weight;
            }
            blocks.push_back(sums);
        }
        return blocks;
    }

    const EquationSet& m_equations;
    const Columns m_columns;
    const double m_cellMetres;
    std::vector<float> m_left;    ///< residuals, metres
    std::vector<float> m_weights; ///< of the last round
    SmallMatrix m_normal{};       ///< of the last round
};

} // namespace

std::optional<Fit> fitRobustly(const EquationSet& equations, FitTerms terms, double cellMetres) {
    return RobustFitter(equations, terms, cellMetres).run();
}

std::vector<float> residuals(const EquationSet& equations, const Adjustment& adjustment) {
    std::vector<float> left;
    left.reserve(equations.cells.size());
    for (const Equation& e : equations.cells) {
        left.push_back(residual(e, adjustment));
    }
    return left;
}

} // namespace detect
