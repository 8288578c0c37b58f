#include "HeightApron.h"

#include "RasterSource.h"

#include <cmath>
#include <limits>

namespace osgEarth {
namespace {

constexpr int coarseCells = 96;
constexpr double metresPerDegree = 111320.0;
constexpr double widthPerHeight = 40.0; // a slope of 2.5 per cent
constexpr double leastWidthMetres = 500.0;
constexpr double greatestWidthMetres = 60000.0;

} // namespace

void HeightApron::prepare() {
    while (std::max(_source.columns(), _source.rows()) / _step > coarseCells) {
        _step *= 2;
    }
    const CellWindow whole{0, 0, _source.columns(), _source.rows(), _step};
    _width = whole.reducedWidth();
    _height = whole.reducedHeight();
    if (!_source.readHeights(whole, _heights)) {
        _heights.clear();
        return;
    }
    float sum = 0.0F;
    int count = 0;
    for (const float height : _heights) {
        if (!std::isnan(height)) {
            sum += height;
            ++count;
        }
    }
    if (count == 0) {
        _heights.clear();
        return;
    }
    fillHoles();
    _mean = sum / static_cast<float>(count);
    const double widthMetres =
        osg::clampBetween(std::abs(_mean) * widthPerHeight, leastWidthMetres, greatestWidthMetres);
    _widthCells = widthMetres / (_source.resolutionDegrees() * metresPerDegree);
}

// Grows the known heights into the holes, ring by ring.
void HeightApron::fillHoles() {
    bool hasHoles = true;
    while (hasHoles) {
        hasHoles = false;
        const std::vector<float> before = _heights;
        for (int row = 0; row < _height; ++row) {
            for (int column = 0; column < _width; ++column) {
                float& height = _heights[static_cast<std::size_t>(row * _width + column)];
                if (!std::isnan(height)) {
                    continue;
                }
                float sum = 0.0F;
                float count = 0.0F;
                for (int y = std::max(0, row - 1); y <= std::min(_height - 1, row + 1); ++y) {
                    for (int x = std::max(0, column - 1); x <= std::min(_width - 1, column + 1); ++x) {
                        const float neighbour = before[static_cast<std::size_t>(y * _width + x)];
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
    std::call_once(_prepared, [this] { prepare(); });
    return _widthCells;
}

double HeightApron::widthDegrees() {
    return widthCells() * _source.resolutionDegrees();
}

float HeightApron::coarseHeight(double column, double row) const {
    const double x = osg::clampBetween(column / _step - 0.5, 0.0, _width - 1.0);
    const double y = osg::clampBetween(row / _step - 0.5, 0.0, _height - 1.0);
    const int left = std::min(static_cast<int>(x), std::max(0, _width - 2));
    const int top = std::min(static_cast<int>(y), std::max(0, _height - 2));
    const int right = std::min(left + 1, _width - 1);
    const int bottom = std::min(top + 1, _height - 1);
    const auto at = [&](int c, int r) { return _heights[static_cast<std::size_t>(r * _width + c)]; };
    const auto fx = static_cast<float>(x - left);
    const auto fy = static_cast<float>(y - top);
    return (at(left, top) * (1.0F - fx) + at(right, top) * fx) * (1.0F - fy) +
           (at(left, bottom) * (1.0F - fx) + at(right, bottom) * fx) * fy;
}

float HeightApron::height(double column, double row) {
    const double width = widthCells();
    const double outsideX = std::max({0.0, -column, column - _source.columns()});
    const double outsideY = std::max({0.0, -row, row - _source.rows()});
    const double outside = std::hypot(outsideX, outsideY);
    if (!(outside < width)) {
        return std::numeric_limits<float>::quiet_NaN();
    }
    // The ups and downs of the edge fade first, or they would run outwards as ribs.
    const double ribs = std::exp(-outside / (0.08 * std::max(_source.columns(), _source.rows())));
    const double part = 1.0 - outside / width;
    const double shape = _mean + (coarseHeight(column, row) - _mean) * ribs;
    return static_cast<float>(shape * part * part * (3.0 - 2.0 * part));
}

} // namespace osgEarth
