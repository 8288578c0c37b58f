#include "detect/search/ResamplingBlur.h"

#include <algorithm>
#include <cmath>

namespace detect {

namespace {

constexpr int kFarthestStep = 8;
/// Of a bend: half lies on either side of the edge, all of it where cells of the coarser raster span several.
constexpr float kShareOfACell = 0.5F;
constexpr float kShareOfSeveral = 1.0F;
constexpr double kSeveralCells = 1.25;
/// Bends up to so many thresholds are texture and noise.
constexpr float kTextureThresholds = 2.0F;

double cellMetres(const Grid& grid) {
    const std::array<double, 4> step = grid.cellStepsMetres();
    return std::sqrt(std::abs(step[0] * step[3] - step[1] * step[2]));
}

} // namespace

ResamplingBlur::ResamplingBlur(const Grid& oldGrid, const Grid& newGrid, float thresholdMetres)
    : m_textureMetres(kTextureThresholds * thresholdMetres) {
    const double coarser = std::max(1.0, cellMetres(newGrid) / cellMetres(oldGrid));
    const bool several = coarser > kSeveralCells;
    m_step = several ? static_cast<int>(std::ceil(std::min<double>(kFarthestStep, coarser) - 1e-6)) : 1;
    m_share = several ? kShareOfSeveral : kShareOfACell;
}

void ResamplingBlur::fill(const float* oldHeights, const float* newHeights, int columns, int rows,
                          std::vector<float>& metres) {
    bend(oldHeights, columns, rows, metres);
    widen(metres, columns, rows);
    bend(newHeights, columns, rows, m_newBends);
    widen(m_newBends, columns, rows);
    for (std::size_t i = 0; i < metres.size(); ++i) {
        const float both = std::min(metres[i], m_newBends[i]) - m_textureMetres;
        metres[i] = both > 0.0F ? m_share * both : 0.0F;
    }
}

void ResamplingBlur::settle(const std::vector<float>& uncertain, int columns, const CellWindow& inner,
                            float leastMetres, std::vector<float>& dz) {
    m_settled.clear();
    for (int row = inner.row; row < inner.row + inner.rows; ++row) {
        for (int column = inner.column; column < inner.column + inner.columns; ++column) {
            const std::size_t cell = static_cast<std::size_t>(row) * static_cast<std::size_t>(columns) +
                                     static_cast<std::size_t>(column);
            if (uncertain[cell] == 0.0F || !(std::abs(dz[cell]) >= leastMetres)) {
                continue;
            }
            const float median = medianAround(dz, columns, column, row);
            const float bend = uncertain[cell] / m_share + m_textureMetres;
            if (std::abs(dz[cell] - median) <= bend) {
                m_settled.emplace_back(cell, median);
            }
        }
    }
    for (const auto& [cell, median] : m_settled) { // only now: what lies around counts as it was measured
        dz[cell] = median;
    }
}

float ResamplingBlur::medianAround(const std::vector<float>& dz, int columns, int column, int row) {
    const int rows = static_cast<int>(dz.size() / static_cast<std::size_t>(columns));
    const int reach = neighbourCells();
    m_around.clear();
    for (int r = std::max(0, row - reach); r <= std::min(rows - 1, row + reach); ++r) {
        const float* line = dz.data() + static_cast<std::size_t>(r) * static_cast<std::size_t>(columns);
        for (int c = std::max(0, column - reach); c <= std::min(columns - 1, column + reach); ++c) {
            if (line[c] == line[c]) {
                m_around.push_back(line[c]);
            }
        }
    }
    const auto middle = m_around.begin() + static_cast<std::ptrdiff_t>(m_around.size() / 2);
    std::nth_element(m_around.begin(), middle, m_around.end());
    return *middle;
}

/// The larger second difference of each cell, along its row and along its column; 0 where a height is missing.
void ResamplingBlur::bend(const float* heights, int columns, int rows, std::vector<float>& bends) {
    const auto width = static_cast<std::size_t>(columns);
    bends.assign(width * static_cast<std::size_t>(rows), 0.0F);
    const auto second = [](float before, float here, float after) {
        const float difference = std::abs(before - 2.0F * here + after);
        return difference > 0.0F ? difference : 0.0F; // false for NaN
    };
    for (int row = 0; row < rows; ++row) {
        const float* here = heights + static_cast<std::size_t>(row) * width;
        float* to = bends.data() + static_cast<std::size_t>(row) * width;
        for (int column = m_step; column + m_step < columns; ++column) {
            to[column] = second(here[column - m_step], here[column], here[column + m_step]);
        }
        if (row < m_step || row + m_step >= rows) {
            continue;
        }
        const float* above = here - static_cast<std::ptrdiff_t>(width) * m_step;
        const float* below = here + static_cast<std::ptrdiff_t>(width) * m_step;
        for (int column = 0; column < columns; ++column) {
            to[column] = std::max(to[column], second(above[column], here[column], below[column]));
        }
    }
}

/// The largest one step around, first along the rows, then along the columns.
void ResamplingBlur::widen(std::vector<float>& bends, int columns, int rows) {
    const auto width = static_cast<std::size_t>(columns);
    m_lines.resize(bends.size());
    for (int row = 0; row < rows; ++row) {
        const float* from = bends.data() + static_cast<std::size_t>(row) * width;
        float* to = m_lines.data() + static_cast<std::size_t>(row) * width;
        std::copy_n(from, columns, to);
        for (int reach = 1; reach <= m_step; ++reach) {
            for (int column = 0; column + reach < columns; ++column) {
                to[column] = std::max(to[column], from[column + reach]);
                to[column + reach] = std::max(to[column + reach], from[column]);
            }
        }
    }
    for (int row = 0; row < rows; ++row) {
        float* to = bends.data() + static_cast<std::size_t>(row) * width;
        const int last = std::min(rows - 1, row + m_step);
        std::fill_n(to, columns, 0.0F);
        for (int other = std::max(0, row - m_step); other <= last; ++other) {
            const float* from = m_lines.data() + static_cast<std::size_t>(other) * width;
            for (int column = 0; column < columns; ++column) {
                to[column] = std::max(to[column], from[column]);
            }
        }
    }
}

} // namespace detect
