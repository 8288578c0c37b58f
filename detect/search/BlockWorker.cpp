#include "detect/search/BlockWorker.h"

#include "detect/raster/HeightRange.h"

#include <algorithm>

namespace detect {

namespace {

/// Returns how many cells have a dZ.
std::int64_t subtract(const float* oldHeights, const float* newHeights, std::size_t columns, float* dz) {
    std::int32_t valid = 0;
    for (std::size_t i = 0; i < columns; ++i) {
        dz[i] = newHeights[i] - oldHeights[i];
        valid += static_cast<std::int32_t>(dz[i] == dz[i]);
    }
    return valid;
}

} // namespace

BlockWorker::BlockWorker(PairReader reader, const BlockTask& task)
    : m_reader(std::move(reader)), m_task(task),
      m_finder(task.level.cellLevel(), static_cast<float>(task.growRatio)),
      m_artefacts(task.artefactReach, task.level.level() * static_cast<float>(task.growRatio)) {}

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
        block.dz = m_dz;
    }
    return block;
}

BlockWorker::Inset BlockWorker::withNeighbours(const CellWindow& window) const {
    const int forArtefacts = m_task.artefactReach > 0 ? m_artefacts.neighbourCells() : 0;
    const int neighbours = std::max(forArtefacts, 1);
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

/// What needs more than a cell's own dZ.
void BlockWorker::judge(const Inset& inset, const CellWindow& window) {
    if (m_task.artefactReach > 0) {
        m_artefacts.mark(m_old.data(), m_new.data(), inset.read.columns, inset.read.rows, inset.firstRow,
                         inset.firstRow + window.rows, m_artefactFlags);
    }
    if (m_task.level.dependsOnSlope()) {
        m_task.level.fill(m_old.data(), inset.read.columns, inset.read.rows, m_sigmas);
    }
}

void BlockWorker::findRuns(const Inset& inset, Block& block) {
    const CellWindow& window = block.window;
    m_dz.resize(static_cast<std::size_t>(window.cells()));
    for (int row = 0; row < window.rows; ++row) {
        const std::size_t from = inset.cell(row);
        const auto columns = static_cast<std::size_t>(window.columns);
        float* dz = m_dz.data() + static_cast<std::size_t>(row) * columns;
        block.compared += subtract(m_old.data() + from, m_new.data() + from, columns, dz);
        RowOfCells cells;
        cells.dz = dz;
        cells.columns = window.columns;
        cells.row = window.row + row;
        cells.firstColumn = window.column;
        cells.excluded = m_task.artefactReach > 0 ? m_artefactFlags.data() + from : nullptr;
        cells.sigmas = m_task.level.dependsOnSlope() ? m_sigmas.data() + from : nullptr;
        m_finder.find(cells, block.found.runs);
    }
    if (m_task.dropLonely) {
        dropLonelyRuns(block.found.runs, {window.row, window.row + window.rows - 1, window.column,
                                          window.column + window.columns});
    }
}

void BlockWorker::measureRuns(const Inset& inset, Block& block) const {
    const CellWindow& window = block.window;
    block.found.runs.shrink_to_fit(); // it waits for its turn, perhaps long
    std::size_t cells = 0;
    for (const Run& run : block.found.runs) {
        cells += static_cast<std::size_t>(run.cells());
    }
    block.found.heights.reserve(cells);
    for (Run& run : block.found.runs) {
        const int row = run.row - window.row;
        const auto column = static_cast<std::size_t>(run.begin - window.column);
        const float* dz =
            m_dz.data() + static_cast<std::size_t>(row) * static_cast<std::size_t>(window.columns) + column;
        const float* sigmas =
            m_task.level.dependsOnSlope() ? m_sigmas.data() + inset.cell(row) + column : nullptr;
        measureRun(dz, sigmas, m_task.level.cellLevel(), run);
        if (m_task.explain) {
            run.explainedByShift = explainedByShift(inset, window, run);
        }
        run.heights = block.found.heights.size();
        block.found.heights.insert(block.found.heights.end(), dz, dz + run.cells());
    }
}

} // namespace detect
