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

/// Rows of a surface, one row of tiles at a time, with as much around them as the closing of gaps looks at.
class Bands {
public:
    Bands(HighestGrid& heights, const GapCloser& gaps) : m_heights(heights), m_gaps(gaps) {}

    Status read(int firstRow, int count, RasterizeReport& report) {
        const int from = std::max(0, firstRow - m_gaps.reach());
        const int to = std::min(m_heights.rows(), firstRow + count + m_gaps.reach());
        if (const auto done = m_heights.read(from, to - from, m_rows); !done) {
            return detect::failed(done);
        }
        m_offset = static_cast<std::size_t>(firstRow - from) * static_cast<std::size_t>(m_heights.columns());
        const auto cells = static_cast<std::ptrdiff_t>(count) * m_heights.columns();
        const float* first = m_rows.data() + m_offset;
        const auto empty =
            std::count_if(first, first + cells, [](float height) { return std::isnan(height); });
        const std::int64_t closed = m_gaps.close(m_rows, firstRow - from, firstRow - from + count);
        report.measuredCells += cells - empty;
        report.closedCells += closed;
        report.emptyCells += empty - closed;
        return {};
    }

    const float* cells() const { return m_rows.data() + m_offset; }

private:
    HighestGrid& m_heights;
    const GapCloser& m_gaps;
    std::vector<float> m_rows;
    std::size_t m_offset = 0;
};

} // namespace

Status writeSurface(const SurfaceGrid& surface, HighestGrid& heights, const GapCloser& gaps,
                    const detect::StagedOutput& output, RasterizeReport& report, const Progress& progress) {
    auto file = detect::HeightFile::create(output, layoutOf(surface));
    if (!file) {
        return detect::failed(file);
    }
    constexpr int kBandRows = detect::HeightFile::kTileCells;
    Bands bands(heights, gaps);
    for (int row = 0; row < surface.rows; row += kBandRows) {
        const int count = std::min(kBandRows, surface.rows - row);
        if (auto done = bands.read(row, count, report); !done) {
            return done;
        }
        if (auto done = file->write(0, row, surface.columns, count, bands.cells()); !done) {
            return done;
        }
        if (progress && !progress(static_cast<double>(row + count) / surface.rows)) {
            return detect::cancelled();
        }
    }
    return file->close();
}

} // namespace cloud
