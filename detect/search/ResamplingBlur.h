#pragma once

#include "detect/heights/Grid.h"

#include <utility>
#include <vector>

namespace detect {

/// How far dZ may be off because heights were brought onto another grid: walls, crowns and edges come out
/// blurred by about a cell of the coarser raster, and the blur of a ten-metre wall is no small dZ.
///
/// Interpolation is exact on planes and good on gentle curves, so what it may have done to a cell is told by how
/// sharply the surface bends there: by the largest second difference over a cell of the coarser raster among the
/// cells that far around, less what texture and noise bend. A wall that one epoch alone shows is a change, not a
/// blur, so the epoch that bends less has the say. A share of that is what a change must reach besides its level
/// of detection, and dZ that the bend explains is taken from the cells around.
class ResamplingBlur {
public:
    /// No uncertainty: heights come untouched.
    ResamplingBlur() = default;
    /// `thresholdMetres` is what a change must reach where nothing is blurred.
    ResamplingBlur(const Grid& oldGrid, const Grid& newGrid, float thresholdMetres);

    bool any() const { return m_step > 0; }
    /// So many cells around have a say about a cell.
    int neighbourCells() const { return 2 * m_step; }

    /// Fills the uncertainty (metres, never negative) of packed rows of both epochs on the old grid, NaN for no
    /// height. Next to the border, fewer neighbours have a say.
    void fill(const float* oldHeights, const float* newHeights, int columns, int rows,
              std::vector<float>& metres);

    /// Puts the median of dZ around it in the place of each dZ that differs from it by no more than the surface
    /// bends there, of those that reach `leastMetres`: a blurred wall then neither tears a change nor makes one.
    /// `uncertain` is what fill() gave; looks at the cells of `inner` of the packed rows only, which lies
    /// neighbourCells() inside or at their border.
    void settle(const std::vector<float>& uncertain, int columns, const CellWindow& inner, float leastMetres,
                std::vector<float>& dz);

private:
    float medianAround(const std::vector<float>& dz, int columns, int column, int row);
    void bend(const float* heights, int columns, int rows, std::vector<float>& bends);
    void widen(std::vector<float>& bends, int columns, int rows);

    int m_step = 0; ///< cells of the old grid
    float m_share = 0.0F;
    float m_textureMetres = 0.0F;
    std::vector<float> m_newBends;
    std::vector<float> m_lines;
    std::vector<float> m_around;
    std::vector<std::pair<std::size_t, float>> m_settled;
};

} // namespace detect
