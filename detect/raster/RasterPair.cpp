#include "detect/raster/RasterPair.h"

#include "detect/GdalErrors.h"

#include <algorithm>
#include <cmath>

namespace detect {

namespace {

/// Grids that stray from each other by less than this many cells count as one.
constexpr double kGridTolerance = 1e-3;
/// Two rows of tiles (256 x 256) of two rasters up to 17,000 cells wide.
constexpr std::size_t kSharedBytes = std::size_t{72} << 20;

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

std::optional<PairLayout::Offset> commonGrid(const Grid& oldGrid, const Grid& newGrid) {
    if (!sameReferenceSystem(oldGrid.srs(), newGrid.srs())) {
        return std::nullopt;
    }
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
        if (!(std::abs(cell.x - old.x - whole.x) < kGridTolerance &&
              std::abs(cell.y - old.y - whole.y) < kGridTolerance)) {
            return std::nullopt;
        }
    }
    if (std::abs(whole.x) > 1e9 || std::abs(whole.y) > 1e9) {
        return std::nullopt;
    }
    return PairLayout::Offset{static_cast<int>(whole.x), static_cast<int>(whole.y)};
}

/// The part of the old raster that the new one covers.
Result<CellWindow> overlapOf(const PairLayout& layout) {
    if (layout.offset) {
        const CellWindow moved{-layout.offset->columns, -layout.offset->rows, layout.newRaster.grid.columns(),
                               layout.newRaster.grid.rows()};
        return intersect(layout.oldRaster.grid.extent(), moved);
    }
    return Resampler::create(layout.oldRaster.grid, layout.newRaster.grid, layout.newRaster.path)
        .map([](const Resampler& resampler) { return resampler.coverage(); });
}

} // namespace

Result<PairLayout> layOutPair(const Request& request) {
    auto oldSource = RasterSource::open(request.oldRaster);
    if (!oldSource) {
        return failed(oldSource);
    }
    auto newSource = RasterSource::open(request.newRaster);
    if (!newSource) {
        return failed(newSource);
    }
    PairLayout layout;
    layout.oldRaster = oldSource->facts();
    layout.newRaster = newSource->facts();
    layout.offset = commonGrid(layout.oldRaster.grid, layout.newRaster.grid);
    const auto overlap = overlapOf(layout);
    if (!overlap) {
        return failed(overlap);
    }
    layout.overlap = *overlap;
    if (layout.overlap.empty()) {
        return failureOf(request.newRaster, "与旧期 " + request.oldRaster + " 没有重叠区域");
    }
    if (request.window) {
        layout.overlap = intersect(layout.overlap, cellsInside(*request.window, layout.oldRaster.grid));
    }
    if (layout.overlap.empty()) {
        return nothingInWindow(
            failureOf(request.newRaster, "与旧期 " + request.oldRaster + " 在所选范围内没有重叠区域"));
    }
    for (const auto& [path, mask] : {std::pair(&request.parameters.unstableMask, &layout.unstable),
                                     std::pair(&request.parameters.ignoreMask, &layout.ignored)}) {
        if (path->empty()) {
            continue;
        }
        auto opened = GroundMask::open(*path, layout.oldRaster.grid);
        if (!opened) {
            return failed(opened);
        }
        *mask = std::move(*opened);
    }
    return layout;
}

SharedTiles::SharedTiles(const PairLayout& layout) {
    const auto storeFor = [](const RasterFacts& raster) {
        return std::make_shared<TileStore>(raster.grid.columns(), raster.grid.rows(), raster.tileColumns,
                                           raster.tileRows, kSharedBytes / 2);
    };
    oldTiles = storeFor(layout.oldRaster);
    newTiles = storeFor(layout.newRaster);
}

Result<PairReader> PairReader::open(const PairLayout& layout, const SharedTiles* tiles, ReadFor purpose) {
    auto oldSource = RasterSource::openAgain(layout.oldRaster);
    if (!oldSource) {
        return failed(oldSource);
    }
    auto newSource = RasterSource::openAgain(layout.newRaster);
    if (!newSource) {
        return failed(newSource);
    }
    if (tiles) {
        oldSource->shareTiles(tiles->oldTiles);
        newSource->shareTiles(tiles->newTiles);
    }
    return PairReader(layout, purpose, std::move(*oldSource), std::move(*newSource));
}

bool PairReader::isEmpty(const CellWindow& window) {
    if (m_old.isEmpty(window)) {
        return true;
    }
    if (!m_layout->offset) {
        return false;
    }
    return m_new.isEmpty({window.column + m_layout->offset->columns, window.row + m_layout->offset->rows,
                          window.columns, window.rows});
}

Status PairReader::readOld(const CellWindow& window, float* heights) {
    if (auto done = m_old.read(window, heights, static_cast<std::size_t>(window.columns)); !done) {
        return failed(done);
    }
    if (m_layout->ignored) {
        m_layout->ignored->hide(window, heights);
    }
    if (m_layout->unstable && m_purpose == ReadFor::Fit) {
        m_layout->unstable->hide(window, heights);
    }
    return {};
}

Status PairReader::readNew(const CellWindow& window, const Shift& shift, float* heights) {
    if (m_layout->offset && shift.none()) {
        const CellWindow moved{window.column + m_layout->offset->columns, window.row + m_layout->offset->rows,
                               window.columns, window.rows};
        return m_new.read(moved, heights, static_cast<std::size_t>(window.columns));
    }
    if (!m_resampler) {
        auto created =
            Resampler::create(m_layout->oldRaster.grid, m_layout->newRaster.grid, m_layout->newRaster.path);
        if (!created) {
            return failed(created);
        }
        m_resampler.emplace(std::move(*created));
    }
    return m_resampler->read(m_new, window, shift, heights);
}

} // namespace detect
