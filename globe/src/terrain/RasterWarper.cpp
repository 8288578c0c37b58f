#include "RasterWarper.h"

#include "HeightApron.h"
#include "HeightBlocks.h"
#include "RasterSource.h"

#include <cmath>
#include <limits>
#include <optional>

namespace osgEarth {
namespace {

constexpr double kNowhere = std::numeric_limits<double>::quiet_NaN();

// Exact conversions are made on this many nodes a side; between them cell coordinates are interpolated. The
// error stays far below a sample, because tiles shrink faster than projections bend.
constexpr int kNodesPerSide = 17;

struct Cell {
    double column = kNowhere;
    double row = kNowhere;
};

// Cell coordinates of the grid's nodes, and the part of the raster that the grid needs.
class CellMapping {
public:
    CellMapping(const RasterSource& source, const SampleGrid& grid);
    /// Cell coordinates at a sample of the grid.
    Cell at(int column, int row) const;
    std::optional<CellWindow> window() const { return m_window; }

private:
    double nodeOffset(int index, int count) const;
    void chooseWindow(const RasterSource& source, const SampleGrid& grid);
    const Cell& node(int column, int row) const {
        return m_nodes[static_cast<std::size_t>(row * kNodesPerSide + column)];
    }

    int m_width;
    int m_height;
    bool m_onEdges;
    std::vector<Cell> m_nodes;
    std::optional<CellWindow> m_window;
};

CellMapping::CellMapping(const RasterSource& source, const SampleGrid& grid)
    : m_width(grid.width), m_height(grid.height), m_onEdges(grid.onEdges),
      m_nodes(static_cast<std::size_t>(kNodesPerSide * kNodesPerSide)) {
    const SpatialReference* gridSRS = grid.extent.getSRS();
    // One side of the antimeridian for the whole tile, or the cells between two nodes would make no sense.
    const osg::Vec2d middle = grid.extent.bounds().center2d();
    osg::Vec3d there;
    const double turn = gridSRS->transform(osg::Vec3d(middle.x(), middle.y(), 0.0), source.srs(), there)
                            ? source.turn(there.x())
                            : 0.0;
    for (int row = 0; row < kNodesPerSide; ++row) {
        for (int column = 0; column < kNodesPerSide; ++column) {
            const double fraction = 1.0 / (kNodesPerSide - 1);
            const osg::Vec3d point(grid.extent.west() + grid.extent.width() * column * fraction,
                                   grid.extent.north() - grid.extent.height() * row * fraction, 0.0);
            osg::Vec3d converted;
            if (gridSRS->transform(point, source.srs(), converted)) {
                Cell& cell = m_nodes[static_cast<std::size_t>(row * kNodesPerSide + column)];
                source.toCells(converted.x() + turn, converted.y(), cell.column, cell.row);
            }
        }
    }
    chooseWindow(source, grid);
}

double CellMapping::nodeOffset(int index, int count) const {
    const double fraction = m_onEdges ? static_cast<double>(index) / (count - 1) : (index + 0.5) / count;
    return fraction * (kNodesPerSide - 1);
}

Cell CellMapping::at(int column, int row) const {
    const double x = nodeOffset(column, m_width);
    const double y = nodeOffset(row, m_height);
    const int left = std::min(static_cast<int>(x), kNodesPerSide - 2);
    const int top = std::min(static_cast<int>(y), kNodesPerSide - 2);
    const double fx = x - left;
    const double fy = y - top;
    const auto mix = [&](double Cell::* part) {
        const double upper = node(left, top).*part * (1.0 - fx) + node(left + 1, top).*part * fx;
        const double lower = node(left, top + 1).*part * (1.0 - fx) + node(left + 1, top + 1).*part * fx;
        return upper * (1.0 - fy) + lower * fy;
    };
    return {mix(&Cell::column), mix(&Cell::row)};
}

// The largest power of two that still leaves one reduced cell or more per sample.
int stepFor(double cellsPerSample) {
    int step = 1;
    while (step * 2 <= cellsPerSample * 1.001 && step < (1 << 20)) {
        step *= 2;
    }
    return step;
}

void CellMapping::chooseWindow(const RasterSource& source, const SampleGrid& grid) {
    double cellsPerSample = std::numeric_limits<double>::max();
    double minColumn = source.columns();
    double minRow = source.rows();
    double maxColumn = 0.0;
    double maxRow = 0.0;
    const double samplesPerNode = static_cast<double>(grid.width) / (kNodesPerSide - 1);
    for (int row = 0; row + 1 < kNodesPerSide; ++row) {
        for (int column = 0; column + 1 < kNodesPerSide; ++column) {
            const Cell& a = node(column, row);
            const Cell& b = node(column + 1, row);
            const Cell& c = node(column, row + 1);
            const Cell& d = node(column + 1, row + 1);
            if (std::isnan(a.column + b.column + c.column + d.column)) {
                continue;
            }
            const auto columns = std::minmax({a.column, b.column, c.column, d.column});
            const auto rows = std::minmax({a.row, b.row, c.row, d.row});
            const bool inside = columns.first < source.columns() && columns.second > 0.0 &&
                                rows.first < source.rows() && rows.second > 0.0;
            if (!inside) {
                continue;
            }
            minColumn = std::min(minColumn, columns.first);
            maxColumn = std::max(maxColumn, columns.second);
            minRow = std::min(minRow, rows.first);
            maxRow = std::max(maxRow, rows.second);
            const double perSample = std::min(std::hypot(b.column - a.column, b.row - a.row),
                                              std::hypot(c.column - a.column, c.row - a.row)) /
                                     samplesPerNode;
            cellsPerSample = std::min(cellsPerSample, std::max(perSample, 1e-6));
        }
    }
    if (maxColumn <= minColumn || maxRow <= minRow) {
        return;
    }
    CellWindow window;
    window.step = stepFor(cellsPerSample);
    // Windows start and end on multiples of the step, so that neighbouring tiles read the very same reduced
    // cells.
    const auto alignDown = [&](double value) {
        return static_cast<int>(std::floor(std::max(0.0, value) / window.step)) * window.step;
    };
    const double margin = 2.0 * window.step;
    window.column = alignDown(std::min(minColumn - margin, source.columns() - 1.0));
    window.row = alignDown(std::min(minRow - margin, source.rows() - 1.0));
    const double right = std::min<double>(source.columns(), alignDown(maxColumn + margin) + window.step);
    const double bottom = std::min<double>(source.rows(), alignDown(maxRow + margin) + window.step);
    window.width = static_cast<int>(right) - window.column;
    window.height = static_cast<int>(bottom) - window.row;
    if (window.width > 0 && window.height > 0) {
        m_window = window;
    }
}

std::optional<Neighbours> neighboursOf(const Cell& cell, const CellWindow& window,
                                       const RasterSource& source) {
    const bool inside = cell.column >= 0.0 && cell.row >= 0.0 && cell.column <= source.columns() &&
                        cell.row <= source.rows(); // false for NaN
    if (!inside) {
        return std::nullopt;
    }
    return neighboursAt((cell.column - window.column) / window.step, (cell.row - window.row) / window.step,
                        window.reducedWidth(), window.reducedHeight());
}

} // namespace

bool isSameGrid(const SampleGrid& a, const SampleGrid& b) {
    return a.width == b.width && a.height == b.height && a.extent.west() == b.extent.west() &&
           a.extent.south() == b.extent.south() && a.extent.east() == b.extent.east() &&
           a.extent.north() == b.extent.north();
}

Neighbours neighboursAt(double column, double row, int width, int height) {
    const double x = std::clamp(column - 0.5, 0.0, width - 1.0);
    const double y = std::clamp(row - 0.5, 0.0, height - 1.0);
    const int left = std::min(static_cast<int>(x), std::max(0, width - 2));
    const int top = std::min(static_cast<int>(y), std::max(0, height - 2));
    const int right = std::min(left + 1, width - 1);
    const int bottom = std::min(top + 1, height - 1);
    const auto index = [&](int c, int r) { return static_cast<std::size_t>(r * width + c); };
    return {index(left, top),     index(right, top), index(left, bottom),
            index(right, bottom), x - left,          y - top};
}

// Colours are weighted with alpha, so that clear neighbours do not darken an edge.
bool mixColours(const std::vector<std::uint8_t>& rgba, const Neighbours& cells, std::uint8_t* out) {
    const std::size_t corners[4] = {cells.upperLeft, cells.upperRight, cells.lowerLeft, cells.lowerRight};
    const double areas[4] = {(1.0 - cells.fx) * (1.0 - cells.fy), cells.fx * (1.0 - cells.fy),
                             (1.0 - cells.fx) * cells.fy, cells.fx * cells.fy};
    double sums[4] = {0.0, 0.0, 0.0, 0.0};
    for (int i = 0; i < 4; ++i) {
        const std::uint8_t* const cell = &rgba[corners[i] * 4];
        const double weight = areas[i] * cell[3];
        sums[0] += weight * cell[0];
        sums[1] += weight * cell[1];
        sums[2] += weight * cell[2];
        sums[3] += weight;
    }
    if (sums[3] < 0.5) {
        return false;
    }
    for (int i = 0; i < 3; ++i) {
        out[i] = static_cast<std::uint8_t>(sums[i] / sums[3] + 0.5);
    }
    out[3] = static_cast<std::uint8_t>(sums[3] + 0.5);
    return true;
}

bool isWorthReading(const RasterSource& source, const SampleGrid& grid) {
    const Footprint& there = source.footprint();
    const GeoExtent here = grid.extent.transform(SpatialReference::get("wgs84"));
    if (!there.touches(here)) {
        return false;
    }
    return std::max(there.width() / (here.width() / grid.width),
                    there.height() / (here.height() / grid.height)) >= 1.0;
}

double SampleGrid::x(double column) const {
    const double fraction = onEdges ? column / (width - 1) : (column + 0.5) / width;
    return extent.west() + extent.width() * fraction;
}

double SampleGrid::y(double row) const {
    const double fraction = onEdges ? row / (height - 1) : (row + 0.5) / height;
    return extent.north() - extent.height() * fraction;
}

Warped warpImage(RasterSource& source, const SampleGrid& grid, std::vector<std::uint8_t>& rgba) {
    if (!isWorthReading(source, grid)) {
        return Warped::Nothing;
    }
    const CellMapping mapping(source, grid);
    const auto window = mapping.window();
    if (!window) {
        return Warped::Nothing;
    }
    std::vector<std::uint8_t> cells;
    if (!source.readImage(*window, cells)) {
        return Warped::Unreadable;
    }
    rgba.assign(static_cast<std::size_t>(grid.width) * static_cast<std::size_t>(grid.height) * 4, 0);
    bool hasAny = false;
    std::uint8_t* out = rgba.data();
    for (int row = 0; row < grid.height; ++row) {
        for (int column = 0; column < grid.width; ++column, out += 4) {
            const auto n = neighboursOf(mapping.at(column, row), *window, source);
            hasAny = (n && mixColours(cells, *n, out)) || hasAny;
        }
    }
    return hasAny ? Warped::Something : Warped::Nothing;
}

bool warpHeights(RasterSource& source, const SampleGrid& grid, std::vector<float>& heights) {
    if (!isWorthReading(source, grid)) {
        return false;
    }
    const CellMapping mapping(source, grid);
    const auto window = mapping.window();
    std::vector<float> cells;
    if (!window || !source.readHeights(*window, cells)) {
        return false;
    }
    heights.assign(static_cast<std::size_t>(grid.width) * static_cast<std::size_t>(grid.height),
                   std::numeric_limits<float>::quiet_NaN());
    bool hasAny = false;
    float* out = heights.data();
    for (int row = 0; row < grid.height; ++row) {
        for (int column = 0; column < grid.width; ++column, ++out) {
            if (const auto n = neighboursOf(mapping.at(column, row), *window, source)) {
                *out = bilinearAcrossHoles(cells[n->upperLeft], cells[n->upperRight], cells[n->lowerLeft],
                                           cells[n->lowerRight], n->fx, n->fy);
                hasAny = hasAny || !std::isnan(*out);
            }
        }
    }
    return hasAny;
}

void fillFromApron(RasterSource& source, const SampleGrid& grid, std::vector<float>& heights) {
    const double reach = source.heightApron().widthDegrees();
    if (reach <= 0.0 || !source.footprint().touches(grid.extent, reach)) {
        return;
    }
    const SpatialReference& gridSRS = *grid.extent.getSRS();
    std::size_t index = 0;
    for (int row = 0; row < grid.height; ++row) {
        for (int column = 0; column < grid.width; ++column, ++index) {
            osg::Vec3d point;
            if (std::isnan(heights[index]) &&
                gridSRS.transform(osg::Vec3d(grid.x(column), grid.y(row), 0.0), source.srs(), point)) {
                Cell cell;
                source.toCells(point.x() + source.turn(point.x()), point.y(), cell.column, cell.row);
                heights[index] = source.heightApron().height(cell.column, cell.row);
            }
        }
    }
}

} // namespace osgEarth
