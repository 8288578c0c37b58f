#pragma once

#include "detect/Detection.h"
#include "detect/Grid.h"

#include <algorithm>
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

    /// When true, each cell has a level of its own, from its slope; fill() tells.
    bool dependsOnSlope() const { return m_dependsOnSlope; }
    /// Level and standard deviation on level ground, metres.
    float level() const { return m_level; }
    float sigma() const { return m_sigma; }
    /// Where dZ has another standard deviation, metres.
    double levelFor(double sigmaMetres) const {
        return std::max(static_cast<double>(m_threshold), static_cast<double>(m_quantile) * sigmaMetres);
    }

    /// Fills levels and standard deviations for packed rows of old heights. The outermost cells have fewer
    /// neighbours to tell the slope from.
    void fill(const float* oldHeights, int columns, int rows, std::vector<float>& levels,
              std::vector<float>& sigmas) const;

private:
    float m_level = 0.5F;
    float m_sigma = 0.0F;
    float m_perSlope = 0.0F;
    float m_threshold = 0.5F;
    float m_quantile = 0.0F;
    bool m_dependsOnSlope = false;
    Grid m_grid;
};

/// The standard deviations a normal variable stays within with this probability (0.95: 1.96).
double quantileFor(double confidence);

} // namespace detect
