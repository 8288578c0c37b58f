#include "detect/search/BlockWorker.h"

#include "detect/raster/HeightRange.h"
#include "detect/search/MedianOfNine.h"

#include <algorithm>
#include <cmath>

namespace detect {

namespace {

std::int64_t measuredIn(const float* dz, int columns) {
    std::int32_t valid = 0;
    for (int i = 0; i < columns; ++i) {
        valid += static_cast<std::int32_t>(dz[i] == dz[i]);
    }
    return valid;
}

} // namespace

BlockWorker::BlockWorker(PairReader reader, const BlockTask& task)
    : m_reader(std::move(reader)), m_task(task),
      m_finder(task.level.cellLevel(), static_cast<float>(task.growRatio)), m_blur(task.blur),
      m_rimSigns(
          task.level.cellLevel().rim(task.level.cellLevel().sigma, static_cast<float>(task.growRatio))) {}

Result<Block> BlockWorker::operator()(int index) {
    Block block;
    block.window = m_task.plan.at(index);
    if (m_reader.isEmpty(block.window)) {
        if (m_task.keepDz) {
            block.dz.assign(static_cast<std::size_t>(block.window.cells()), kNoHeight);
        }
        return block;
    }
    const Inset inset = withNeighbours(block.window);
    if (auto done = readBoth(inset.read); !done) {
        return failed(done);
    }
    judge(inset, block.window);
    findRuns(inset, block);
    measureRuns(inset, block);
    if (m_task.keepDz) {
        block.dz = dzOf(inset, block.window);
    }
    return block;
}

BlockWorker::Inset BlockWorker::withNeighbours(const CellWindow& window) const {
    // A core reaches one cell beyond the block, and what is uncertain there leans on cells farther out.
    const int neighbours = 1 + std::max(m_blur.neighbourCells(), m_task.level.dependsOnSlope() ? 1 : 0);
    Inset inset;
    inset.read = intersect({window.column - neighbours, window.row - neighbours,
                            window.columns + 2 * neighbours, window.rows + 2 * neighbours},
                           m_task.overlap);
    inset.firstRow = window.row - inset.read.row;
    inset.firstColumn = window.column - inset.read.column;
    return inset;
}

/// The cells whose new height one of the old ones around has, and the other way round.
std::int32_t BlockWorker::explainedByShift(const Inset& inset, const CellWindow& window,
                                           const Run& run) const {
    const HeightField oldEpoch{m_old.data(), inset.read.columns, inset.read.rows};
    const HeightField newEpoch{m_new.data(), inset.read.columns, inset.read.rows};
    const int row = run.row - window.row + inset.firstRow;
    std::int32_t explained = 0;
    for (std::int32_t at = run.begin; at < run.end; ++at) {
        const int column = at - window.column + inset.firstColumn;
        const bool both = rangeAround(oldEpoch, row, column, 1).holds(newEpoch.row(row)[column], 0.0F) &&
                          rangeAround(newEpoch, row, column, 1).holds(oldEpoch.row(row)[column], 0.0F);
        explained += both ? 1 : 0;
    }
    return explained;
}

/// Leaves the new heights corrected.
Status BlockWorker::readBoth(const CellWindow& window) {
    const auto cells = static_cast<std::size_t>(window.cells());
    m_old.resize(cells);
    m_new.resize(cells);
    if (auto done = m_reader.readOld(window, m_old.data()); !done) {
        return failed(done);
    }
    if (auto done = m_reader.readNew(window, m_task.shift, m_new.data()); !done) {
        return failed(done);
    }
    m_task.correction.addTo(window, m_new.data());
    return {};
}

void BlockWorker::judge(const Inset& inset, const CellWindow& window) {
    const CellWindow& read = inset.read;
    m_dz.resize(m_old.size());
    for (std::size_t i = 0; i < m_dz.size(); ++i) {
        m_dz[i] = m_new[i] - m_old[i];
    }
    if (m_blur.any()) {
        m_blur.fill(m_old.data(), m_new.data(), read.columns, read.rows, m_blurs);
        const CellWindow inner =
            intersect({inset.firstColumn - 1, inset.firstRow - 1, window.columns + 2, window.rows + 2},
                      {0, 0, read.columns, read.rows});
        m_blur.settle(m_blurs, read.columns, inner,
                      m_task.level.level() * static_cast<float>(m_task.growRatio), m_dz);
    }
    if (m_task.level.dependsOnSlope()) {
        m_task.level.fill(m_old.data(), read.columns, read.rows, m_sigmas);
    }
}

CellUncertainty BlockWorker::uncertainty() const {
    return {m_task.level.dependsOnSlope() ? m_sigmas.data() : nullptr,
            m_blur.any() ? m_blurs.data() : nullptr};
}

std::vector<float> BlockWorker::dzOf(const Inset& inset, const CellWindow& window) const {
    std::vector<float> dz;
    dz.reserve(static_cast<std::size_t>(window.cells()));
    for (int row = 0; row < window.rows; ++row) {
        const std::size_t first = inset.cell(row);
        for (std::size_t cell = first; cell < first + static_cast<std::size_t>(window.columns); ++cell) {
            dz.push_back(m_new[cell] - m_old[cell]);
        }
    }
    return dz;
}

void BlockWorker::findRuns(const Inset& inset, Block& block) {
    const CellWindow& window = block.window;
    m_rimSigns.restart();
    m_spans.clear();
    for (int row = 0; row < window.rows; ++row) {
        const std::size_t from = inset.cell(row);
        RowOfCells cells;
        cells.dz = m_dz.data() + from;
        cells.columns = window.columns;
        cells.row = window.row + row;
        cells.firstColumn = window.column;
        cells.sigmas = m_task.level.dependsOnSlope() ? m_sigmas.data() + from : nullptr;
        cells.rims = rimsOf(inset, window, row);
        block.compared += measuredIn(cells.dz, window.columns);
        m_finder.find(cells, m_spans);
    }
    const BlockEdges edges{window.row, window.row + window.rows - 1, window.column,
                           window.column + window.columns};
    if (m_task.dropLonely) {
        dropLonelyRuns(m_spans, edges);
    }
    dropWeakComponents(m_spans, edges, [&](const RunSpan& run) { return isStrong(inset, window, run); });
}

/// False where noise leaves nothing between what a rim and what a cell itself must reach.
bool BlockWorker::hasRims() const {
    const CellLevel& level = m_task.level.cellLevel();
    const auto ratio = static_cast<float>(m_task.growRatio);
    // On slopes the noise is larger, so that level ground has rims where any has.
    return level.rim(level.sigma, ratio) < std::numeric_limits<float>::infinity();
}

/// Null where there are none to be had: beyond the border nothing is known.
const std::int8_t* BlockWorker::rimsOf(const Inset& inset, const CellWindow& window, int row) {
    const auto columns = static_cast<std::size_t>(window.columns);
    const auto stride = static_cast<std::size_t>(inset.read.columns);
    const int readRow = inset.firstRow + row;
    if (!hasRims() || readRow < 1 || readRow + 1 >= inset.read.rows) {
        return nullptr;
    }
    // In the first and last column of the overlap a neighbour is missing.
    const std::size_t before = inset.firstColumn > 0 ? 0 : 1;
    const std::size_t after = inset.firstColumn + window.columns < inset.read.columns ? 0 : 1;
    if (columns <= before + after) {
        return nullptr;
    }
    const std::size_t count = columns - before - after;
    const std::size_t begin = static_cast<std::size_t>(inset.firstColumn) + before;
    m_rims.assign(columns, 0);
    if (!m_task.level.dependsOnSlope()) {
        std::copy_n(m_rimSigns.of(m_dz.data(), stride, readRow, begin, count), count,
                    m_rims.begin() + before);
        return m_rims.data();
    }
    const std::size_t first = inset.cell(row) + before;
    m_medians.resize(count);
    m_sorted.resize(3 * (count + 2));
    mediansOfNine(m_dz.data() + first, stride, count, m_sorted.data(), m_medians.data());
    markRims(m_sigmas.data() + first, m_medians.data(), count, m_rims.data() + before);
    return m_rims.data();
}

void BlockWorker::markRims(const float* sigmas, const float* medians, std::size_t columns,
                           std::int8_t* rims) const {
    const CellLevel level = m_task.level.cellLevel();
    const auto growRatio = static_cast<float>(m_task.growRatio);
    for (std::size_t i = 0; i < columns; ++i) {
        const float needed = level.rim(sigmas[i], growRatio);
        rims[i] = static_cast<std::int8_t>(static_cast<int>(medians[i] >= needed) -
                                           static_cast<int>(medians[i] <= -needed));
    }
}

bool BlockWorker::isStrong(const Inset& inset, const CellWindow& window, const RunSpan& run) const {
    const std::size_t first =
        inset.cell(run.row - window.row) + static_cast<std::size_t>(run.begin - window.column);
    const CellUncertainty uncertain = uncertainty();
    const CellLevel& level = m_task.level.cellLevel();
    for (std::size_t cell = first; cell < first + static_cast<std::size_t>(run.cells()); ++cell) {
        if (std::abs(m_dz[cell]) >= uncertain.seedLevel(cell, level)) {
            return true;
        }
    }
    return false;
}

/// Looks at the run's cells with those above and below: a column is strong when all three are.
void BlockWorker::findCores(const Inset& inset, const CellWindow& window, Run& run) const {
    const int row = run.row - window.row + inset.firstRow;
    if (run.strongest < 1.0F || row < 1 || row + 1 >= inset.read.rows) {
        return;
    }
    const CellUncertainty uncertain = uncertainty();
    const CellLevel& level = m_task.level.cellLevel();
    const auto width = static_cast<std::size_t>(inset.read.columns);
    const int first = run.begin - window.column + inset.firstColumn;
    const int last = first + run.cells() - 1;
    const auto sign = static_cast<float>(run.sign);
    int strongColumns = 0; // side by side, up to the present one
    for (int column = std::max(0, first - 1); column <= std::min(last + 1, inset.read.columns - 1);
         ++column) {
        const std::size_t middle = static_cast<std::size_t>(row) * width + static_cast<std::size_t>(column);
        bool strong = true;
        for (std::size_t cell = middle - width; strong && cell <= middle + width; cell += width) {
            strong = sign * m_dz[cell] >= uncertain.seedLevel(cell, level);
        }
        strongColumns = strong ? strongColumns + 1 : 0;
        if (strongColumns >= 3) {
            const std::int32_t core = run.begin + column - 1 - first;
            run.addCores(1, core, core + 1);
        }
    }
}

void BlockWorker::measureRuns(const Inset& inset, Block& block) const {
    const CellWindow& window = block.window;
    std::size_t cells = 0;
    for (const RunSpan& span : m_spans) {
        cells += static_cast<std::size_t>(span.cells());
    }
    block.found.runs.reserve(m_spans.size());
    block.found.heights.reserve(cells);
    for (const RunSpan& span : m_spans) {
        Run run(span);
        const std::size_t first =
            inset.cell(run.row - window.row) + static_cast<std::size_t>(run.begin - window.column);
        const float* dz = m_dz.data() + first;
        measureRun(dz, uncertainty().from(first), m_task.level.cellLevel(), run);
        findCores(inset, window, run);
        if (m_task.explain) {
            run.explainedByShift = explainedByShift(inset, window, run);
        }
        run.heights = block.found.heights.size();
        block.found.heights.insert(block.found.heights.end(), dz, dz + run.cells());
        block.found.runs.push_back(run);
    }
}

} // namespace detect
