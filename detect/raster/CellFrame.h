#pragma once

#include "detect/raster/Resampler.h"

#include <cmath>

namespace detect {

/// Turns steps over the cells of a grid into metres on the ground, and back.
class CellFrame {
public:
    explicit CellFrame(const Grid& grid)
        : m_step(grid.cellStepsMetres()), m_middle{(grid.columns() - 1) / 2.0, (grid.rows() - 1) / 2.0} {}

    /// Mean side of a cell.
    double cellMetres() const {
        return (std::hypot(m_step[0], m_step[1]) + std::hypot(m_step[2], m_step[3])) / 2.0;
    }
    /// So many columns (x) and rows (y) as a map shift.
    Shift toMetres(const Point& cells) const {
        return {cells.x * m_step[0] + cells.y * m_step[2], cells.x * m_step[1] + cells.y * m_step[3]};
    }
    /// A map shift in columns (x) and rows (y).
    Point toCells(const Shift& shift) const {
        const double determinant = m_step[0] * m_step[3] - m_step[1] * m_step[2];
        return {(shift.eastMetres * m_step[3] - shift.northMetres * m_step[2]) / determinant,
                (shift.northMetres * m_step[0] - shift.eastMetres * m_step[1]) / determinant};
    }
    /// Where a cell's centre lies from the middle of the grid.
    Shift fromMiddle(int column, int row) const { return toMetres({column - m_middle.x, row - m_middle.y}); }

private:
    std::array<double, 4> m_step;
    Point m_middle;
};

} // namespace detect
