#include "detect/coregister/StableSample.h"

#include "detect/GdalErrors.h"
#include "detect/OrderedWork.h"
#include "detect/raster/Slope.h"

#include <cmath>
#include <numeric>

namespace detect {

namespace {

constexpr std::int64_t kWantedCells = 1'000'000;
constexpr std::int64_t kEnoughValidCells = kWantedCells / 4;
constexpr std::int64_t kWantedSlopedCells = 80'000;
constexpr int kLeastPatchRows = 8;
constexpr int kMostPatchRows = 256;
constexpr double kGoldenSection = 0.6180339887498949;

struct PatchHeights {
    Patch patch;
    std::vector<float> dz;
    std::vector<SlopedDifference> sloped;
    std::vector<float> blockMeans;
    std::int64_t oldValid = 0;
    std::int64_t newValid = 0;
};

/// All patches of the overlap, in an order whose every beginning is spread evenly.
class PatchOrder {
public:
    explicit PatchOrder(const PairLayout& layout) : m_overlap(layout.overlap) {
        m_width = std::min(layout.oldRaster.tileColumns, layout.overlap.columns);
        m_height = std::clamp(layout.oldRaster.tileRows, kLeastPatchRows, kMostPatchRows);
        m_firstColumn = m_overlap.column / m_width;
        m_firstRow = m_overlap.row / m_height;
        m_columns = (m_overlap.column + m_overlap.columns - 1) / m_width - m_firstColumn + 1;
        m_rows = (m_overlap.row + m_overlap.rows - 1) / m_height - m_firstRow + 1;
        // Steps of the golden section visit every patch once and leave no large hole (Weyl sequence).
        m_step = std::max<std::int64_t>(1, std::llround(kGoldenSection * static_cast<double>(count())));
        while (std::gcd(m_step, count()) != 1) {
            ++m_step;
        }
    }

    std::int64_t count() const { return std::int64_t{m_columns} * m_rows; }
    std::int64_t patchCells() const { return std::int64_t{m_width} * m_height; }
    CellWindow at(std::int64_t index) const {
        const std::int64_t patch = index * m_step % count();
        const auto column = static_cast<int>(patch % m_columns) + m_firstColumn;
        const auto row = static_cast<int>(patch / m_columns) + m_firstRow;
        return intersect(m_overlap, {column * m_width, row * m_height, m_width, m_height});
    }

private:
    CellWindow m_overlap;
    int m_width = 1;
    int m_height = 1;
    int m_firstColumn = 0;
    int m_firstRow = 0;
    int m_columns = 1;
    int m_rows = 1;
    std::int64_t m_step = 1;
};

class PatchWorker {
public:
    PatchWorker(PairReader reader, const PairLayout& layout, const PatchOrder& order, std::int64_t first)
        : m_reader(std::move(reader)), m_frame(layout.oldRaster.grid), m_order(&order), m_first(first) {
        const std::int64_t sampled = std::min(kWantedCells, layout.overlap.cells());
        m_slopeStride = static_cast<int>(std::max<std::int64_t>(1, sampled / kWantedSlopedCells));
    }

    Result<PatchHeights> operator()(int index) {
        PatchHeights heights;
        heights.patch.window = m_order->at(m_first + index);
        if (m_reader.isEmpty(heights.patch.window)) {
            return heights;
        }
        const auto cells = static_cast<std::size_t>(heights.patch.window.cells());
        std::vector<float>& old = heights.patch.oldHeights;
        old.resize(cells);
        m_new.resize(cells);
        if (auto done = m_reader.readOld(heights.patch.window, old.data()); !done) {
            return failed(done);
        }
        if (auto done = m_reader.readNew(heights.patch.window, {}, m_new.data()); !done) {
            return failed(done);
        }
        for (std::size_t i = 0; i < cells; ++i) {
            heights.oldValid += std::isnan(old[i]) ? 0 : 1;
            heights.newValid += std::isnan(m_new[i]) ? 0 : 1;
            if (const float dz = m_new[i] - old[i]; !std::isnan(dz)) {
                heights.dz.push_back(dz);
            }
        }
        appendSloped(heights);
        appendBlockMeans(heights);
        return heights;
    }

private:
    void appendBlockMeans(PatchHeights& heights) const {
        const CellWindow& window = heights.patch.window;
        constexpr int kSide = StableSample::kBlockSide;
        for (int row = 0; row + kSide <= window.rows; row += kSide) {
            for (int column = 0; column + kSide <= window.columns; column += kSide) {
                if (const float mean = blockMean(heights.patch, row, column); !std::isnan(mean)) {
                    heights.blockMeans.push_back(mean);
                }
            }
        }
    }

    float blockMean(const Patch& patch, int row, int column) const {
        constexpr int kSide = StableSample::kBlockSide;
        double sum = 0.0;
        for (int cell = 0; cell < kSide * kSide; ++cell) {
            const int across = cell % kSide;
            const int down = cell / kSide;
            const std::size_t i =
                static_cast<std::size_t>(row + down) * static_cast<std::size_t>(patch.window.columns) +
                static_cast<std::size_t>(column + across);
            sum += static_cast<double>(m_new[i] - patch.oldHeights[i]);
        }
        return static_cast<float>(sum / (kSide * kSide));
    }

    void appendSloped(PatchHeights& heights) const {
        const CellWindow& window = heights.patch.window;
        for (int row = 1; row + 1 < window.rows; ++row) {
            const std::size_t line = static_cast<std::size_t>(row) * static_cast<std::size_t>(window.columns);
            // Each row begins elsewhere, so that no column is favoured.
            for (int column = 1 + row % m_slopeStride; column + 1 < window.columns; column += m_slopeStride) {
                const std::size_t i = line + static_cast<std::size_t>(column);
                const float* const old = heights.patch.oldHeights.data() + i;
                const float slopeSquared =
                    slopeAt(old, static_cast<std::size_t>(window.columns), m_frame).squared();
                const float dz = m_new[i] - *old;
                if (!std::isnan(slopeSquared + dz)) {
                    heights.sloped.push_back({slopeSquared, dz});
                }
            }
        }
    }

    PairReader m_reader;
    SlopeFrame m_frame;
    int m_slopeStride = 1;
    const PatchOrder* m_order;
    std::int64_t m_first;
    std::vector<float> m_new;
};

} // namespace

Result<StableSample> takeSample(const PairLayout& layout, bool keepPatches, int threads,
                                const Progress& progress) {
    const PatchOrder order(layout);
    StableSample sample;
    std::int64_t oldValid = 0;
    std::int64_t newValid = 0;
    std::int64_t taken = 0;
    std::int64_t batch = (kWantedCells - 1) / order.patchCells() + 1;

    while (taken < order.count() && static_cast<std::int64_t>(sample.dz.size()) < kEnoughValidCells) {
        batch = std::min(batch, order.count() - taken);
        std::int64_t done = 0;
        const auto makeWorker = [&] {
            return PairReader::open(layout).map(
                [&](PairReader&& reader) { return PatchWorker(std::move(reader), layout, order, taken); });
        };
        const auto collect = [&](PatchHeights heights) -> Status {
            oldValid += heights.oldValid;
            newValid += heights.newValid;
            if (keepPatches && !heights.dz.empty()) {
                sample.patches.push_back(std::move(heights.patch));
            }
            sample.dz.insert(sample.dz.end(), heights.dz.begin(), heights.dz.end());
            sample.sloped.insert(sample.sloped.end(), heights.sloped.begin(), heights.sloped.end());
            sample.blockMeans.insert(sample.blockMeans.end(), heights.blockMeans.begin(),
                                     heights.blockMeans.end());
            if (progress && !progress(static_cast<double>(++done) / static_cast<double>(batch))) {
                return cancelled();
            }
            return {};
        };
        if (auto read = workInOrder<PatchHeights>(static_cast<int>(batch), threads, makeWorker, collect);
            !read) {
            return failed(read);
        }
        taken += batch;
        batch *= 2;
    }

    if (!sample.dz.empty()) {
        return sample;
    }
    if (oldValid == 0) {
        return nothingInWindow(failureOf(layout.oldRaster.path, "重叠区域内全是无效值"));
    }
    if (newValid == 0) {
        return nothingInWindow(failureOf(layout.newRaster.path, "重叠区域内全是无效值"));
    }
    return nothingInWindow(
        failureOf(layout.newRaster.path, "与旧期 " + layout.oldRaster.path + " 没有同时有效的像元"));
}

} // namespace detect
