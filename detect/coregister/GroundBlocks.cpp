#include "detect/coregister/GroundBlocks.h"

#include "detect/OrderedWork.h"
#include "detect/raster/CellFrame.h"

#include <algorithm>
#include <cmath>

namespace detect {

namespace {

constexpr double kSpacingMetres = 32.0;
constexpr int kLeastSpacingCells = 32;
constexpr std::size_t kMostBlocks = std::size_t{1} << 19;
constexpr std::size_t kMostSamples = std::size_t{1} << 23;
constexpr int kSamplesAcross = 16;
constexpr int kLeastSamplesAcross = 4;
/// Cells read at a time, so that two rows of tiles fit into what the threads share.
constexpr int kStripColumns = 2048;

int blocksOver(int first, int length, int spacing) {
    return (first + length - 1) / spacing - first / spacing + 1;
}

CorrectionField::Nodes blocksOf(const CellWindow& overlap, int spacing) {
    return {spacing, overlap.column / spacing, overlap.row / spacing,
            blocksOver(overlap.column, overlap.columns, spacing),
            blocksOver(overlap.row, overlap.rows, spacing)};
}

/// The blocks of one unit of work: some side by side.
struct Strip {
    int firstColumn = 0; ///< of the nodes
    int columns = 0;
    int row = 0;
    std::vector<std::vector<float>> dz;
};

class StripReader {
public:
    StripReader(PairReader reader, const PairLayout& layout, const CorrectionField::Nodes& nodes, int stride,
                const Shift& shift, const HeightCorrection& correction)
        : m_reader(std::move(reader)), m_overlap(layout.overlap), m_nodes(nodes), m_stride(stride),
          m_shift(shift), m_correction(correction) {}

    static int blocksAside(const CorrectionField::Nodes& nodes) {
        return std::max(1, kStripColumns / nodes.spacing);
    }
    static int stripsAcross(const CorrectionField::Nodes& nodes) {
        return (nodes.columns - 1) / blocksAside(nodes) + 1;
    }

    Result<Strip> operator()(int index) {
        Strip strip;
        strip.firstColumn = index % stripsAcross(m_nodes) * blocksAside(m_nodes);
        strip.columns = std::min(blocksAside(m_nodes), m_nodes.columns - strip.firstColumn);
        strip.row = index / stripsAcross(m_nodes);
        strip.dz.resize(static_cast<std::size_t>(strip.columns));
        const int spacing = m_nodes.spacing;
        const CellWindow cells = intersect(m_overlap, {(m_nodes.firstColumn + strip.firstColumn) * spacing,
                                                       (m_nodes.firstRow + strip.row) * spacing,
                                                       strip.columns * spacing, spacing});
        if (m_reader.isEmpty(cells)) {
            return strip;
        }
        for (int row = cells.row; row < cells.row + cells.rows; ++row) {
            if (row % m_stride != m_stride / 2) {
                continue;
            }
            if (auto done = readLine({cells.column, row, cells.columns, 1}, strip); !done) {
                return failed(done);
            }
        }
        for (std::vector<float>& dz : strip.dz) {
            std::sort(dz.begin(), dz.end());
        }
        return strip;
    }

private:
    Status readLine(const CellWindow& line, Strip& strip) {
        m_old.resize(static_cast<std::size_t>(line.columns));
        m_new.resize(static_cast<std::size_t>(line.columns));
        if (auto done = m_reader.readOld(line, m_old.data()); !done) {
            return failed(done);
        }
        if (auto done = m_reader.readNew(line, m_shift, m_new.data()); !done) {
            return failed(done);
        }
        m_correction.addTo(line, m_new.data());
        // Each row begins elsewhere, so that no column is favoured.
        const int offset = (line.row / m_stride * 7 + m_stride / 2) % m_stride;
        for (int i = 0; i < line.columns; ++i) {
            const int column = line.column + i;
            const auto at = static_cast<std::size_t>(i);
            if (column % m_stride == offset && !std::isnan(m_new[at] - m_old[at])) {
                const int block = column / m_nodes.spacing - m_nodes.firstColumn - strip.firstColumn;
                strip.dz[static_cast<std::size_t>(block)].push_back(m_new[at] - m_old[at]);
            }
        }
        return {};
    }

    PairReader m_reader;
    CellWindow m_overlap;
    CorrectionField::Nodes m_nodes;
    int m_stride;
    Shift m_shift;
    HeightCorrection m_correction;
    std::vector<float> m_old;
    std::vector<float> m_new;
};

} // namespace

CorrectionField::Nodes layBlocks(const PairLayout& layout) {
    const double cells = kSpacingMetres / CellFrame(layout.oldRaster.grid).cellMetres();
    int spacing = std::max(kLeastSpacingCells, static_cast<int>(std::lround(std::min(cells, 1e6))));
    while (blocksOf(layout.overlap, spacing).count() > kMostBlocks) {
        spacing *= 2;
    }
    return blocksOf(layout.overlap, spacing);
}

Result<GroundBlocks> readGroundBlocks(const PairLayout& layout, const Shift& shift,
                                      const HeightCorrection& correction, int threads,
                                      const Progress& progress) {
    GroundBlocks blocks;
    blocks.nodes = layBlocks(layout);
    const std::size_t count = blocks.nodes.count();
    const int affordable =
        static_cast<int>(std::sqrt(static_cast<double>(kMostSamples) / static_cast<double>(count)));
    const int across = std::clamp(affordable, kLeastSamplesAcross, kSamplesAcross);
    const int stride = std::max(1, blocks.nodes.spacing / across);
    const auto most = static_cast<std::size_t>(blocks.nodes.spacing / stride + 1);
    blocks.mostSamples = most * most;
    blocks.dz.resize(count * blocks.mostSamples);
    blocks.sampleCount.assign(count, 0);

    const SharedTiles tiles(layout);
    const auto makeWorker = [&] {
        return PairReader::open(layout, &tiles).map([&](PairReader&& reader) {
            return StripReader(std::move(reader), layout, blocks.nodes, stride, shift, correction);
        });
    };
    const int strips = StripReader::stripsAcross(blocks.nodes) * blocks.nodes.rows;
    int done = 0;
    const auto collect = [&](const Strip& strip) -> Status {
        for (std::size_t i = 0; i < strip.dz.size(); ++i) {
            const std::size_t block =
                static_cast<std::size_t>(strip.row) * static_cast<std::size_t>(blocks.nodes.columns) +
                static_cast<std::size_t>(strip.firstColumn) + i;
            std::copy(strip.dz[i].begin(), strip.dz[i].end(), blocks.of(block));
            blocks.sampleCount[block] = static_cast<int>(strip.dz[i].size());
        }
        return !progress || progress(static_cast<double>(++done) / strips) ? Status() : cancelled();
    };
    if (auto read = workInOrder<Strip>(strips, threads, makeWorker, collect); !read) {
        return failed(read);
    }
    return blocks;
}

} // namespace detect
