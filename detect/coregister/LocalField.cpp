#include "detect/coregister/LocalField.h"

#include "detect/coregister/RobustStatistics.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace detect {

namespace {

constexpr float kNoLevel = std::numeric_limits<float>::quiet_NaN();
constexpr int kRounds = 4;
constexpr int kReach = 2; ///< blocks around that suggest a block's level
constexpr std::size_t kLeastBlocks = 9;
constexpr double kLeastFilled = 0.25; ///< of a block, so that its median counts
constexpr double kLeastKept = 0.5;    ///< of its cells, so that it is stable ground
constexpr double kCellNmads = 3.0;
constexpr double kBlockNmads = 5.0;        ///< of the levels of all blocks
constexpr double kNeighbourNmads = 6.0;    ///< of what lies between a block and those around it
constexpr double kLeastErrors = 4.0;       ///< standard errors of a block
constexpr double kMedianEfficiency = 1.25; ///< standard error of a median over that of a mean
constexpr int kRelaxations = 400;
constexpr double kSettledMetres = 1e-4;
constexpr double kForetoldShare = 0.7;
constexpr double kLeastOfNoise = 0.15;

bool isKnown(float level) {
    return level == level;
}

/// Levels of blocks that lie side by side.
class Levels {
public:
    Levels(int columns, int rows)
        : m_columns(columns), m_rows(rows),
          m_levels(static_cast<std::size_t>(columns) * static_cast<std::size_t>(rows), kNoLevel) {}
    Levels(std::vector<float> levels, int columns, int rows)
        : m_columns(columns), m_rows(rows), m_levels(std::move(levels)) {}

    int columns() const { return m_columns; }
    int rows() const { return m_rows; }
    std::vector<float>& all() { return m_levels; }
    const std::vector<float>& all() const { return m_levels; }
    std::size_t index(int column, int row) const {
        return static_cast<std::size_t>(row) * static_cast<std::size_t>(m_columns) +
               static_cast<std::size_t>(column);
    }
    /// NaN beyond the border.
    float at(int column, int row) const {
        const bool inside = column >= 0 && row >= 0 && column < m_columns && row < m_rows;
        return inside ? m_levels[index(column, row)] : kNoLevel;
    }
    std::vector<float> known() const {
        std::vector<float> found;
        std::copy_if(m_levels.begin(), m_levels.end(), std::back_inserter(found), isKnown);
        return found;
    }
    /// Of those up to `reach` around, without itself; NaN when there is none.
    float medianAround(int column, int row, int reach) const {
        std::vector<float> around;
        for (int r = row - reach; r <= row + reach; ++r) {
            for (int c = column - reach; c <= column + reach; ++c) {
                if ((r != row || c != column) && isKnown(at(c, r))) {
                    around.push_back(at(c, r));
                }
            }
        }
        return around.empty() ? kNoLevel : static_cast<float>(median(around));
    }

private:
    int m_columns;
    int m_rows;
    std::vector<float> m_levels;
};

class LocalFitter {
public:
    LocalFitter(const GroundBlocks& blocks, double correlatedCells)
        : m_blocks(blocks), m_correlatedCells(std::max(1.0, correlatedCells)),
          m_levels(blocks.nodes.columns, blocks.nodes.rows) {}

    std::optional<LocalFit> run() {
        if (!takeFirstLevels()) {
            return std::nullopt;
        }
        for (int round = 0; round < kRounds; ++round) {
            leaveOutChangedBlocks();
            refine();
        }
        leaveOutChangedBlocks();
        LocalFit fit;
        fit.foretelling = foretell(m_levels.all(), m_levels.columns(), m_levels.rows());
        const auto told = m_levels.known().size();
        if (told < kLeastBlocks) {
            return std::nullopt;
        }
        fit.leftOutShare = 1.0 - static_cast<double>(told) / static_cast<double>(m_filledBlocks);
        fit.sigmaMetres = standardError();
        relax();
        measure(fit);
        fit.metres = std::move(m_levels.all());
        return fit;
    }

private:
    std::size_t count() const { return m_blocks.nodes.count(); }

    bool takeFirstLevels() {
        std::vector<float> scatters;
        for (std::size_t i = 0; i < count(); ++i) {
            const int samples = m_blocks.sampleCount[i];
            if (samples < kLeastFilled * static_cast<double>(m_blocks.mostSamples)) {
                continue;
            }
            const float* dz = m_blocks.of(i);
            m_levels.all()[i] = dz[samples / 2];
            std::vector<float> own(dz, dz + samples);
            scatters.push_back(static_cast<float>(nmad(own, static_cast<double>(dz[samples / 2]))));
        }
        m_filledBlocks = scatters.size();
        m_cellSigma = median(scatters);
        return m_filledBlocks >= kLeastBlocks;
    }

    /// Of a block's median.
    double standardError() const {
        const double cells = static_cast<double>(m_blocks.nodes.spacing) * m_blocks.nodes.spacing;
        const double independent =
            std::min(static_cast<double>(m_blocks.mostSamples), cells / m_correlatedCells);
        return kMedianEfficiency * m_cellSigma / std::sqrt(std::max(1.0, independent));
    }

    void leaveOutChangedBlocks() {
        std::vector<float> known = m_levels.known();
        if (known.empty()) {
            return;
        }
        const double middle = median(known);
        const double least = kLeastErrors * standardError();
        const double reachOfAll = std::max(kBlockNmads * nmad(known, middle), least);
        std::vector<float> apart(count(), kNoLevel);
        for (int row = 0; row < m_levels.rows(); ++row) {
            for (int column = 0; column < m_levels.columns(); ++column) {
                apart[m_levels.index(column, row)] =
                    m_levels.at(column, row) - m_levels.medianAround(column, row, kReach);
            }
        }
        std::vector<float> differences;
        std::copy_if(apart.begin(), apart.end(), std::back_inserter(differences), isKnown);
        const double reachAround = std::max(kNeighbourNmads * nmad(differences, 0.0), least);
        std::vector<std::uint8_t> changed(count(), 0);
        for (std::size_t i = 0; i < count(); ++i) {
            const auto level = static_cast<double>(m_levels.all()[i]);
            changed[i] = std::abs(level - middle) > reachOfAll ||
                         std::abs(static_cast<double>(apart[i])) > reachAround;
        }
        for (std::size_t i = 0; i < count(); ++i) {
            if (changed[i] != 0 || runsOutHere(i, changed, apart, reachAround / 3.0)) {
                m_levels.all()[i] = kNoLevel;
            }
        }
    }

    /// A change beside the block reaches into it: it lies off to the same side.
    bool runsOutHere(std::size_t block, const std::vector<std::uint8_t>& changed,
                     const std::vector<float>& apart, double reach) const {
        if (!(std::abs(static_cast<double>(apart[block])) > reach)) {
            return false;
        }
        for (int r = rowOf(block) - 1; r <= rowOf(block) + 1; ++r) {
            for (int c = columnOf(block) - 1; c <= columnOf(block) + 1; ++c) {
                const bool inside = c >= 0 && r >= 0 && c < m_levels.columns() && r < m_levels.rows();
                const std::size_t other = inside ? m_levels.index(c, r) : block;
                if (changed[other] != 0 && apart[other] * apart[block] > 0.0F) {
                    return true;
                }
            }
        }
        return false;
    }

    /// Medians of the cells that lie near what is known around them; blocks left out may come back.
    void refine() {
        Levels better(m_levels.columns(), m_levels.rows());
        for (int row = 0; row < m_levels.rows(); ++row) {
            for (int column = 0; column < m_levels.columns(); ++column) {
                better.all()[m_levels.index(column, row)] = refined(column, row);
            }
        }
        m_levels = std::move(better);
    }

    float refined(int column, int row) const {
        const std::size_t block = m_levels.index(column, row);
        const int samples = m_blocks.sampleCount[block];
        const float own = m_levels.at(column, row);
        const float expected = isKnown(own) ? own : m_levels.medianAround(column, row, kReach);
        if (samples < kLeastFilled * static_cast<double>(m_blocks.mostSamples) || !isKnown(expected)) {
            return kNoLevel;
        }
        const auto reach = static_cast<float>(std::max(kCellNmads * m_cellSigma, kSettledMetres));
        const float* dz = m_blocks.of(block);
        const float* first = std::lower_bound(dz, dz + samples, expected - reach);
        const float* end = std::upper_bound(first, dz + samples, expected + reach);
        const auto kept = end - first;
        return static_cast<double>(kept) < kLeastKept * samples ? kNoLevel : first[kept / 2];
    }

    /// Fills what is not known: first from what is nearest, then each from its neighbours until it is smooth.
    void relax() {
        std::vector<std::size_t> open = fillFromNeighbours();
        for (int round = 0; round < kRelaxations && !open.empty(); ++round) {
            double largest = 0.0;
            for (const std::size_t i : open) {
                const float mean = meanOfSides(i);
                largest = std::max(largest, std::abs(static_cast<double>(mean - m_levels.all()[i])));
                m_levels.all()[i] = mean;
            }
            if (largest < kSettledMetres) {
                return;
            }
        }
    }

    /// Layer by layer, outwards from what is known. Returns what holds heights among them.
    std::vector<std::size_t> fillFromNeighbours() {
        std::vector<std::size_t> filled;
        std::vector<std::size_t> layer;
        for (std::size_t i = 0; i < count(); ++i) {
            if (!isKnown(m_levels.all()[i]) && isKnown(meanOfSides(i))) {
                layer.push_back(i);
            }
        }
        while (!layer.empty()) {
            std::vector<float> means;
            for (const std::size_t i : layer) {
                means.push_back(meanOfSides(i));
            }
            std::vector<std::size_t> following;
            for (std::size_t k = 0; k < layer.size(); ++k) {
                m_levels.all()[layer[k]] = means[k];
                if (m_blocks.sampleCount[layer[k]] > 0) {
                    filled.push_back(layer[k]);
                }
            }
            for (const std::size_t i : layer) {
                appendUnknownSides(i, following);
            }
            std::sort(following.begin(), following.end());
            following.erase(std::unique(following.begin(), following.end()), following.end());
            layer = std::move(following);
        }
        return filled;
    }

    void appendUnknownSides(std::size_t i, std::vector<std::size_t>& unknown) const {
        const int column = columnOf(i);
        const int row = rowOf(i);
        const std::pair<int, int> sides[] = {
            {column - 1, row}, {column + 1, row}, {column, row - 1}, {column, row + 1}};
        for (const auto& [c, r] : sides) {
            const bool inside = c >= 0 && r >= 0 && c < m_levels.columns() && r < m_levels.rows();
            if (inside && !isKnown(m_levels.at(c, r))) {
                unknown.push_back(m_levels.index(c, r));
            }
        }
    }

    int columnOf(std::size_t i) const { return static_cast<int>(i) % m_levels.columns(); }
    int rowOf(std::size_t i) const { return static_cast<int>(i) / m_levels.columns(); }

    float meanOfSides(std::size_t i) const {
        const int column = columnOf(i);
        const int row = rowOf(i);
        float sum = 0.0F;
        float known = 0.0F;
        for (const float side : {m_levels.at(column - 1, row), m_levels.at(column + 1, row),
                                 m_levels.at(column, row - 1), m_levels.at(column, row + 1)}) {
            if (isKnown(side)) {
                sum += side;
                known += 1.0F;
            }
        }
        return known > 0.0F ? sum / known : kNoLevel;
    }

    void measure(LocalFit& fit) const {
        std::size_t exceeding = 0;
        for (const float level : m_levels.all()) {
            const double size = std::abs(static_cast<double>(level));
            fit.largestMetres = std::max(fit.largestMetres, size);
            exceeding += size > 2.0 * fit.sigmaMetres ? 1U : 0U;
        }
        fit.exceedingShare = static_cast<double>(exceeding) / static_cast<double>(count());
    }

    const GroundBlocks& m_blocks;
    const double m_correlatedCells;
    Levels m_levels;
    std::size_t m_filledBlocks = 0;
    double m_cellSigma = 0.0;
};

} // namespace

bool Foretelling::isSmoothMisfit(double noiseMetres) const {
    return blocks >= 2 * kLeastBlocks && leftMetres < kForetoldShare * scatterMetres &&
           scatterMetres > kLeastOfNoise * noiseMetres;
}

Foretelling foretell(const std::vector<float>& levels, int columns, int rows) {
    const Levels all(levels, columns, rows);
    std::vector<float> own;
    std::vector<float> left;
    const auto compare = [&](float level, float before, float after) {
        const float difference = level - (before + after) / 2.0F;
        if (isKnown(difference)) {
            own.push_back(level);
            left.push_back(difference);
        }
    };
    for (int row = 0; row < rows; ++row) {
        for (int column = 0; column < columns; ++column) {
            const float level = all.at(column, row);
            compare(level, all.at(column - 1, row), all.at(column + 1, row));
            compare(level, all.at(column, row - 1), all.at(column, row + 1));
        }
    }
    Foretelling found;
    found.blocks = own.size();
    found.scatterMetres = nmad(own, median(own));
    found.leftMetres = nmad(left, 0.0);
    return found;
}

std::optional<LocalFit> fitLocalField(const GroundBlocks& blocks, double correlatedCells) {
    return LocalFitter(blocks, correlatedCells).run();
}

} // namespace detect
