#include "detect/search/LevelOfDetection.h"

#include "detect/raster/Slope.h"

#include <algorithm>
#include <cmath>

namespace detect {

namespace {

/// No survey tells less, also where two epochs agree perfectly.
constexpr float kLeastLevelMetres = 0.001F;
/// Of a million stable cells a few dozen are farther off, single ones.
constexpr double kSeedSigmas = 4.0;
/// Whoever asks for a threshold is not given one much higher: where epochs do not fit, the scatter is no noise.
constexpr float kMostOfThreshold = 1.5F;

/// Rise over one cell from the heights on its two sides, `apart` cells from each other; where one is missing
/// the cell's own stands for it. Level where nothing is.
float rise(float before, float here, float after, float apart) {
    const bool hasBefore = before == before;
    const bool hasAfter = after == after;
    const float from = hasBefore ? before : here;
    const float to = hasAfter ? after : here;
    return (to - from) / (hasBefore && hasAfter ? apart : 1.0F);
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
    : m_grid(grid) {
    m_cell.threshold = std::max(kLeastLevelMetres, static_cast<float>(parameters.thresholdMetres));
    if (!parameters.significance) {
        m_cell.sigma = static_cast<float>(coregistration.nmadAfterMetres); // of all slopes together
        if (parameters.rules.speckle) {
            m_cell.seed = std::min(static_cast<float>(kSeedSigmas * coregistration.sigmaMetres),
                                   kMostOfThreshold * m_cell.threshold);
        }
        return;
    }
    const Significance& significance = *parameters.significance;
    m_cell.sigma =
        static_cast<float>(significance.oldSigmaMetres && significance.newSigmaMetres
                               ? std::hypot(*significance.oldSigmaMetres, *significance.newSigmaMetres)
                               : coregistration.sigmaMetres);
    m_cell.quantile = static_cast<float>(quantileFor(significance.confidence));
    m_perSlope = static_cast<float>(coregistration.sigmaPerSlopeMetres);
    m_dependsOnSlope = m_perSlope > 0.0F;
}

void LevelOfDetection::fill(const float* oldHeights, int columns, int rows,
                            std::vector<float>& sigmas) const {
    const auto width = static_cast<std::size_t>(columns);
    sigmas.resize(width * static_cast<std::size_t>(rows));
    for (int row = 0; row < rows; ++row) {
        const std::size_t line = static_cast<std::size_t>(row) * width;
        RowOfHeights heights;
        heights.here = oldHeights + line;
        heights.above = row > 0 ? heights.here - width : heights.here;
        heights.below = row + 1 < rows ? heights.here + width : heights.here;
        heights.rowsApart = row > 0 && row + 1 < rows ? 2.0F : 1.0F;
        fillRow(heights, width, sigmas.data() + line);
    }
}

void LevelOfDetection::fillRow(const RowOfHeights& heights, std::size_t width, float* sigmas) const {
    const SlopeFrame frame(m_grid);
    const float levelGround = m_cell.sigma * m_cell.sigma;
    const float perSlope = m_perSlope * m_perSlope;
    const float* here = heights.here;
    const float* above = heights.above;
    const float* below = heights.below;
    const float rowsApart = heights.rowsApart;
    const auto fillCell = [=](std::size_t i, std::size_t left, std::size_t right, float columnsApart) {
        const float alongColumns = rise(here[left], here[i], here[right], columnsApart);
        const float alongRows = rise(above[i], here[i], below[i], rowsApart);
        const float slopeSquared = frame.slope(alongColumns, alongRows).squared();
        sigmas[i] = std::sqrt(levelGround + perSlope * slopeSquared);
    };
    fillCell(0, 0, width > 1 ? 1 : 0, 1.0F);
    for (std::size_t i = 1; i + 1 < width; ++i) {
        fillCell(i, i - 1, i + 1, 2.0F);
    }
    if (width > 1) {
        fillCell(width - 1, width - 2, width - 1, 1.0F);
    }
}

} // namespace detect
