#include "detect/RasterPair.h"

#include "detect/GdalErrors.h"

#include <algorithm>
#include <cmath>

namespace detect {

namespace {

/// Grids that stray from each other by less than this many cells count as one.
constexpr double gridTolerance = 1e-3;

/// The cells whose centres lie in the box.
CellWindow cellsInside(const Box& box, const Grid& grid) {
    const Affine mapToCell = grid.cellToMap().inverse();
    const Point corners[] = {mapToCell(box.xMin, box.yMin), mapToCell(box.xMax, box.yMin),
                             mapToCell(box.xMin, box.yMax), mapToCell(box.xMax, box.yMax)};
    const auto [left, right] = std::minmax_element(std::begin(corners), std::end(corners),
                                                   [](auto& a, auto& b) { return a.x < b.x; });
    const auto [top, bottom] = std::minmax_element(std::begin(corners), std::end(corners),
                                                   [](auto& a, auto& b) { return a.y < b.y; });
    const auto edge = [](double value, int limit) {
        return static_cast<int>(std::clamp(std::ceil(value - 0.5), 0.0, static_cast<double>(limit)));
    };
    const int column = edge(left->x, grid.columns());
    const int row = edge(top->y, grid.rows());
    return {column, row, edge(right->x, grid.columns()) - column, edge(bottom->y, grid.rows()) - row};
}

} // namespace

std::variant<PairLayout, Failure> layOutPair(const Request& request) {
    auto opened = PairReader::open(request.oldRaster, request.newRaster);
    if (auto* failure = std::get_if<Failure>(&opened))
        return *failure;
    const PairReader& pair = std::get<PairReader>(opened);

    PairLayout layout;
    layout.oldPath = request.oldRaster;
    layout.newPath = request.newRaster;
    layout.oldGrid = pair.m_old.grid();
    layout.tileColumns = pair.m_old.tileColumns();
    layout.tileRows = pair.m_old.tileRows();
    layout.overlap = pair.overlap();
    if (layout.overlap.empty())
        return failureOf(request.newRaster, "与旧期 " + request.oldRaster + " 没有重叠区域");
    if (request.window)
        layout.overlap = intersect(layout.overlap, cellsInside(*request.window, layout.oldGrid));
    if (layout.overlap.empty())
        return nothingInWindow(
            failureOf(request.newRaster, "与旧期 " + request.oldRaster + " 在所选范围内没有重叠区域"));
    return layout;
}

PairReader::PairReader(RasterSource oldSource, RasterSource newSource, Resampler resampler)
    : m_old(std::move(oldSource)), m_new(std::move(newSource)), m_resampler(std::move(resampler)),
      m_offset(commonGrid(m_old.grid(), m_new.grid())) {}

std::variant<PairReader, Failure> PairReader::open(const PairLayout& layout) {
    return open(layout.oldPath, layout.newPath);
}

std::variant<PairReader, Failure> PairReader::open(const std::string& oldPath, const std::string& newPath) {
    auto oldSource = RasterSource::open(oldPath);
    if (auto* failure = std::get_if<Failure>(&oldSource))
        return *failure;
    auto newSource = RasterSource::open(newPath);
    if (auto* failure = std::get_if<Failure>(&newSource))
        return *failure;
    // The resampler keeps a data set of its own; opening twice costs less than sharing one would complicate.
    auto again = RasterSource::open(newPath);
    if (auto* failure = std::get_if<Failure>(&again))
        return *failure;
    auto resampler =
        Resampler::create(std::get<RasterSource>(oldSource).grid(), std::get<RasterSource>(std::move(again)));
    if (auto* failure = std::get_if<Failure>(&resampler))
        return *failure;
    return PairReader(std::get<RasterSource>(std::move(oldSource)),
                      std::get<RasterSource>(std::move(newSource)),
                      std::get<Resampler>(std::move(resampler)));
}

std::optional<PairReader::Offset> PairReader::commonGrid(const Grid& oldGrid, const Grid& newGrid) {
    if (!sameReferenceSystem(oldGrid.srs(), newGrid.srs()))
        return std::nullopt;
    const Affine mapToNew = newGrid.cellToMap().inverse();
    const auto newCell = [&](double column, double row) {
        const Point map = oldGrid.cellToMap()(column, row);
        return mapToNew(map.x, map.y);
    };
    const Point origin = newCell(0.0, 0.0);
    const Point whole{std::round(origin.x), std::round(origin.y)};
    const double columns = oldGrid.columns();
    const double rows = oldGrid.rows();
    for (const Point& old : {Point{0.0, 0.0}, Point{columns, 0.0}, Point{0.0, rows}, Point{columns, rows}}) {
        const Point cell = newCell(old.x, old.y);
        if (!(std::abs(cell.x - old.x - whole.x) < gridTolerance &&
              std::abs(cell.y - old.y - whole.y) < gridTolerance))
            return std::nullopt;
    }
    if (std::abs(whole.x) > 1e9 || std::abs(whole.y) > 1e9)
        return std::nullopt;
    return Offset{static_cast<int>(whole.x), static_cast<int>(whole.y)};
}

CellWindow PairReader::overlap() const {
    if (!m_offset)
        return m_resampler.coverage();
    const CellWindow moved{-m_offset->columns, -m_offset->rows, m_new.grid().columns(), m_new.grid().rows()};
    return intersect(m_old.grid().extent(), moved);
}

std::optional<Failure> PairReader::readOld(const CellWindow& window, float* heights) {
    return m_old.read(window, heights, static_cast<std::size_t>(window.columns));
}

std::optional<Failure> PairReader::readNew(const CellWindow& window, const Shift& shift, float* heights) {
    if (!m_offset || !shift.none())
        return m_resampler.read(window, shift, heights);
    const CellWindow moved{window.column + m_offset->columns, window.row + m_offset->rows, window.columns,
                           window.rows};
    return m_new.read(moved, heights, static_cast<std::size_t>(window.columns));
}

} // namespace detect
