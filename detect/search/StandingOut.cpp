#include "detect/search/StandingOut.h"

#include <algorithm>
#include <cmath>

namespace detect {

namespace {

constexpr int kBandRows = 64;
constexpr int kMedianOfNine = 5;
/// What scatters as stable ground does is the surveys' own noise, which the level of detection knows.
constexpr float kRestlessOverStable = 1.5F;

CellWindow boxOf(const std::vector<Run>& runs) {
    std::int32_t top = runs.front().row;
    std::int32_t bottom = top;
    std::int32_t left = runs.front().begin;
    std::int32_t right = runs.front().end;
    for (const Run& run : runs) {
        top = std::min(top, run.row);
        bottom = std::max(bottom, run.row);
        left = std::min(left, run.begin);
        right = std::max(right, run.end);
    }
    return {left, top, right - left, bottom - top + 1};
}

bool isSame(const RestlessTile& a, const RestlessTile& b) {
    return a.scatterMetres == b.scatterMetres && a.standsOut == b.standsOut;
}

} // namespace

StandingOut::StandingOut(RestlessGround ground, const CellWindow& overlap, const CellLevel& level,
                         float growRatio, const BlockEdges& edges)
    : m_ground(std::move(ground)), m_overlap(overlap), m_level(level), m_growRatio(growRatio),
      m_edges(edges) {}

Result<bool> StandingOut::reduce(Component& component) {
    const CellWindow box = boxOf(component.runs);
    auto tiles = m_ground.look(box);
    if (!tiles) {
        return failed(tiles);
    }
    m_tiles = std::move(*tiles);
    std::vector<Run>& runs = component.runs;
    if (m_tiles.calm() ||
        std::all_of(runs.begin(), runs.end(), [this](const Run& run) { return isCalm(run); })) {
        return false;
    }
    std::sort(runs.begin(), runs.end(), [](const Run& a, const Run& b) { return a.isBefore(b); });
    m_band = {};
    Component left;
    for (std::size_t first = 0; first < runs.size();) {
        std::size_t last = first + 1;
        while (last < runs.size() && runs[last].row == runs[first].row &&
               runs[last].begin == runs[last - 1].end) {
            ++last;
        }
        if (auto done = readBand(box, runs[first].row); !done) {
            return failed(done);
        }
        reduceStretch(component, first, last, left);
        first = last;
    }
    component = std::move(left);
    return true;
}

/// Rows from this one on, with the cells around.
Status StandingOut::readBand(const CellWindow& box, int row) {
    if (row + 1 < m_band.row + m_band.rows ||
        (!m_band.empty() && row + 1 >= m_overlap.row + m_overlap.rows && row < m_band.row + m_band.rows)) {
        return {};
    }
    const int rows = std::min(kBandRows, box.row + box.rows - row);
    m_band = intersect({box.column - 1, row - 1, box.columns + 2, rows + 2}, m_overlap);
    return m_ground.readDz(m_band, m_dz);
}

/// 0 where it asks for no more than the level of detection does.
RestlessTile StandingOut::tileAt(int row, std::int32_t column) const {
    const RestlessTile& tile = m_tiles.at(row, column);
    const bool restless = tile.scatterMetres > kRestlessOverStable * m_level.sigma &&
                          kSigmas * tile.scatterMetres > m_level.at(m_level.sigma);
    return restless ? tile : RestlessTile();
}

bool StandingOut::isCalm(const Run& run) const {
    for (std::int32_t column = run.begin; column < run.end; ++column) {
        if (tileAt(run.row, column).scatterMetres > 0.0F) {
            return false;
        }
    }
    return true;
}

CellLevel StandingOut::levelIn(float scatter) const {
    CellLevel level = m_level;
    level.threshold = std::max(level.at(level.sigma), kSigmas * scatter);
    level.sigma = std::max(level.sigma, scatter);
    return level;
}

/// Runs [first, last) of a row that lie side by side.
void StandingOut::reduceStretch(const Component& from, std::size_t first, std::size_t last, Component& left) {
    const std::int32_t begin = from.runs[first].begin;
    const std::int32_t end = from.runs[last - 1].end;
    m_kept.assign(static_cast<std::size_t>(end - begin), 0);
    for (std::size_t i = first; i < last; ++i) {
        const Run& run = from.runs[i];
        for (std::int32_t column = run.begin; column < run.end && !run.gap; ++column) {
            const float scatter = tileAt(run.row, column).scatterMetres;
            m_kept[static_cast<std::size_t>(column - begin)] =
                scatter == 0.0F || keeps(run, column, *heightsOf(from, run, column), levelIn(scatter)) ? 1
                                                                                                       : 0;
        }
    }
    const auto kept = [&](std::int32_t column) {
        return m_kept[static_cast<std::size_t>(column - begin)] != 0;
    };
    for (std::size_t i = first; i < last; ++i) {
        const Run& run = from.runs[i];
        for (std::int32_t column = run.begin; column < run.end;) {
            if (!kept(column)) {
                const bool before = column > begin ? kept(column - 1) : column == m_edges.begin;
                const bool after = column + 1 < end ? kept(column + 1) : column + 1 == m_edges.end;
                if (before && after) {
                    addGap(run, column, heightsOf(from, run, column), left);
                }
                ++column;
                continue;
            }
            std::int32_t partEnd = column + 1;
            const RestlessTile tile = tileAt(run.row, column);
            while (partEnd < run.end && kept(partEnd) && isSame(tileAt(run.row, partEnd), tile)) {
                ++partEnd;
            }
            addPart(run, {column, partEnd, tile}, heightsOf(from, run, column), left);
            column = partEnd;
        }
    }
}

/// As measured, where the component keeps no heights.
const float* StandingOut::heightsOf(const Component& from, const Run& run, std::int32_t column) const {
    return from.isExamined() ? from.heights.data() + run.heights + (column - run.begin)
                             : measured(run.row, column);
}

const float* StandingOut::measured(int row, std::int32_t column) const {
    return m_dz.data() + std::int64_t{row - m_band.row} * m_band.columns + (column - m_band.column);
}

/// The cells of the nine around one, itself included, that reach a height.
int StandingOut::countOfNine(const Run& run, std::int32_t column, float needed) const {
    const bool inside = run.row > m_overlap.row && run.row + 1 < m_overlap.row + m_overlap.rows &&
                        column > m_overlap.column && column + 1 < m_overlap.column + m_overlap.columns;
    if (!inside) {
        return 0;
    }
    int count = 0;
    for (int row = run.row - 1; row <= run.row + 1; ++row) {
        const float* dz = measured(row, column - 1);
        for (int i = 0; i < 3; ++i) {
            count += static_cast<float>(run.sign) * dz[i] >= needed ? 1 : 0;
        }
    }
    return count;
}

/// Both ways of CellLevel for a cell to belong to a change.
bool StandingOut::keeps(const Run& run, std::int32_t column, float dz, const CellLevel& level) const {
    return std::abs(dz) >= m_growRatio * level.at(level.sigma) ||
           countOfNine(run, column, level.rim(level.sigma, m_growRatio)) >= kMedianOfNine;
}

void StandingOut::addPart(const Run& whole, const Part& part, const float* heights, Component& left) const {
    if (part.tile.scatterMetres == 0.0F && part.begin == whole.begin && part.end == whole.end) {
        left.add(whole, heights);
        return;
    }
    const CellLevel level = part.tile.scatterMetres > 0.0F ? levelIn(part.tile.scatterMetres) : m_level;
    Run run;
    run.row = whole.row;
    run.begin = part.begin;
    run.end = part.end;
    run.sign = whole.sign;
    run.restless = part.tile.scatterMetres > 0.0F;
    measureRun(heights, {}, level, run);
    run.strongest = std::min(run.strongest, whole.strongest); // where the heights may be blurred it is less
    const float needed = CellUncertainty().seedLevel(0, level);
    for (std::int32_t column = run.begin; column < run.end && whole.cores > 0; ++column) {
        if (countOfNine(run, column, needed) == 9) {
            run.addCores(1, column, column + 1);
        }
    }
    if (part.tile.standsOut == run.sign) {
        run.strongest = std::max(run.strongest, 1.0F);
        run.cores = 0;
        run.addCores(run.cells(), run.begin, run.end);
    }
    left.add(run, heights);
}

void StandingOut::addGap(const Run& whole, std::int32_t column, const float* height, Component& left) const {
    Run run;
    run.row = whole.row;
    run.begin = column;
    run.end = column + 1;
    run.sign = whole.sign;
    run.gap = true;
    measureRun(height, {}, levelIn(tileAt(whole.row, column).scatterMetres), run);
    left.add(run, height);
}

} // namespace detect
