#include "HeightApron.h"

#include "RasterSource.h"

#include <cmath>
#include <limits>

namespace osgEarth {
namespace {

constexpr int kCoarseCells = 96;
constexpr double kMetresPerDegree = 111320.0;
constexpr double kWidthPerHeight = 40.0; // a slope of 2.5 per cent
constexpr double kLeastWidthMetres = 500.0;
constexpr double kGreatestWidthMetres = 60000.0;

} // namespace

void HeightApron::prepare() {
    while (std::max(m_source.columns(), m_source.rows()) / m_step > kCoarseCells) {
        m_step *= 2;
    }
    const CellWindow whole{0, 0, m_source.columns(), m_source.rows(), m_step};
    m_width = whole.reducedWidth();
    m_height = whole.reducedHeight();
    if (!m_source.readHeights(whole, m_heights)) {
        m_heights.clear();
        return;
    }
    float sum = 0.0F;
    int count = 0;
    for (const float height : m_heights) {
        if (!std::isnan(height)) {
            sum += height;
            ++count;
        }
    }
    if (count == 0) {
        m_heights.clear();
        return;
    }
    fillHoles();
    m_mean = sum / static_cast<float>(count);
    const double widthMetres =
        osg::clampBetween(std::abs(m_mean) * kWidthPerHeight, kLeastWidthMetres, kGreatestWidthMetres);
    m_widthCells = widthMetres / (m_source.resolutionDegrees() * kMetresPerDegree);
}

// Grows the known heights into the holes, ring by ring.
void HeightApron::fillHoles() {
    bool hasHoles = true;
    while (hasHoles) {
        hasHoles = false;
        const std::vector<float> before = m_heights;
        for (int row = 0; row < m_height; ++row) {
            for (int column = 0; column < m_width; ++column) {
                float& height = m_heights[static_cast<std::size_t>(row * m_width + column)];
                if (!std::isnan(height)) {
                    continue;
                }
                float sum = 0.0F;
                float count = 0.0F;
                for (int y = std::max(0, row - 1); y <= std::min(m_height - 1, row + 1); ++y) {
                    for (int x = std::max(0, column - 1); x <= std::min(m_width - 1, column + 1); ++x) {
                        const float neighbour = before[static_cast<std::size_t>(y * m_width + x)];
                        if (!std::isnan(neighbour)) {
                            sum += neighbour;
                            count += 1.0F;
                        }
                    }
                }
                if (count > 0.0F) {
                    height = sum / count;
                }
                hasHoles = hasHoles || count == 0.0F;
            }
        }
    }
}

double HeightApron::widthCells() {
    std::call_once(m_prepared, [this] { prepare(); });
    return m_widthCells;
}

double HeightApron::widthDegrees() {
    return widthCells() * m_source.resolutionDegrees();
}

float HeightApron::coarseHeight(double column, double row) const {
    const double x = osg::clampBetween(column / m_step - 0.5, 0.0, m_width - 1.0);
    const double y = osg::clampBetween(row / m_step - 0.5, 0.0, m_height - 1.0);
    const int left = std::min(static_cast<int>(x), std::max(0, m_width - 2));
    const int top = std::min(static_cast<int>(y), std::max(0, m_height - 2));
    const int right = std::min(left + 1, m_width - 1);
    const int bottom = std::min(top + 1, m_height - 1);
    const auto at = [&](int c, int r) { return m_heights[static_cast<std::size_t>(r * m_width + c)]; };
    const auto fx = static_cast<float>(x - left);
    const auto fy = static_cast<float>(y - top);
    return (at(left, top) * (1.0F - fx) + at(right, top) * fx) * (1.0F - fy) +
           (at(left, bottom) * (1.0F - fx) + at(right, bottom) * fx) * fy;
}

float HeightApron::height(double column, double row) {
    const double width = widthCells();
    const double outsideX = std::max({0.0, -column, column - m_source.columns()});
    const double outsideY = std::max({0.0, -row, row - m_source.rows()});
    const double outside = std::hypot(outsideX, outsideY);
    if (!(outside < width)) {
        return std::numeric_limits<float>::quiet_NaN();
    }
    // The ups and downs of the edge fade first, or they would run outwards as ribs.
    const double ribs = std::exp(-outside / (0.08 * std::max(m_source.columns(), m_source.rows())));
    const double part = 1.0 - outside / width;
    const double shape = m_mean + (coarseHeight(column, row) - m_mean) * ribs;
    return static_cast<float>(shape * part * part * (3.0 - 2.0 * part));
}

} // namespace osgEarth
