#pragma once

#include "detect/heights/Grid.h"

namespace detect {

/// Rise of a surface towards east and north, metres per metre.
struct Slope {
    float east = 0.0F;
    float north = 0.0F;

    /// Squared tangent of the slope angle.
    float squared() const { return east * east + north * north; }
};

/// Turns height differences along the columns and rows of a grid into slopes on the ground.
class SlopeFrame {
public:
    explicit SlopeFrame(const Grid& grid) {
        const std::array<double, 4> step = grid.cellStepsMetres();
        const double determinant = step[0] * step[3] - step[1] * step[2];
        const auto part = [determinant](double metres) { return static_cast<float>(metres / determinant); };
        m_eastPerColumn = part(step[3]);
        m_eastPerRow = part(-step[1]);
        m_northPerColumn = part(-step[2]);
        m_northPerRow = part(step[0]);
    }

    /// From the metres that the surface rises over one column and one row.
    Slope slope(float perColumn, float perRow) const {
        return {perColumn * m_eastPerColumn + perRow * m_eastPerRow,
                perColumn * m_northPerColumn + perRow * m_northPerRow};
    }

private:
    float m_eastPerColumn = 0.0F;
    float m_eastPerRow = 0.0F;
    float m_northPerColumn = 0.0F;
    float m_northPerRow = 0.0F;
};

/// Slope at a cell by central differences. `height` points to the cell among rows that lie `stride` cells
/// apart; its four neighbours must be there. NaN where one of them is.
inline Slope slopeAt(const float* height, std::size_t stride, const SlopeFrame& frame) {
    return frame.slope(0.5F * (height[1] - height[-1]), 0.5F * (height[stride] - *(height - stride)));
}

} // namespace detect
