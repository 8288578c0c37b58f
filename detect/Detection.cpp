#include "detect/Detection.h"

#include "detect/GdalErrors.h"
#include "detect/KeptAnomalies.h"
#include "detect/OrderedWork.h"
#include "detect/Piece.h"
#include "detect/coregister/Coregister.h"
#include "detect/raster/DifferenceRaster.h"
#include "detect/raster/RasterPair.h"
#include "detect/search/BlockWorker.h"
#include "detect/search/RowMerger.h"
#include "detect/shape/AnomalyBuilder.h"

#include <chrono>
#include <cmath>

namespace detect {

namespace {

constexpr double kCoregistrationShare = 0.1;

int threadsFor(const Parameters& parameters) {
    if (parameters.threads > 0) {
        return parameters.threads;
    }
    return static_cast<int>(std::max(1U, std::thread::hardware_concurrency()));
}

bool isUsable(const Significance& s) {
    const auto positive = [](double metres) { return metres > 0.0 && std::isfinite(metres); };
    if (s.oldSigmaMetres.has_value() != s.newSigmaMetres.has_value()) {
        return false;
    }
    if (s.oldSigmaMetres && !(positive(*s.oldSigmaMetres) && positive(*s.newSigmaMetres))) {
        return false;
    }
    return s.confidence > 0.0 && s.confidence < 1.0;
}

std::optional<Failure> checkParameters(const Parameters& p) {
    const bool thresholdNeeded = !p.significance;
    if (!(p.thresholdMetres > 0.0 || (p.thresholdMetres == 0.0 && !thresholdNeeded)) ||
        !std::isfinite(p.thresholdMetres)) {
        return Failure{"参数错误：阈值必须大于 0", false};
    }
    if (p.significance && !isUsable(*p.significance)) {
        return Failure{"参数错误：标准差必须大于 0，置信度必须在 0 与 1 之间", false};
    }
    if (!(p.growRatio > 0.0 && p.growRatio <= 1.0)) {
        return Failure{"参数错误：生长比例必须在 0 与 1 之间", false};
    }
    if (!(p.minAreaSquareMetres >= 0.0) || p.blockRows < 0 || p.blockColumns < 0 || p.threads < 0) {
        return Failure{"参数错误：最小面积、块行数和线程数不能为负", false};
    }
    return std::nullopt;
}

/// The edges of a window behind which the overlap goes on.
BlockEdges cutEdges(const CellWindow& window, const CellWindow& overlap) {
    BlockEdges edges = kNothingOpen;
    if (window.row > overlap.row) {
        edges.firstRow = window.row;
    }
    if (window.row + window.rows < overlap.row + overlap.rows) {
        edges.lastRow = window.row + window.rows - 1;
    }
    if (window.column > overlap.column) {
        edges.begin = window.column;
    }
    if (window.column + window.columns < overlap.column + overlap.columns) {
        edges.end = window.column + window.columns;
    }
    return edges;
}

std::string wktOf(const OGRSpatialReference& srs) {
    char* text = nullptr;
    const char* const options[] = {"FORMAT=WKT2_2019", nullptr};
    srs.exportToWkt(&text, options);
    std::string copy = text ? text : "";
    CPLFree(text);
    return copy;
}

/// One comparison of two rasters.
class Detector {
public:
    Detector(const Request& request, const Progress& progress)
        : m_request(request), m_progress(progress), m_threads(threadsFor(request.parameters)) {}

    /// Looks at the part of the overlap inside `window`, at all of it without. The anomalies go to the
    /// receiver.
    std::variant<Piece, Failure> run(const std::optional<CellWindow>& window, AnomalyReceiver& receiver) {
        const auto start = std::chrono::steady_clock::now();
        if (auto failure = checkParameters(m_request.parameters)) {
            return *failure;
        }
        auto laidOut = layOutPair(m_request);
        if (auto* failure = std::get_if<Failure>(&laidOut)) {
            return *failure;
        }
        m_layout = std::get<PairLayout>(std::move(laidOut));
        m_piece.window = window ? intersect(m_layout.overlap, *window) : m_layout.overlap;
        if (auto failure = prepareDzRaster()) {
            return *failure;
        }
        if (auto failure = findCoregistration()) {
            return *failure;
        }
        describe();
        if (auto failure = receiver.begin(m_piece.frame.srsWkt)) {
            return *failure;
        }
        if (!m_piece.window.empty()) {
            if (auto failure = findAnomalies(receiver)) {
                return *failure;
            }
        }
        if (m_dzRaster) {
            if (auto failure = m_dzRaster->commit()) {
                return *failure;
            }
        }
        m_piece.seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
        return std::move(m_piece);
    }

    std::variant<Coregistration, Failure> runCoregistration() {
        auto laidOut = layOutPair(m_request);
        if (auto* failure = std::get_if<Failure>(&laidOut)) {
            return *failure;
        }
        return coregister(std::get<PairLayout>(laidOut), m_request.parameters.coregistration, m_threads,
                          m_progress, m_request.parameters.tilt);
    }

private:
    std::optional<Failure> prepareDzRaster() {
        if (m_request.dzRaster.empty() || m_piece.window.empty()) {
            return std::nullopt;
        }
        auto created =
            DifferenceRaster::create(m_request.dzRaster, m_layout.oldRaster.grid, m_piece.window, m_threads);
        if (auto* failure = std::get_if<Failure>(&created)) {
            return *failure;
        }
        m_dzRaster.emplace(std::get<DifferenceRaster>(std::move(created)));
        return std::nullopt;
    }

    std::optional<Failure> findCoregistration() {
        if (m_request.coregistration) {
            m_piece.frame.coregistration = *m_request.coregistration;
            return std::nullopt;
        }
        const Progress part = [this](double done) { return report(kCoregistrationShare * done); };
        auto found = coregister(m_layout, m_request.parameters.coregistration, m_threads, part,
                                m_request.parameters.tilt);
        if (auto* failure = std::get_if<Failure>(&found)) {
            return *failure;
        }
        m_piece.frame.coregistration = std::get<Coregistration>(found);
        return std::nullopt;
    }

    std::optional<Failure> findAnomalies(AnomalyReceiver& receiver) {
        const Parameters& parameters = m_request.parameters;
        const Grid& grid = m_layout.oldRaster.grid;
        const BlockPlan plan(m_layout.oldRaster, m_piece.window, parameters.blockRows,
                             parameters.blockColumns);
        const BlockTask task = taskFor(plan);
        AnomalyOrder found(receiver);
        AnomalyBuilder builder(grid, parameters, m_piece.frame.coregistration, found);
        const BlockEdges edges = cutEdges(m_piece.window, m_layout.overlap);
        Labeller labeller([&](Component& component) {
            if (component.touches(edges)) {
                component.moveTo(m_piece.seamRuns);
            } else {
                builder.consider(component);
            }
        });
        labeller.keepOpen(edges);
        RowMerger merger(plan.across(), labeller);
        int done = 0;
        const SharedTiles tiles(m_layout);
        const auto makeWorker = [&]() -> std::variant<BlockWorker, Failure> {
            auto reader = PairReader::open(m_layout, &tiles);
            if (auto* failure = std::get_if<Failure>(&reader)) {
                return *failure;
            }
            return BlockWorker(std::get<PairReader>(std::move(reader)), task);
        };
        const auto take = [&](Block block) -> std::optional<Failure> {
            m_piece.cells += block.compared;
            merger.add(std::move(block.found));
            if (auto failure = found.releaseAbove(labeller.firstOpenRow())) {
                return failure;
            }
            if (m_dzRaster) {
                if (auto failure = m_dzRaster->write(block.window, block.dz)) {
                    return failure;
                }
            }
            const double share = static_cast<double>(++done) / plan.count();
            if (!report(kCoregistrationShare + (1.0 - kCoregistrationShare) * share)) {
                return Failure{"已取消", true};
            }
            return std::nullopt;
        };
        if (auto failure = workInOrder<Block>(plan.count(), m_threads, makeWorker, take)) {
            return failure;
        }
        labeller.finish();
        m_piece.rejections = builder.rejections();
        auto failure = found.releaseAll();
        m_piece.found = found.released();
        return failure;
    }

    void describe() {
        PieceFrame& frame = m_piece.frame;
        frame.oldRaster = m_layout.oldRaster.path;
        frame.newRaster = m_layout.newRaster.path;
        frame.parameters = m_request.parameters;
        frame.srsWkt = wktOf(m_layout.oldRaster.grid.srs());
        frame.cellToMap = m_layout.oldRaster.grid.cellToMap();
        frame.columns = m_layout.oldRaster.grid.columns();
        frame.rows = m_layout.oldRaster.grid.rows();
        frame.overlap = m_layout.overlap;
        m_piece.threads = m_threads;
    }

    BlockTask taskFor(const BlockPlan& plan) const {
        const Coregistration& coregistration = m_piece.frame.coregistration;
        const Grid& grid = m_layout.oldRaster.grid;
        BlockTask task{plan, m_layout.overlap, HeightCorrection(coregistration, grid)};
        task.shift = {coregistration.dxMetres, coregistration.dyMetres};
        task.level = LevelOfDetection(m_request.parameters, coregistration, grid);
        task.growRatio = m_request.parameters.growRatio;
        if (!m_layout.offset || !task.shift.none()) {
            task.artefactReach = ResamplingArtefacts::reachCells(grid, m_layout.newRaster.grid);
        }
        task.dropLonely = m_request.parameters.rules.core;
        task.explain = m_request.parameters.rules.sliver;
        task.keepDz = m_dzRaster.has_value();
        return task;
    }

    bool report(double done) const { return !m_progress || m_progress(done); }

    const Request& m_request;
    const Progress& m_progress;
    const int m_threads;
    PairLayout m_layout;
    std::optional<DifferenceRaster> m_dzRaster;
    Piece m_piece;
};

} // namespace

std::variant<Piece, Failure> detectPiece(const Request& request, const CellWindow& window,
                                         AnomalyReceiver& receiver, const Progress& progress) {
    const GdalErrors quiet;
    return Detector(request, progress).run(window, receiver);
}

std::variant<Piece, Failure> detectPiece(const Request& request, const CellWindow& window,
                                         const Progress& progress) {
    KeptAnomalies kept;
    auto found = detectPiece(request, window, kept, progress);
    if (auto* piece = std::get_if<Piece>(&found)) {
        piece->anomalies = kept.handOver();
    }
    return found;
}

std::variant<RunReport, Failure> detectChanges(const Request& request, AnomalyReceiver& receiver,
                                               const Progress& progress) {
    const GdalErrors quiet;
    const auto whole = Detector(request, progress).run(std::nullopt, receiver);
    if (const auto* failure = std::get_if<Failure>(&whole)) {
        return *failure;
    }
    const Piece& piece = std::get<Piece>(whole);
    if (piece.cells == 0) {
        return nothingCompared(piece.frame);
    }
    return reportOf(piece);
}

std::variant<Result, Failure> detectChanges(const Request& request, const Progress& progress) {
    KeptAnomalies kept;
    return kept.resultOf(detectChanges(request, kept, progress));
}

std::variant<Coregistration, Failure> estimateCoregistration(const Request& request,
                                                             const Progress& progress) {
    const GdalErrors quiet;
    return Detector(request, progress).runCoregistration();
}

} // namespace detect
