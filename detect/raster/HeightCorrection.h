#pragma once

#include "detect/raster/CorrectionField.h"

namespace detect {

/// What a co-registration adds to the heights of the new epoch on the old grid: the bias, and the tilt plane
/// about the middle of the grid, and the local field.
class HeightCorrection {
public:
    HeightCorrection(const Coregistration& coregistration, const Grid& oldGrid);

    /// Adds the correction to packed rows of heights for a window of old cells. What a cell gets depends on
    /// its own column and row only, not on the window. Missing heights (NaN) stay missing.
    void addTo(const CellWindow& window, float* heights) const;

private:
    void addPlane(const CellWindow& window, float* heights) const;

    double m_biasMetres = 0.0;
    double m_metresPerColumn = 0.0;
    double m_metresPerRow = 0.0;
    double m_middleColumn = 0.0; ///< the column and row whose centre gets the bias alone
    double m_middleRow = 0.0;
    std::shared_ptr<const CorrectionField> m_field; ///< null for none
};

} // namespace detect
