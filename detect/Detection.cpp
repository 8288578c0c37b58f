#include "detect/Detection.h"

#include "detect/AnomalyBuilder.h"
#include "detect/Coregister.h"
#include "detect/DifferenceRaster.h"
#include "detect/GdalErrors.h"
#include "detect/Labeller.h"
#include "detect/OrderedWork.h"
#include "detect/RasterPair.h"
#include "detect/ResamplingArtefacts.h"

#include <chrono>
#include <cmath>

namespace detect {

namespace {

constexpr std::int64_t blockCells = std::int64_t{1} << 20;
constexpr double coregistrationShare = 0.1;

int threadsFor(const Parameters& parameters) {
    if (parameters.threads > 0)
        return parameters.threads;
    return static_cast<int>(std::max(1U, std::thread::hardware_concurrency()));
}

std::optional<Failure> checkParameters(const Parameters& p) {
    if (!(p.thresholdMetres > 0.0) || !std::isfinite(p.thresholdMetres))
        return Failure{"参数错误：阈值必须大于 0", false};
    if (!(p.growRatio > 0.0 && p.growRatio <= 1.0))
        return Failure{"参数错误：生长比例必须在 0 与 1 之间", false};
    if (!(p.minAreaSquareMetres >= 0.0) || p.blockRows < 0 || p.threads < 0)
        return Failure{"参数错误：最小面积、块行数和线程数不能为负", false};
    return std::nullopt;
}

/// Block rows of the overlap, along the old raster's own tiles so that none is decoded twice.
class BlockRows {
public:
    BlockRows(const PairLayout& layout, int askedRows) : m_overlap(layout.overlap) {
        m_rows = askedRows > 0 ? askedRows : chooseRows(layout);
        m_first = m_overlap.row / m_rows;
    }
    int count() const { return (m_overlap.row + m_overlap.rows - 1) / m_rows - m_first + 1; }
    CellWindow at(int index) const {
        return intersect(m_overlap,
                         {m_overlap.column, (m_first + index) * m_rows, m_overlap.columns, m_rows});
    }

private:
    static int chooseRows(const PairLayout& layout) {
        const auto wanted = static_cast<int>(std::max<std::int64_t>(1, blockCells / layout.overlap.columns));
        const int tile = layout.oldRaster.tileRows;
        // A single strip over the whole raster is no unit of work.
        return tile > 1024 ? std::max(1, wanted) : std::max(1, wanted / tile) * tile;
    }

    CellWindow m_overlap;
    int m_rows = 1;
    int m_first = 0;
};

struct Block {
    CellWindow window;
    std::vector<Run> runs;
    std::vector<float> dz; ///< packed rows; empty unless asked for
    std::int64_t compared = 0;
};

/// Reads one block row of both epochs and finds the runs in it. One for each thread.
class BlockWorker {
public:
    struct Task {
        const BlockRows* blocks = nullptr;
        CellWindow overlap;
        Shift shift;
        float biasMetres = 0.0F;
        float growThresholdMetres = 0.0F;
        /// Cells around that tell resampling artefacts; 0 when heights come untouched.
        int artefactReach = 0;
        bool keepDz = false;
    };

    BlockWorker(PairReader reader, const Task& task)
        : m_reader(std::move(reader)), m_task(task), m_finder(task.growThresholdMetres),
          m_artefacts(task.artefactReach, task.growThresholdMetres) {}

    std::variant<Block, Failure> operator()(int index) {
        Block block;
        block.window = m_task.blocks->at(index);
        const CellWindow read = withNeighbours(block.window);
        if (auto failure = readBoth(read))
            return *failure;
        const auto columns = static_cast<std::size_t>(block.window.columns);
        const std::size_t firstCell = static_cast<std::size_t>(block.window.row - read.row) * columns;
        m_dz.resize(static_cast<std::size_t>(block.window.cells()));
        if (m_task.artefactReach > 0) {
            const int firstRow = block.window.row - read.row;
            m_artefacts.mark(m_old.data(), m_new.data(), read.columns, read.rows, firstRow,
                             firstRow + block.window.rows, m_flags);
        }
        for (int row = 0; row < block.window.rows; ++row) {
            const std::size_t line = static_cast<std::size_t>(row) * columns;
            const std::uint8_t* artefacts =
                m_task.artefactReach > 0 ? m_flags.data() + firstCell + line : nullptr;
            float* dz = m_dz.data() + line;
            block.compared +=
                subtract(m_old.data() + firstCell + line, m_new.data() + firstCell + line, columns, dz);
            m_finder.find(dz, block.window.columns, block.window.row + row, block.window.column, block.runs,
                          artefacts);
        }
        dropLonelyRuns(block.runs, block.window.row, block.window.row + block.window.rows - 1);
        if (m_task.keepDz)
            block.dz = m_dz;
        return block;
    }

private:
    CellWindow withNeighbours(CellWindow window) const {
        const int neighbours = m_task.artefactReach > 0 ? m_artefacts.neighbourRows() : 0;
        window.row -= neighbours;
        window.rows += 2 * neighbours;
        return intersect(window, m_task.overlap);
    }

    /// Leaves the new heights with the bias removed.
    std::optional<Failure> readBoth(const CellWindow& window) {
        const auto cells = static_cast<std::size_t>(window.cells());
        m_old.resize(cells);
        m_new.resize(cells);
        if (auto failure = m_reader.readOld(window, m_old.data()))
            return failure;
        if (auto failure = m_reader.readNew(window, m_task.shift, m_new.data()))
            return failure;
        for (float& height : m_new)
            height += m_task.biasMetres;
        return std::nullopt;
    }

    /// Returns how many cells have a dZ.
    static std::int64_t subtract(const float* oldHeights, const float* newHeights, std::size_t columns,
                                 float* dz) {
        std::int32_t valid = 0;
        for (std::size_t i = 0; i < columns; ++i) {
            dz[i] = newHeights[i] - oldHeights[i];
            valid += static_cast<std::int32_t>(dz[i] == dz[i]);
        }
        return valid;
    }

    PairReader m_reader;
    Task m_task;
    RunFinder m_finder;
    ResamplingArtefacts m_artefacts;
    std::vector<float> m_old;
    std::vector<float> m_new;
    std::vector<float> m_dz;
    std::vector<std::uint8_t> m_flags;
};

/// One call of detectChanges.
class Detector {
public:
    Detector(const Request& request, const Progress& progress)
        : m_request(request), m_progress(progress), m_threads(threadsFor(request.parameters)) {}

    std::variant<Result, Failure> run() {
        const auto start = std::chrono::steady_clock::now();
        if (auto failure = checkParameters(m_request.parameters))
            return *failure;
        auto laidOut = layOutPair(m_request);
        if (auto* failure = std::get_if<Failure>(&laidOut))
            return *failure;
        m_layout = std::get<PairLayout>(std::move(laidOut));
        if (auto failure = prepareDzRaster())
            return *failure;
        if (auto failure = findCoregistration())
            return *failure;
        if (auto failure = findAnomalies())
            return *failure;
        if (m_dzRaster)
            if (auto failure = m_dzRaster->commit())
                return *failure;
        m_result.srsWkt = wkt(m_layout.oldRaster.grid.srs());
        m_result.threads = m_threads;
        m_result.seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
        return std::move(m_result);
    }

    std::variant<Coregistration, Failure> runCoregistration() {
        auto laidOut = layOutPair(m_request);
        if (auto* failure = std::get_if<Failure>(&laidOut))
            return *failure;
        return coregister(std::get<PairLayout>(laidOut), m_request.parameters.coregistration, m_threads,
                          m_progress);
    }

private:
    std::optional<Failure> prepareDzRaster() {
        if (m_request.dzRaster.empty())
            return std::nullopt;
        auto created = DifferenceRaster::create(m_request.dzRaster, m_layout.oldRaster.grid, m_layout.overlap,
                                                m_threads);
        if (auto* failure = std::get_if<Failure>(&created))
            return *failure;
        m_dzRaster.emplace(std::get<DifferenceRaster>(std::move(created)));
        return std::nullopt;
    }

    std::optional<Failure> findCoregistration() {
        if (m_request.coregistration) {
            m_result.coregistration = *m_request.coregistration;
            return std::nullopt;
        }
        const Progress part = [this](double done) { return report(coregistrationShare * done); };
        auto found = coregister(m_layout, m_request.parameters.coregistration, m_threads, part);
        if (auto* failure = std::get_if<Failure>(&found))
            return *failure;
        m_result.coregistration = std::get<Coregistration>(found);
        return std::nullopt;
    }

    std::optional<Failure> findAnomalies() {
        const Parameters& parameters = m_request.parameters;
        const BlockRows blocks(m_layout, parameters.blockRows);
        BlockWorker::Task task;
        task.blocks = &blocks;
        task.overlap = m_layout.overlap;
        task.shift = {m_result.coregistration.dxMetres, m_result.coregistration.dyMetres};
        task.biasMetres = static_cast<float>(m_result.coregistration.dzMetres);
        task.growThresholdMetres = static_cast<float>(parameters.thresholdMetres * parameters.growRatio);
        if (!m_layout.offset || !task.shift.none())
            task.artefactReach =
                ResamplingArtefacts::reachCells(m_layout.oldRaster.grid, m_layout.newRaster.grid);
        task.keepDz = m_dzRaster.has_value();

        AnomalyBuilder builder(m_layout.oldRaster.grid, parameters);
        Labeller labeller([&builder](const std::vector<Run>& runs) { builder.consider(runs); });
        int done = 0;
        const auto makeWorker = [&]() -> std::variant<BlockWorker, Failure> {
            auto reader = PairReader::open(m_layout);
            if (auto* failure = std::get_if<Failure>(&reader))
                return *failure;
            return BlockWorker(std::get<PairReader>(std::move(reader)), task);
        };
        const auto take = [&](const Block& block) -> std::optional<Failure> {
            m_result.cells += block.compared;
            for (const Run& run : block.runs)
                labeller.add(run);
            if (m_dzRaster)
                if (auto failure = m_dzRaster->write(block.window, block.dz))
                    return failure;
            const double share = static_cast<double>(++done) / blocks.count();
            if (!report(coregistrationShare + (1.0 - coregistrationShare) * share))
                return Failure{"已取消", true};
            return std::nullopt;
        };
        if (auto failure = workInOrder<Block>(blocks.count(), m_threads, makeWorker, take))
            return failure;
        if (m_result.cells == 0)
            return nothingInWindow(failureOf(m_layout.newRaster.path,
                                             "与旧期 " + m_layout.oldRaster.path + " 没有同时有效的像元"));
        labeller.finish();
        m_result.anomalies = builder.takeAnomalies();
        return std::nullopt;
    }

    bool report(double done) const { return !m_progress || m_progress(done); }

    static std::string wkt(const OGRSpatialReference& srs) {
        char* text = nullptr;
        const char* const options[] = {"FORMAT=WKT2_2019", nullptr};
        srs.exportToWkt(&text, options);
        std::string copy = text != nullptr ? text : "";
        CPLFree(text);
        return copy;
    }

    const Request& m_request;
    const Progress& m_progress;
    const int m_threads;
    PairLayout m_layout;
    std::optional<DifferenceRaster> m_dzRaster;
    Result m_result;
};

} // namespace

std::variant<Result, Failure> detectChanges(const Request& request, const Progress& progress) {
    const GdalErrors quiet;
    return Detector(request, progress).run();
}

std::variant<Coregistration, Failure> estimateCoregistration(const Request& request,
                                                             const Progress& progress) {
    const GdalErrors quiet;
    return Detector(request, progress).runCoregistration();
}

} // namespace detect
