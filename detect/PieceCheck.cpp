#include "detect/PieceCheck.h"

#include "detect/search/Component.h"

#include <algorithm>
#include <cmath>

namespace detect {

namespace {

constexpr double kMostUnitsPerCell = 1e15; ///< of the sums of a run; dZ of 10^7 m
constexpr double kLeastCellArea = 1e-24;   ///< map units squared

bool isInside(const CellWindow& inner, const CellWindow& outer) {
    return inner.column >= outer.column && inner.row >= outer.row && inner.columns >= 0 && inner.rows >= 0 &&
           std::int64_t{inner.column} + inner.columns <= std::int64_t{outer.column} + outer.columns &&
           std::int64_t{inner.row} + inner.rows <= std::int64_t{outer.row} + outer.rows;
}

bool isGridSound(const Affine& cellToMap) {
    return std::all_of(cellToMap.c.begin(), cellToMap.c.end(),
                       [](double figure) { return std::isfinite(figure); }) &&
           std::abs(cellToMap.determinant()) > kLeastCellArea;
}

bool areSumsSound(const Run& run) {
    const double most = kMostUnitsPerCell * run.cells();
    return run.raised >= 0 && run.sunk <= 0 && run.variance >= 0 && static_cast<double>(run.raised) <= most &&
           static_cast<double>(run.sunk) >= -most && static_cast<double>(run.variance) <= most;
}

bool areCoresSound(const Run& run) {
    return run.cores == 0 || (run.cores > 0 && run.cores <= run.cells() && run.coresBegin >= run.begin &&
                              run.coresEnd <= run.end && run.coresBegin < run.coresEnd);
}

/// A weak cell between members of both signs may become either's.
bool mayShareCells(const Run& a, const Run& b) {
    return a.gap && b.gap && a.begin == b.begin && a.end == b.end && a.sign != b.sign;
}

bool liesApart(std::vector<Run> runs) {
    std::sort(runs.begin(), runs.end(), [](const Run& a, const Run& b) { return a.isBefore(b); });
    const auto meet = [](const Run& a, const Run& b) {
        return a.row == b.row && a.end > b.begin && !mayShareCells(a, b);
    };
    for (std::size_t i = 1; i < runs.size(); ++i) {
        if (meet(runs[i - 1], runs[i]) || (i > 1 && meet(runs[i - 2], runs[i]))) {
            return false;
        }
    }
    return true;
}

/// What was rejected has cells, too.
bool areRejectionsSound(const Piece& piece) {
    const Rejections& rejected = piece.rejections;
    const std::int64_t most = piece.window.empty() ? 0 : piece.window.cells();
    return std::max({rejected.core, rejected.area, rejected.sliver, rejected.speckle}) <= most &&
           std::min({rejected.core, rejected.area, rejected.sliver, rejected.speckle}) >= 0;
}

bool areHeightsThere(const MeasuredRuns& seamRuns) {
    std::int64_t without = 0;
    for (const Run& run : seamRuns.runs) {
        without += seamRuns.heightsOf(run) ? 0 : run.cells();
    }
    return without == 0 || without > Component::kMostExaminedCells;
}

} // namespace

/// An empty window lies nowhere.
bool areWindowsSound(const Piece& piece) {
    const PieceFrame& frame = piece.frame;
    const CellWindow raster{0, 0, frame.columns, frame.rows};
    return frame.columns > 0 && frame.rows > 0 && isInside(frame.overlap, raster) &&
           piece.window.columns >= 0 && piece.window.rows >= 0 &&
           (piece.window.empty() || isInside(piece.window, frame.overlap)) && piece.cells >= 0 &&
           piece.cells <= std::max<std::int64_t>(0, piece.window.cells());
}

bool isRunOf(const Piece& piece, const Run& run) {
    const CellWindow& window = piece.window;
    return !window.empty() && run.begin >= 0 && run.begin < run.end && run.begin >= window.column &&
           run.row >= window.row && run.end <= window.column + window.columns &&
           run.row < window.row + window.rows && (run.sign == 1 || run.sign == -1) &&
           (!run.gap || run.cells() == 1) && std::isfinite(run.lowest) && std::isfinite(run.highest) &&
           !std::isnan(run.strongest) && areSumsSound(run) && areCoresSound(run) &&
           run.explainedByShift >= 0 && run.explainedByShift <= run.cells();
}

bool isSound(const Piece& piece) {
    return isGridSound(piece.frame.cellToMap) && areRejectionsSound(piece) &&
           liesApart(piece.seamRuns.runs) && areHeightsThere(piece.seamRuns) &&
           std::all_of(piece.seamRuns.heights.begin(), piece.seamRuns.heights.end(),
                       [](float height) { return std::isfinite(height); });
}

} // namespace detect
