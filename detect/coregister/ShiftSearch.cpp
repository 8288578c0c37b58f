#include "detect/coregister/ShiftSearch.h"

#include "detect/coregister/CoarseShift.h"
#include "detect/coregister/StableStatistics.h"

#include <cmath>

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

const char* const kTooFewCells = "两期共同有效的像元太少，判断不出水平位移";
const char* const kTooFlat = "地面起伏太小或坡向单一，判断不出水平位移";
const char* const kOutOfRange = "水平位移达到或超出 64 个像元的搜索范围";
const char* const kNotSettled = "水平位移的迭代没有收敛";
const char* const kNoBetter = "平移后高差的离散程度没有变小";

void addHeights(const Adjustment& step, Coregistration& found) {
    found.dzMetres += step.heightMetres;
    found.tiltEast += step.tiltEast;
    found.tiltNorth += step.tiltNorth;
}

/// Takes the mean slopes and the median dZ of each block off.
void levelBlocks(EquationSet& equations) {
    std::vector<float> dz;
    for (std::size_t i = 0, begin = 0; i < equations.blockEnds.size(); begin = equations.blockEnds[i++]) {
        const std::size_t end = equations.blockEnds[i];
        Slope slope;
        Slope half;
        dz.clear();
        for (std::size_t k = begin; k < end; ++k) {
            const Equation& e = equations.cells[k];
            slope = {slope.east + e.slope.east, slope.north + e.slope.north};
            half = {half.east + e.halfDifference.east, half.north + e.halfDifference.north};
            dz.push_back(e.dz);
        }
        const auto share = 1.0F / static_cast<float>(end - begin);
        const auto level = static_cast<float>(median(dz));
        for (std::size_t k = begin; k < end; ++k) {
            Equation& e = equations.cells[k];
            e.slope = {e.slope.east - share * slope.east, e.slope.north - share * slope.north};
            e.halfDifference = {e.halfDifference.east - share * half.east,
                                e.halfDifference.north - share * half.north};
            e.dz -= level;
        }
    }
}

} // namespace

ShiftSearch::ShiftSearch(const PairLayout& layout, const StableSample& sample, int threads,
                         const Progress& progress)
    : m_layout(layout), m_sample(sample), m_threads(threads), m_progress(progress),
      m_frame(layout.oldRaster.grid) {}

Status ShiftSearch::improveWithinBlocks(Coregistration& found) {
    m_withinBlocks = true;
    Status done = improve(found, false);
    m_withinBlocks = false;
    return done;
}

Status ShiftSearch::improve(Coregistration& found, bool tilt) {
    m_tilt = tilt;
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

/// Bias and tilt without a shift; leaves the bias alone where the cells span no plane.
Status ShiftSearch::level(Coregistration& found) const {
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

Result<ShiftSearch::Refusal> ShiftSearch::findShift(Coregistration& found) {
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
        EquationSet& equations = *read;
        if (m_withinBlocks) {
            levelBlocks(equations);
        }
        if (!spansEnough(equations)) {
            return Refusal{kTooFewCells};
        }
        const auto terms = m_tilt ? FitTerms::ShiftAndTilt : FitTerms::Shift;
        const auto fit = fitRobustly(equations, terms, m_frame.cellMetres());
        m_evidence = fit ? fit->evidence : ShiftEvidence();
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

Result<EquationSet> ShiftSearch::readAt(const Coregistration& found) const {
    return readEquations(m_layout, m_sample.patches, {found.dxMetres, found.dyMetres}, correctionOf(found),
                         m_threads);
}

bool ShiftSearch::spansEnough(const EquationSet& equations) {
    return equations.cells.size() >= kLeastCells && equations.blockEnds.size() >= kLeastBlocks;
}

bool ShiftSearch::trustworthy(const ShiftEvidence& evidence) const {
    return evidence.strength > kLeastStrength && evidence.slope * m_frame.cellMetres() > kLeastRiseMetres;
}

bool ShiftSearch::preciseEnough(const ShiftEvidence& evidence) const {
    return evidence.standardErrorMetres <= kLargestErrorCells * m_frame.cellMetres();
}

/// Moves the epoch by a step; true when the step was so small that it need not be looked at again.
bool ShiftSearch::advance(const Adjustment& step, Coregistration& found) const {
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

void ShiftSearch::finish(const EquationSet& equations, const Adjustment& last, Coregistration& found) const {
    addHeights(last, found);
    const std::vector<float> left = residuals(equations, last);
    found.dzMetres -= robustCentre(left).centre;
    takeStatistics(equations, left, found);
    const Point cells = m_frame.toCells({found.dxMetres, found.dyMetres});
    const Affine& toMap = m_layout.oldRaster.grid.cellToMap();
    found.dxCells = cells.x * (toMap.c[1] < 0.0 ? -1.0 : 1.0);
    found.dyCells = cells.y * (toMap.c[5] < 0.0 ? -1.0 : 1.0);
}

bool ShiftSearch::outside(const Coregistration& found) const {
    const Point cells = m_frame.toCells({found.dxMetres, found.dyMetres});
    return std::max(std::abs(cells.x), std::abs(cells.y)) > kCoarseReachCells - 0.5;
}

double ShiftSearch::cellsOf(const Coregistration& found) const {
    const Point cells = m_frame.toCells({found.dxMetres, found.dyMetres});
    return std::hypot(cells.x, cells.y);
}

} // namespace detect
