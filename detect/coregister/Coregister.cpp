#include "detect/coregister/Coregister.h"

#include "detect/coregister/CoarseShift.h"
#include "detect/coregister/GroundScatter.h"
#include "detect/coregister/RobustFit.h"
#include "detect/coregister/RobustStatistics.h"
#include "detect/raster/CellFrame.h"

#include <cmath>
#include <numeric>

namespace detect {

namespace {

constexpr int kMostIterations = 25;
constexpr double kSettledCells = 0.005;
constexpr double kLargestStepCells = 3.0;
/// A shift below this changes nothing, and leaving it out spares the resampling.
constexpr double kSmallestShiftCells = 0.02;
constexpr double kWorseScatter = 1.02;
constexpr std::size_t kLeastCells = 500;
constexpr std::size_t kLeastBlocks = 8;
/// Standard errors by which the shared slope must differ from none.
constexpr double kLeastStrength = 4.0;
/// Below this height over a cell, moving by a cell makes no difference worth telling, and rounding shows.
constexpr double kLeastRiseMetres = 2e-4;
constexpr double kLargestErrorCells = 0.1;
constexpr std::size_t kSlopedCells = 80'000;

const char* const kTooFewCells = "两期共同有效的像元太少，判断不出水平位移";
const char* const kTooFlat = "地面起伏太小或坡向单一，判断不出水平位移";
const char* const kOutOfRange = "水平位移达到或超出 64 个像元的搜索范围";
const char* const kNotSettled = "水平位移的迭代没有收敛";
const char* const kNoBetter = "平移后高差的离散程度没有变小";

/// Why no shift is told; an empty reason when one is.
struct Refusal {
    std::string reason;
};

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

/// Of the blocks that are whole, or nearly so.
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

std::vector<SlopedDifference> withSlopes(const EquationSet& equations, const std::vector<float>& residuals) {
    std::vector<SlopedDifference> sloped;
    const std::size_t stride = residuals.size() / kSlopedCells + 1;
    for (std::size_t i = 0; i < residuals.size(); i += stride) {
        sloped.push_back({equations.cells[i].oldSlope().squared(), residuals[i]});
    }
    return sloped;
}

/// Improves a co-registration that holds the bias.
class FullSearch {
public:
    FullSearch(const PairLayout& layout, const StableSample& sample, int threads, bool tilt,
               const Progress& progress)
        : m_layout(layout), m_sample(sample), m_threads(threads), m_tilt(tilt), m_progress(progress),
          m_frame(layout.oldRaster.grid) {}

    Status improve(Coregistration& found) {
        if (m_tilt) {
            if (auto done = level(found); !done) {
                return failed(done);
            }
        }
        Coregistration shifted = found;
        auto outcome = findShift(shifted);
        if (!outcome) {
            return failed(outcome);
        }
        found.iterations = shifted.iterations;
        found.refusal = outcome->reason;
        if (found.refusal.empty() && cellsOf(shifted) >= kSmallestShiftCells) {
            if (shifted.nmadAfterMetres > kWorseScatter * found.nmadAfterMetres) {
                found.refusal = kNoBetter;
            } else {
                found = shifted;
            }
        }
        return {};
    }

private:
    /// Bias and tilt without a shift; leaves the bias alone where the cells span no plane.
    Status level(Coregistration& found) const {
        auto read = readAt(found);
        if (!read) {
            return failed(read);
        }
        const auto& equations = *read;
        if (!spansEnough(equations)) {
            return {};
        }
        if (const auto fit = fitRobustly(equations, FitTerms::Tilt, m_frame.cellMetres())) {
            finish(equations, fit->adjustment, found);
        }
        return {};
    }

    Result<Refusal> findShift(Coregistration& found) {
        auto coarse = findCoarseShift(m_layout, m_sample.patches, correctionOf(found));
        if (!coarse) {
            return failed(coarse);
        }
        const CellShift cells = *coarse;
        const Shift start = m_frame.toMetres({double(cells.columns), double(cells.rows)});
        found.dxMetres = start.eastMetres;
        found.dyMetres = start.northMetres;
        if (outside(found)) {
            return Refusal{kOutOfRange};
        }
        while (found.iterations < kMostIterations) {
            if (m_progress && !m_progress(static_cast<double>(found.iterations) / kMostIterations)) {
                return cancelled();
            }
            ++found.iterations;
            auto read = readAt(found);
            if (!read) {
                return failed(read);
            }
            const auto& equations = *read;
            if (!spansEnough(equations)) {
                return Refusal{kTooFewCells};
            }
            const auto terms = m_tilt ? FitTerms::ShiftAndTilt : FitTerms::Shift;
            const auto fit = fitRobustly(equations, terms, m_frame.cellMetres());
            if (!fit || !trustworthy(fit->evidence)) {
                return Refusal{kTooFlat};
            }
            if (advance(fit->adjustment, found)) {
                finish(equations, fit->adjustment, found);
                return preciseEnough(fit->evidence) ? Refusal{} : Refusal{kTooFlat};
            }
            if (outside(found)) {
                return Refusal{kOutOfRange};
            }
        }
        return Refusal{kNotSettled};
    }

    Result<EquationSet> readAt(const Coregistration& found) const {
        return readEquations(m_layout, m_sample.patches, {found.dxMetres, found.dyMetres},
                             correctionOf(found), m_threads);
    }

    static bool spansEnough(const EquationSet& equations) {
        return equations.cells.size() >= kLeastCells && equations.blockEnds.size() >= kLeastBlocks;
    }

    bool trustworthy(const ShiftEvidence& evidence) const {
        return evidence.strength > kLeastStrength && evidence.slope * m_frame.cellMetres() > kLeastRiseMetres;
    }

    bool preciseEnough(const ShiftEvidence& evidence) const {
        return evidence.standardErrorMetres <= kLargestErrorCells * m_frame.cellMetres();
    }

    /// Moves the epoch by a step; true when the step was so small that it need not be looked at again.
    bool advance(const Adjustment& step, Coregistration& found) const {
        const Point cells = m_frame.toCells({step.eastMetres, step.northMetres});
        const double length = std::hypot(cells.x, cells.y);
        const double factor = length > kLargestStepCells ? kLargestStepCells / length : 1.0;
        found.dxMetres += factor * step.eastMetres;
        found.dyMetres += factor * step.northMetres;
        const bool settled = length < kSettledCells;
        if (!settled && factor == 1.0) {
            addHeights(step, found);
        }
        return settled;
    }

    static void addHeights(const Adjustment& step, Coregistration& found) {
        found.dzMetres += step.heightMetres;
        found.tiltEast += step.tiltEast;
        found.tiltNorth += step.tiltNorth;
    }

    /// Takes over the last adjustment's heights, the bias once more as the level of what it leaves.
    void finish(const EquationSet& equations, const Adjustment& last, Coregistration& found) const {
        addHeights(last, found);
        const std::vector<float> left = residuals(equations, last);
        const RobustCentre level = robustCentre(left);
        found.dzMetres -= level.centre;
        takeStatistics(level, withSlopes(equations, left), blockMeans(equations, left), found);
        const Point cells = m_frame.toCells({found.dxMetres, found.dyMetres});
        const Affine& toMap = m_layout.oldRaster.grid.cellToMap();
        found.dxCells = cells.x * (toMap.c[1] < 0.0 ? -1.0 : 1.0);
        found.dyCells = cells.y * (toMap.c[5] < 0.0 ? -1.0 : 1.0);
    }

    bool outside(const Coregistration& found) const {
        const Point cells = m_frame.toCells({found.dxMetres, found.dyMetres});
        return std::max(std::abs(cells.x), std::abs(cells.y)) > kCoarseReachCells - 0.5;
    }

    double cellsOf(const Coregistration& found) const {
        const Point cells = m_frame.toCells({found.dxMetres, found.dyMetres});
        return std::hypot(cells.x, cells.y);
    }

    HeightCorrection correctionOf(const Coregistration& found) const {
        return {found, m_layout.oldRaster.grid};
    }

    const PairLayout& m_layout;
    const StableSample& m_sample;
    const int m_threads;
    const bool m_tilt;
    const Progress& m_progress;
    CellFrame m_frame;
};

} // namespace

Result<Coregistration> coregister(const PairLayout& layout, CoregistrationMethod method, int threads,
                                  const Progress& progress, bool tilt) {
    const bool full = method == CoregistrationMethod::Full;
    const double samplingShare = full ? 0.2 : 1.0;
    const auto part = [&](double from, double share) -> Progress {
        if (!progress) {
            return {};
        }
        return [&progress, from, share](double done) { return progress(from + share * done); };
    };
    auto taken = takeSample(layout, full, threads, part(0.0, samplingShare));
    if (!taken) {
        return failed(taken);
    }
    const StableSample& sample = *taken;

    const RobustCentre level = robustCentre(sample.dz);
    Coregistration found;
    found.method = method;
    found.nmadBeforeMetres = level.nmad;
    const double blockCells = StableSample::kBlockSide * StableSample::kBlockSide;
    takeStatistics(level, sample.sloped, {sample.blockMeans, blockCells}, found);
    if (method == CoregistrationMethod::None) {
        return found;
    }
    found.dzMetres = -level.centre;
    if (!full) {
        found.iterations = level.passes;
        return found;
    }
    const Progress searching = part(samplingShare, 1.0 - samplingShare);
    if (auto done = FullSearch(layout, sample, threads, tilt, searching).improve(found); !done) {
        return failed(done);
    }
    return found;
}

} // namespace detect
