#include "detect/raster/DifferenceRaster.h"

namespace detect {

namespace {

HeightLayout layoutOf(const Grid& grid, const CellWindow& overlap, int threads) {
    Affine moved = grid.cellToMap();
    const Point corner = moved(overlap.column, overlap.row);
    moved.c[0] = corner.x;
    moved.c[3] = corner.y;
    HeightLayout layout;
    layout.columns = overlap.columns;
    layout.rows = overlap.rows;
    layout.cellToMap = moved.c;
    layout.reference = grid.srs();
    layout.unit = "m";
    layout.name = "dZ";
    layout.writeFails = "写入 dZ 栅格失败，磁盘可能已满";
    layout.threads = threads;
    return layout;
}

} // namespace

Result<DifferenceRaster> DifferenceRaster::create(const StagedOutput& output, const Grid& grid,
                                                  const CellWindow& overlap, int threads) {
    auto file = HeightFile::create(output, layoutOf(grid, overlap, threads));
    if (!file) {
        return failed(file);
    }
    return DifferenceRaster(*std::move(file), overlap);
}

Status DifferenceRaster::write(const CellWindow& window, const std::vector<float>& dz) {
    return m_file.write(window.column - m_overlap.column, window.row - m_overlap.row, window.columns,
                        window.rows, dz.data());
}

} // namespace detect
