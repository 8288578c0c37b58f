#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <limits>
#include <vector>

namespace detect {

/// Sums over cells are kept in whole units, because whole numbers add up to the same whatever the order and
/// wherever a run was cut: dZ in 1 / 2^24 m, its variance in 1 / 2^32 m2.
constexpr double kSumUnitMetres = 1.0 / (1 << 24);
constexpr double kVarianceUnitSquareMetres = kSumUnitMetres / (1 << 8);

/// Run::heights where the dZ of the cells are not kept.
constexpr std::size_t kNoHeights = static_cast<std::size_t>(-1);

/// Cells `begin` up to, not including, `end` of one row whose dZ reaches the lower level of detection with
/// one sign. Noise makes many of them, most of which are dropped before more than this is known of them.
struct RunSpan {
    std::int32_t row = 0;
    std::int32_t begin = 0;
    std::int32_t end = 0;
    std::int8_t sign = 0; ///< +1 fill, -1 cut
    /// A single cell with a weaker dZ between two runs of this sign. It joins them when the cells above and
    /// below are members of the same sign too, and is dropped otherwise.
    bool gap = false;

    std::int32_t cells() const { return end - begin; }
    /// Row order; at one place cut before fill.
    bool isBefore(const RunSpan& other) const {
        return row != other.row       ? row < other.row
               : begin != other.begin ? begin < other.begin
                                      : sign < other.sign;
    }
};

/// A run and what was measured of its cells.
struct Run : RunSpan {
    Run() = default;
    explicit Run(const RunSpan& span) : RunSpan(span) {}

    /// Its levels of detection are those of restless ground; see StandingOut.
    bool restless = false;
    float lowest = 0.0F;       ///< dZ, metres
    float highest = 0.0F;      ///< dZ, metres
    float strongest = 0.0F;    ///< largest |dZ| of a cell over its level of detection
    std::int64_t raised = 0;   ///< sum of the positive dZ, in sumUnitMetres
    std::int64_t sunk = 0;     ///< sum of the negative dZ, in sumUnitMetres
    std::int64_t variance = 0; ///< sum over the cells, in varianceUnitSquareMetres
    /// Cells whose change a shift by one cell would explain; see Traits. 0 where no rule asks.
    std::int32_t explainedByShift = 0;
    /// Cells in the middle of a core: 3 x 3 cells that all reach their whole level of detection.
    std::int32_t cores = 0;
    std::int32_t coresBegin = 0; ///< all of them lie in these columns
    std::int32_t coresEnd = 0;
    std::size_t heights = 0; ///< where the dZ of its cells begin in what goes with the runs

    /// Takes over the cores of another run of the row.
    void addCores(std::int32_t count, std::int32_t from, std::int32_t to) {
        if (count == 0) {
            return;
        }
        coresBegin = cores == 0 ? from : std::min(coresBegin, from);
        coresEnd = std::max(coresEnd, to);
        cores += count;
    }
};

/// Runs and, at Run::heights, the dZ of their cells (metres).
struct MeasuredRuns {
    std::vector<Run> runs;
    std::vector<float> heights;

    const float* heightsOf(const Run& run) const {
        return run.heights != kNoHeights ? heights.data() + run.heights : nullptr;
    }
    void append(const Run& run, const float* runHeights) {
        runs.push_back(run);
        runs.back().heights = runHeights ? heights.size() : kNoHeights;
        if (runHeights) {
            heights.insert(heights.end(), runHeights, runHeights + run.cells());
        }
    }
};

/// What one row of dZ is judged by; all pointers to the same columns.
struct RowOfCells {
    const float* dz = nullptr; ///< NaN where nothing was measured
    int columns = 0;
    int row = 0;
    int firstColumn = 0;
    /// Standard deviation of each cell's dZ, metres; null where one holds for all.
    const float* sigmas = nullptr;
    /// +1 or -1 where the median of the dZ of a cell and the eight around it makes it the rim of a change, 0 elsewhere;
    /// null where no cell is.
    const std::int8_t* rims = nullptr;
};

/// Level of detection of a cell: so many standard deviations of its dZ, and at least the threshold; metres.
struct CellLevel {
    float threshold = 0.5F;
    float quantile = 0.0F;
    float sigma = 0.0F; ///< of the cells that bring no standard deviation of their own
    float seed = 0.0F;  ///< what seeds must reach at least, or noise makes them; metres

    float at(float cellSigma) const {
        const float significant = quantile * cellSigma;
        return threshold > significant ? threshold : significant;
    }
    /// What the median around a cell must reach, so that the cell belongs to the rim of a change: the share of what
    /// a cell itself must reach to belong to it, taken once more, and no less than noise leaves of a median.
    /// Infinite where that is no less than what the cell itself must reach.
    float rim(float cellSigma, float growRatio) const {
        const float whole = at(cellSigma);
        const float quiet = growRatio * growRatio * whole;
        const float noise = kRimSigmas * cellSigma;
        const float needed = quiet > noise ? quiet : noise;
        return needed < growRatio * whole ? needed : std::numeric_limits<float>::infinity();
    }

    /// Noise of neighbouring cells hangs together, so that the median of nine keeps most of it; one cell in
    /// fifteen passes then, which does not yet run together.
    static constexpr float kRimSigmas = 1.3F;
};

/// Turns rows of dZ into runs.
class RunFinder {
public:
    /// Members are cells with |dZ| at or above growRatio times their level of detection, and those around which
    /// the median of dZ reaches CellLevel::rim.
    RunFinder(const CellLevel& level, float growRatio) : m_level(level), m_growRatio(growRatio) {}

    /// Appends the runs of one row, left to right, not yet measured. What lies beyond the ends of the row is
    /// not known: a weak cell at the end, beside a member, may be a gap.
    void find(const RowOfCells& cells, std::vector<RunSpan>& runs);

private:
    void markSigns(const RowOfCells& cells);

    CellLevel m_level;
    float m_growRatio;
    std::vector<std::int8_t> m_signs;
};

/// The rows and columns of a block beyond which nothing is known.
struct BlockEdges {
    int firstRow = 0;
    int lastRow = 0;
    int begin = 0;
    int end = 0;

    bool touches(const RunSpan& run) const {
        return run.row == firstRow || run.row == lastRow || run.begin == begin || run.end == end;
    }
};

/// Edges that no run touches.
constexpr BlockEdges kNothingOpen{-1, -1, -1, -1};

/// Drops runs that can never become part of an anomaly: those that touch no run of their sign in the row
/// above or below (a line of cells has no 3 x 3 core), and gap cells that cannot be filled. Runs on the edges
/// stay. `runs` are in row order.
void dropLonelyRuns(std::vector<RunSpan>& runs, const BlockEdges& edges);

/// What is uncertain about the dZ of a row of cells, metres.
struct CellUncertainty {
    const float* sigmas = nullptr; ///< standard deviations; null where that of the level holds for all
    const float* blurs = nullptr;  ///< see ResamplingBlur; null for none

    CellUncertainty from(std::size_t cell) const {
        return {sigmas ? sigmas + cell : nullptr, blurs ? blurs + cell : nullptr};
    }
    /// What |dZ| of a cell must reach as the seed of a change.
    float seedLevel(std::size_t cell, const CellLevel& level) const {
        const float needed = level.at(sigmas ? sigmas[cell] : level.sigma);
        return (needed > level.seed ? needed : level.seed) + (blurs ? blurs[cell] : 0.0F);
    }
};

/// Drops runs of components that reach their seed level nowhere and no edge either, so that nothing can join them
/// any more. Gaps count as filled. `isStrong` tells of a run whether one of its cells reaches its seed level;
/// `runs` are in row order.
void dropWeakComponents(std::vector<RunSpan>& runs, const BlockEdges& edges,
                        const std::function<bool(const RunSpan&)>& isStrong);

/// Fills extremes and sums of a run from the dZ of its cells (metres) and what is uncertain about them.
void measureRun(const float* dz, const CellUncertainty& uncertainty, const CellLevel& level, Run& run);

} // namespace detect
