#include "cloud/SurfaceFile.h"

#include "detect/HeightFile.h"

#include <algorithm>
#include <cmath>

namespace cloud {

namespace {

detect::HeightLayout layoutOf(const SurfaceGrid& surface) {
    detect::HeightLayout layout;
    layout.columns = surface.columns;
    layout.rows = surface.rows;
    layout.cellToMap = {surface.west * surface.cell,
                        surface.cell,
                        0.0,
                        (surface.south + surface.rows) * surface.cell,
                        0.0,
                        -surface.cell};
    layout.reference = surface.reference;
    layout.unit = surface.heightUnit;
    layout.writeFails = "写入地表模型失败，磁盘可能已满";
    layout.isSparse = true; // a survey may cross its box from corner to corner
    layout.threads = 2;
    return layout;
}

/// Writes a surface tile by tile, each with as much around it as the closing of gaps looks at.
class Tiles {
public:
    Tiles(HighestGrid& heights, const GapCloser& gaps, detect::HeightFile& file, RasterizeReport& report)
        : m_heights(heights), m_gaps(gaps), m_file(file), m_report(report) {}

    Status write(const CellBox& tile) {
        const CellBox around = surroundingsOf(tile);
        const std::int64_t cells = std::int64_t{tile.columns} * tile.rows;
        if (m_heights.isBare(around)) {
            m_report.emptyCells += cells;
            return {};
        }
        if (auto done = m_heights.read(around, m_around); !done) {
            return done;
        }
        const CellBox inside{tile.column - around.column, tile.row - around.row, tile.columns, tile.rows};
        const std::int64_t closed = m_gaps.close(m_around, around.columns, inside);
        cutOut(inside, around.columns);
        const std::int64_t empty =
            std::count_if(m_cells.begin(), m_cells.end(), [](float height) { return std::isnan(height); });
        m_report.measuredCells += cells - empty - closed;
        m_report.closedCells += closed;
        m_report.emptyCells += empty;
        return empty == cells ? Status()
                              : m_file.write(tile.column, tile.row, tile.columns, tile.rows, m_cells.data());
    }

private:
    CellBox surroundingsOf(const CellBox& tile) const {
        const int left = std::max(0, tile.column - m_gaps.reach());
        const int top = std::max(0, tile.row - m_gaps.reach());
        const int right = std::min(m_heights.columns(), tile.column + tile.columns + m_gaps.reach());
        const int bottom = std::min(m_heights.rows(), tile.row + tile.rows + m_gaps.reach());
        return {left, top, right - left, bottom - top};
    }

    void cutOut(const CellBox& inside, int columns) {
        m_cells.clear();
        for (int row = inside.row; row < inside.row + inside.rows; ++row) {
            const auto first = m_around.begin() + static_cast<std::ptrdiff_t>(row) * columns + inside.column;
            m_cells.insert(m_cells.end(), first, first + inside.columns);
        }
    }

    HighestGrid& m_heights;
    const GapCloser& m_gaps;
    detect::HeightFile& m_file;
    RasterizeReport& m_report;
    std::vector<float> m_around;
    std::vector<float> m_cells;
};

} // namespace

Status writeSurface(const SurfaceGrid& surface, HighestGrid& heights, const GapCloser& gaps,
                    const detect::StagedOutput& output, RasterizeReport& report, const Progress& progress) {
    auto file = detect::HeightFile::create(output, layoutOf(surface));
    if (!file) {
        return detect::failed(file);
    }
    constexpr int kSide = detect::HeightFile::kTileCells;
    Tiles tiles(heights, gaps, *file, report);
    for (int row = 0; row < surface.rows; row += kSide) {
        const int rows = std::min(kSide, surface.rows - row);
        for (int column = 0; column < surface.columns; column += kSide) {
            if (auto done = tiles.write({column, row, std::min(kSide, surface.columns - column), rows});
                !done) {
                return done;
            }
        }
        if (progress && !progress(static_cast<double>(row + rows) / surface.rows)) {
            return detect::cancelled();
        }
    }
    return file->close();
}

} // namespace cloud
