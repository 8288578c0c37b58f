#include "detect/raster/HeightCorrection.h"

namespace detect {

HeightCorrection::HeightCorrection(const Coregistration& coregistration, const Grid& oldGrid)
    : m_biasMetres(coregistration.dzMetres), m_middleColumn((oldGrid.columns() - 1) / 2.0),
      m_middleRow((oldGrid.rows() - 1) / 2.0), m_field(coregistration.local.field) {
    const std::array<double, 4> step = oldGrid.cellStepsMetres();
    m_metresPerColumn = coregistration.tiltEast * step[0] + coregistration.tiltNorth * step[1];
    m_metresPerRow = coregistration.tiltEast * step[2] + coregistration.tiltNorth * step[3];
}

void HeightCorrection::addTo(const CellWindow& window, float* heights) const {
    if (m_field) {
        m_field->addTo(window, heights);
    }
    if (m_metresPerColumn != 0.0 || m_metresPerRow != 0.0) {
        addPlane(window, heights);
        return;
    }
    const auto bias = static_cast<float>(m_biasMetres);
    const std::int64_t cells = window.cells();
    for (std::int64_t i = 0; i < cells; ++i) {
        heights[i] += bias;
    }
}

void HeightCorrection::addPlane(const CellWindow& window, float* heights) const {
    for (int row = 0; row < window.rows; ++row) {
        float* const line = heights + std::int64_t{row} * window.columns;
        const double ofRow = m_biasMetres + m_metresPerRow * (window.row + row - m_middleRow);
        for (int column = 0; column < window.columns; ++column) {
            const double ofCell = ofRow + m_metresPerColumn * (window.column + column - m_middleColumn);
            line[column] += static_cast<float>(ofCell);
        }
    }
}

} // namespace detect
