#pragma once

#include "detect/Detection.h"
#include "detect/heights/Grid.h"
#include "detect/search/Runs.h"

#include <vector>

namespace detect {

/// What |dZ| of a cell must reach to count as a change.
///
/// Without significance: the threshold, everywhere. With it: t standard deviations of the cell's dZ, t being
/// the two-sided quantile of the normal distribution (Brasington et al. 2003; Lane et al. 2003), and at least
/// the threshold. The standard deviation comes from those given for the epochs, or from stable ground, and
/// grows with the slope as stable ground shows (Coregistration::sigmaPerSlopeMetres).
class LevelOfDetection {
public:
    LevelOfDetection() = default;
    LevelOfDetection(const Parameters& parameters, const Coregistration& coregistration, const Grid& grid);

    /// When true, each cell has a standard deviation of its own, from its slope; fill() tells.
    bool dependsOnSlope() const { return m_dependsOnSlope; }
    /// With the standard deviation on level ground.
    const CellLevel& cellLevel() const { return m_cell; }
    /// On level ground, metres.
    float level() const { return m_cell.at(m_cell.sigma); }
    /// Where dZ has another standard deviation, metres.
    double levelFor(double sigmaMetres) const { return double(m_cell.at(static_cast<float>(sigmaMetres))); }

    /// Fills the standard deviations for packed rows of old heights. The outermost cells have fewer
    /// neighbours to tell the slope from.
    void fill(const float* oldHeights, int columns, int rows, std::vector<float>& sigmas) const;

private:
    /// A row and its neighbours; the row itself where there is none.
    struct RowOfHeights {
        const float* here = nullptr;
        const float* above = nullptr;
        const float* below = nullptr;
        float rowsApart = 2.0F; ///< the neighbours from each other
    };

    void fillRow(const RowOfHeights& heights, std::size_t width, float* sigmas) const;

    CellLevel m_cell;
    float m_perSlope = 0.0F;
    bool m_dependsOnSlope = false;
    Grid m_grid;
};

/// The standard deviations a normal variable stays within with this probability (0.95: 1.96).
double quantileFor(double confidence);

} // namespace detect
