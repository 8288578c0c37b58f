#include "detect/LevelOfDetection.h"

#include "detect/Slope.h"

#include <algorithm>
#include <cmath>

namespace detect {

namespace {

/// No survey tells less, also where two epochs agree perfectly.
constexpr float leastLevelMetres = 0.001F;

/// Rise from `before` to `after` over two cells, by what is there of the three; level where nothing is.
float rise(float before, float here, float after) {
    const bool hasBefore = before == before;
    const bool hasAfter = after == after;
    const float from = hasBefore ? before : here;
    const float to = hasAfter ? after : here;
    return (to - from) * (hasBefore && hasAfter ? 0.5F : 1.0F);
}

} // namespace

double quantileFor(double confidence) {
    double low = 0.0;
    double high = 40.0;
    for (int i = 0; i < 100; ++i) { // erfc falls steadily, so halving finds the place
        const double middle = (low + high) / 2.0;
        (std::erfc(middle / std::sqrt(2.0)) > 1.0 - confidence ? low : high) = middle;
    }
    return (low + high) / 2.0;
}

LevelOfDetection::LevelOfDetection(const Parameters& parameters, const Coregistration& coregistration,
                                   const Grid& grid)
    : m_threshold(std::max(leastLevelMetres, static_cast<float>(parameters.thresholdMetres))), m_grid(grid) {
    m_level = m_threshold;
    if (!parameters.significance) {
        m_sigma = static_cast<float>(coregistration.nmadAfterMetres); // of all slopes together
        return;
    }
    const Significance& significance = *parameters.significance;
    m_sigma = static_cast<float>(significance.oldSigmaMetres
                                     ? std::hypot(*significance.oldSigmaMetres, *significance.newSigmaMetres)
                                     : coregistration.sigmaMetres);
    m_quantile = static_cast<float>(quantileFor(significance.confidence));
    m_level = std::max(m_threshold, m_quantile * m_sigma);
    m_perSlope = static_cast<float>(coregistration.sigmaPerSlopeMetres);
    m_dependsOnSlope = m_perSlope > 0.0F;
}

void LevelOfDetection::fill(const float* oldHeights, int columns, int rows, std::vector<float>& levels,
                            std::vector<float>& sigmas) const {
    const auto width = static_cast<std::size_t>(columns);
    levels.resize(width * static_cast<std::size_t>(rows));
    sigmas.resize(levels.size());
    const SlopeFrame frame(m_grid);
    for (int row = 0; row < rows; ++row) {
        const std::size_t line = static_cast<std::size_t>(row) * width;
        const float* here = oldHeights + line;
        const float* above = row > 0 ? here - width : here;
        const float* below = row + 1 < rows ? here + width : here;
        const bool inside = row > 0 && row + 1 < rows;
        for (std::size_t i = 0; i < width; ++i) {
            const float left = here[i > 0 ? i - 1 : i];
            const float right = here[i + 1 < width ? i + 1 : i];
            const bool between = i > 0 && i + 1 < width;
            const float alongColumns = rise(left, here[i], right) * (between ? 1.0F : 2.0F);
            const float alongRows = rise(above[i], here[i], below[i]) * (inside ? 1.0F : 2.0F);
            const float slope2 = frame.slope(alongColumns, alongRows).squared();
            const float sigma = std::sqrt(m_sigma * m_sigma + m_perSlope * m_perSlope * slope2);
            sigmas[line + i] = sigma;
            levels[line + i] = std::max(m_threshold, m_quantile * sigma);
        }
    }
}

} // namespace detect
