#include "detect/Detection.h"

#include "detect/GdalErrors.h"
#include "detect/KeptAnomalies.h"
#include "detect/OrderedWork.h"
#include "detect/Piece.h"
#include "detect/coregister/Coregister.h"
#include "detect/output/CorrectionFile.h"
#include "detect/raster/DifferenceRaster.h"
#include "detect/raster/RasterPair.h"
#include "detect/search/BlockWorker.h"
#include "detect/search/RowMerger.h"
#include "detect/search/StandingOut.h"
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

Status checkParameters(const Parameters& p) {
    const bool thresholdNeeded = !p.significance;
    if (!(p.thresholdMetres > 0.0 || (p.thresholdMetres == 0.0 && !thresholdNeeded)) ||
        !std::isfinite(p.thresholdMetres)) {
        return Unexpected(Failure{"参数错误：阈值必须大于 0"});
    }
    if (p.significance && !isUsable(*p.significance)) {
        return Unexpected(Failure{"参数错误：标准差必须大于 0，置信度必须在 0 与 1 之间"});
    }
    if (!(p.growRatio > 0.0 && p.growRatio <= 1.0)) {
        return Unexpected(Failure{"参数错误：生长比例必须在 0 与 1 之间"});
    }
    if (!(p.minAreaSquareMetres >= 0.0) || p.blockRows < 0 || p.blockColumns < 0 || p.threads < 0) {
        return Unexpected(Failure{"参数错误：最小面积、块行数和线程数不能为负"});
    }
    return {};
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

/// Takes the components of a search: judges those that are whole, keeps those that may go on beyond the window.
class Finished {
public:
    Finished(AnomalyBuilder& builder, std::optional<StandingOut>& standingOut, const BlockEdges& edges,
             MeasuredRuns& seamRuns)
        : m_builder(builder), m_standingOut(standingOut), m_edges(edges), m_seamRuns(seamRuns) {}

    /// The first failure to read what lies around a component; nothing is taken after it.
    const Status& status() const { return m_status; }

    void take(Component& component) {
        if (!m_status) {
            return;
        }
        const bool goesOn = component.touches(m_edges);
        const bool reduced =
            m_standingOut && (goesOn || m_builder.mayPass(component)) && reduce(*m_standingOut, component);
        if (goesOn) {
            component.moveTo(m_seamRuns);
        } else if (reduced) {
            considerParts(component);
        } else {
            m_builder.consider(component);
        }
    }

private:
    bool reduce(StandingOut& standingOut, Component& component) {
        const auto reduced = standingOut.reduce(component);
        if (!reduced) {
            m_status = failed(reduced);
        }
        return reduced && *reduced;
    }

    void considerParts(const Component& reduced) {
        Labeller parts([this](Component& part) { m_builder.consider(part); });
        for (const Run& run : reduced.runs) {
            parts.add(run, reduced.isExamined() ? reduced.heights.data() + run.heights : nullptr);
        }
        parts.finish();
    }

    AnomalyBuilder& m_builder;
    std::optional<StandingOut>& m_standingOut;
    const BlockEdges m_edges;
    MeasuredRuns& m_seamRuns;
    Status m_status;
};

/// One comparison of two rasters.
class Detector {
public:
    Detector(const Request& request, const Progress& progress)
        : m_request(request), m_progress(progress), m_threads(threadsFor(request.parameters)) {}

    /// Looks at the part of the overlap inside `window`, at all of it without. The anomalies go to the
    /// receiver.
    Result<Piece> run(const std::optional<CellWindow>& window, AnomalyReceiver& receiver) {
        const auto start = std::chrono::steady_clock::now();
        if (auto done = checkParameters(m_request.parameters); !done) {
            return failed(done);
        }
        auto laidOut = layOutPair(m_request);
        if (!laidOut) {
            return failed(laidOut);
        }
        m_layout = std::move(*laidOut);
        m_piece.window = window ? intersect(m_layout.overlap, *window) : m_layout.overlap;
        if (auto done = prepareDzRaster(); !done) {
            return failed(done);
        }
        if (auto done = findCoregistration(); !done) {
            return failed(done);
        }
        if (m_request.correctionRaster) {
            if (auto done = writeCorrection(m_piece.frame.coregistration.local, m_layout.oldRaster.grid,
                                            m_layout.overlap, *m_request.correctionRaster);
                !done) {
                return failed(done);
            }
        }
        describe();
        if (auto done = receiver.begin(m_piece.frame.srsWkt); !done) {
            return failed(done);
        }
        if (!m_piece.window.empty()) {
            if (auto done = findAnomalies(receiver); !done) {
                return failed(done);
            }
        }
        if (m_dzRaster) {
            if (auto done = m_dzRaster->close(); !done) {
                return failed(done);
            }
        }
        m_piece.seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
        return std::move(m_piece);
    }

    Result<Coregistration> runCoregistration() {
        return layOutPair(m_request).and_then([this](const PairLayout& layout) {
            return coregister(layout, m_request.parameters.coregistration, m_threads, m_progress,
                              m_request.parameters.tilt);
        });
    }

private:
    Status prepareDzRaster() {
        if (!m_request.dzRaster || m_piece.window.empty()) {
            return {};
        }
        auto created =
            DifferenceRaster::create(*m_request.dzRaster, m_layout.oldRaster.grid, m_piece.window, m_threads);
        if (!created) {
            return failed(created);
        }
        m_dzRaster.emplace(std::move(*created));
        return {};
    }

    Status findCoregistration() {
        if (m_request.coregistration) {
            m_piece.frame.coregistration = *m_request.coregistration;
            return {};
        }
        const Progress part = [this](double done) { return report(kCoregistrationShare * done); };
        auto found = coregister(m_layout, m_request.parameters.coregistration, m_threads, part,
                                m_request.parameters.tilt);
        if (!found) {
            return failed(found);
        }
        m_piece.frame.coregistration = *found;
        return {};
    }

    Status findAnomalies(AnomalyReceiver& receiver) {
        const Parameters& parameters = m_request.parameters;
        const Grid& grid = m_layout.oldRaster.grid;
        const BlockPlan plan(m_layout.oldRaster, m_piece.window, parameters.blockRows,
                             parameters.blockColumns);
        const BlockTask task = taskFor(plan);
        AnomalyOrder found(receiver);
        AnomalyBuilder builder(grid, parameters, m_piece.frame.coregistration, found);
        const BlockEdges edges = cutEdges(m_piece.window, m_layout.overlap);
        const SharedTiles tiles(m_layout);
        auto standingOut = standOut(task, tiles, edges);
        if (!standingOut) {
            return failed(standingOut);
        }
        Finished finished(builder, *standingOut, edges, m_piece.seamRuns);
        Labeller labeller([&finished](Component& component) { finished.take(component); });
        labeller.keepOpen(edges);
        RowMerger merger(plan.across(), labeller);
        int done = 0;
        const auto makeWorker = [&] {
            return PairReader::open(m_layout, &tiles, ReadFor::Search).map([&](PairReader&& reader) {
                return BlockWorker(std::move(reader), task);
            });
        };
        const auto take = [&](Block block) -> Status {
            m_piece.cells += block.compared;
            merger.add(std::move(block.found));
            if (!finished.status()) {
                return finished.status();
            }
            if (auto done = found.releaseAbove(labeller.firstOpenRow()); !done) {
                return failed(done);
            }
            if (m_dzRaster) {
                if (auto done = m_dzRaster->write(block.window, block.dz); !done) {
                    return failed(done);
                }
            }
            const double share = static_cast<double>(++done) / plan.count();
            if (!report(kCoregistrationShare + (1.0 - kCoregistrationShare) * share)) {
                return cancelled();
            }
            return {};
        };
        if (auto done = workInOrder<Block>(plan.count(), m_threads, makeWorker, take); !done) {
            return failed(done);
        }
        labeller.finish();
        if (!finished.status()) {
            return finished.status();
        }
        m_piece.rejections = builder.rejections();
        Status released = found.releaseAll();
        m_piece.found = found.released();
        return released;
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
            task.blur = ResamplingBlur(grid, m_layout.newRaster.grid, task.level.level());
        }
        task.dropLonely = m_request.parameters.rules.core;
        task.explain = m_request.parameters.rules.sliver;
        task.keepDz = m_dzRaster.has_value();
        return task;
    }

    /// Nothing where no rule asks for it.
    Result<std::optional<StandingOut>> standOut(const BlockTask& task, const SharedTiles& tiles,
                                                const BlockEdges& edges) const {
        if (!m_request.parameters.rules.restless) {
            return std::optional<StandingOut>();
        }
        const CellLevel& level = task.level.cellLevel();
        const auto growRatio = static_cast<float>(task.growRatio);
        return PairReader::open(m_layout, &tiles, ReadFor::Search).map([&](PairReader&& reader) {
            RestlessGround ground(std::move(reader), m_layout, task.correction, task.shift,
                                  growRatio * level.at(level.sigma), level.sigma);
            return std::optional<StandingOut>(
                StandingOut(std::move(ground), m_layout.overlap, level, growRatio, edges));
        });
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

Result<Piece> detectPiece(const Request& request, const CellWindow& window, AnomalyReceiver& receiver,
                          const Progress& progress) {
    const GdalErrors quiet;
    return Detector(request, progress).run(window, receiver);
}

Result<Piece> detectPiece(const Request& request, const CellWindow& window, const Progress& progress) {
    KeptAnomalies kept;
    auto found = detectPiece(request, window, kept, progress);
    if (found) {
        found->anomalies = kept.handOver();
    }
    return found;
}

Result<RunReport> detectChanges(const Request& request, AnomalyReceiver& receiver, const Progress& progress) {
    const GdalErrors quiet;
    const auto whole = Detector(request, progress).run(std::nullopt, receiver);
    if (!whole) {
        return failed(whole);
    }
    const Piece& piece = *whole;
    if (piece.cells == 0) {
        return nothingCompared(piece.frame);
    }
    return reportOf(piece);
}

Result<Changes> detectChanges(const Request& request, const Progress& progress) {
    KeptAnomalies kept;
    return kept.resultOf(detectChanges(request, kept, progress));
}

Result<Changes> detectChangesAndDz(Request request, const std::string& dzRaster, const Progress& progress) {
    auto output = StagedOutput::beside(dzRaster);
    if (!output) {
        return failed(output);
    }
    request.dzRaster = &*output;
    auto found = detectChanges(request, progress);
    return !found ? found : output->commit().map([&found] { return std::move(*found); });
}

Result<Coregistration> estimateCoregistration(const Request& request, const Progress& progress) {
    const GdalErrors quiet;
    return Detector(request, progress).runCoregistration();
}

} // namespace detect
