#include "detect/search/BlockPlan.h"

#include <algorithm>

namespace detect {

namespace {

constexpr std::int64_t kBlockCells = std::int64_t{1} << 19;
/// A strip or tile higher than this is no unit of work.
constexpr int kHighestTile = 1024;

/// The largest multiple of `unit` up to `wanted`, at least one.
int multiple(int unit, std::int64_t wanted) {
    return static_cast<int>(std::max<std::int64_t>(1, wanted / unit)) * unit;
}

int chooseColumns(const RasterFacts& raster, const CellWindow& window) {
    const int tileRows = raster.tileRows > kHighestTile ? 1 : raster.tileRows;
    return multiple(std::min(raster.tileColumns, window.columns), kBlockCells / tileRows);
}

int chooseRows(const RasterFacts& raster, int columns) {
    const std::int64_t wanted = std::max<std::int64_t>(1, kBlockCells / columns);
    return raster.tileRows > kHighestTile ? static_cast<int>(wanted) : multiple(raster.tileRows, wanted);
}

/// How many units of `size` the stretch from `first` touches.
int touched(int first, int length, int size) {
    return (first + length - 1) / size - first / size + 1;
}

} // namespace

BlockPlan::BlockPlan(const RasterFacts& raster, const CellWindow& window, int askedRows, int askedColumns)
    : m_window(window) {
    m_columns = askedColumns > 0 ? askedColumns : chooseColumns(raster, window);
    m_rows = askedRows > 0 ? askedRows : chooseRows(raster, std::min(m_columns, window.columns));
    m_firstColumn = window.column / m_columns;
    m_firstRow = window.row / m_rows;
    m_across = touched(window.column, window.columns, m_columns);
    m_down = touched(window.row, window.rows, m_rows);
}

CellWindow BlockPlan::at(int index) const {
    const int column = m_firstColumn + index % m_across;
    const int row = m_firstRow + index / m_across;
    return intersect(m_window, {column * m_columns, row * m_rows, m_columns, m_rows});
}

} // namespace detect
