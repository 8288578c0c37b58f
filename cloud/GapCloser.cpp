#include "cloud/GapCloser.h"

#include <array>
#include <cmath>
#include <limits>
#include <utility>

namespace cloud {

namespace {

struct Direction {
    int columns;
    int rows;
};

constexpr std::array<Direction, 4> kDirections{{{1, 0}, {0, 1}, {1, 1}, {1, -1}}};

/// The heights around one cell, as they were measured.
class Surroundings {
public:
    Surroundings(const std::vector<float>& rows, int columns, int most)
        : m_rows(rows), m_columns(columns),
          m_count(static_cast<int>(rows.size() / static_cast<std::size_t>(columns))), m_most(most) {}

    /// NaN where no direction has heights on both sides.
    float heightAt(int column, int row) const {
        double sum = 0.0;
        double weights = 0.0;
        for (const Direction& direction : kDirections) {
            const auto [ahead, aheadSteps] = first(column, row, direction);
            const auto [behind, behindSteps] = first(column, row, {-direction.columns, -direction.rows});
            if (aheadSteps == 0 || behindSteps == 0 || aheadSteps + behindSteps - 1 > m_most) {
                continue;
            }
            const double length = std::hypot(direction.columns, direction.rows);
            sum += ahead / (aheadSteps * length) + behind / (behindSteps * length);
            weights += 1.0 / (aheadSteps * length) + 1.0 / (behindSteps * length);
        }
        return weights > 0.0 ? static_cast<float>(sum / weights) : std::numeric_limits<float>::quiet_NaN();
    }

private:
    /// The first height in that direction and how many steps away it is; 0 steps where there is none.
    std::pair<double, int> first(int column, int row, Direction direction) const {
        for (int step = 1; step <= m_most; ++step) {
            const int x = column + step * direction.columns;
            const int y = row + step * direction.rows;
            if (x < 0 || x >= m_columns || y < 0 || y >= m_count) {
                break;
            }
            const float height = m_rows[static_cast<std::size_t>(y) * static_cast<std::size_t>(m_columns) +
                                        static_cast<std::size_t>(x)];
            if (!std::isnan(height)) {
                return {height, step};
            }
        }
        return {0.0, 0};
    }

    const std::vector<float>& m_rows;
    int m_columns;
    int m_count;
    int m_most;
};

} // namespace

std::int64_t GapCloser::close(std::vector<float>& heights, int columns, const CellBox& box) const {
    const Surroundings surroundings(heights, columns, m_most);
    std::vector<std::pair<std::size_t, float>> closed; // written afterwards, so that they are not looked at
    for (int row = box.row; row < box.row + box.rows; ++row) {
        for (int column = box.column; column < box.column + box.columns; ++column) {
            const std::size_t cell = static_cast<std::size_t>(row) * static_cast<std::size_t>(columns) +
                                     static_cast<std::size_t>(column);
            if (!std::isnan(heights[cell])) {
                continue;
            }
            const float height = surroundings.heightAt(column, row);
            if (!std::isnan(height)) {
                closed.emplace_back(cell, height);
            }
        }
    }
    for (const auto& [cell, height] : closed) {
        heights[cell] = height;
    }
    return static_cast<std::int64_t>(closed.size());
}

} // namespace cloud
