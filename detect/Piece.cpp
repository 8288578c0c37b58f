#include "detect/Piece.h"

#include "detect/GdalErrors.h"
#include "detect/KeptAnomalies.h"
#include "detect/search/Labeller.h"
#include "detect/shape/AnomalyBuilder.h"

#include <algorithm>
#include <numeric>

namespace detect {

namespace {

/// The field itself is not in a piece's file; its figures are.
bool same(const LocalCorrection& a, const LocalCorrection& b) {
    return a.shortestWavelengthMetres == b.shortestWavelengthMetres && a.largestMetres == b.largestMetres &&
           a.sigmaMetres == b.sigmaMetres && a.exceedingShare == b.exceedingShare &&
           a.leftOutShare == b.leftOutShare;
}

bool same(const Coregistration& a, const Coregistration& b) {
    return same(a.local, b.local) && a.method == b.method && a.dxMetres == b.dxMetres &&
           a.dyMetres == b.dyMetres && a.dzMetres == b.dzMetres && a.tiltEast == b.tiltEast &&
           a.tiltNorth == b.tiltNorth && a.sigmaMetres == b.sigmaMetres &&
           a.sigmaPerSlopeMetres == b.sigmaPerSlopeMetres && a.correlatedCells == b.correlatedCells;
}

bool same(const std::optional<Significance>& a, const std::optional<Significance>& b) {
    if (!a || !b) {
        return a.has_value() == b.has_value();
    }
    return a->oldSigmaMetres == b->oldSigmaMetres && a->newSigmaMetres == b->newSigmaMetres &&
           a->confidence == b->confidence;
}

bool same(const Rules& a, const Rules& b) {
    return a.core == b.core && a.sliver == b.sliver && a.speckle == b.speckle && a.restless == b.restless;
}

/// Whatever the threads and blocks, which results do not depend on.
bool same(const Parameters& a, const Parameters& b) {
    return a.thresholdMetres == b.thresholdMetres && a.growRatio == b.growRatio &&
           same(a.significance, b.significance) && a.minAreaSquareMetres == b.minAreaSquareMetres &&
           a.coregistration == b.coregistration && a.tilt == b.tilt && a.unstableMask == b.unstableMask &&
           a.ignoreMask == b.ignoreMask && same(a.rules, b.rules) && a.splitBodies == b.splitBodies &&
           a.simplifyOutlines == b.simplifyOutlines;
}

bool same(const CellWindow& a, const CellWindow& b) {
    return a.column == b.column && a.row == b.row && a.columns == b.columns && a.rows == b.rows;
}

/// The rasters may be called otherwise on another machine; their grid and overlap must be the same.
bool sameRasters(const PieceFrame& a, const PieceFrame& b) {
    return a.srsWkt == b.srsWkt && a.cellToMap.c == b.cellToMap.c && a.columns == b.columns &&
           a.rows == b.rows && same(a.overlap, b.overlap);
}

std::string asText(const CellWindow& w) {
    return std::to_string(w.column) + "," + std::to_string(w.row) + "," + std::to_string(w.columns) + "," +
           std::to_string(w.rows);
}

Status checkFrames(const std::vector<Piece>& pieces) {
    const PieceFrame& first = pieces.front().frame;
    for (const Piece& piece : pieces) {
        const std::string which = "窗口 " + asText(piece.window);
        if (!sameRasters(first, piece.frame)) {
            return Unexpected(Failure{which + " 来自另一对栅格"});
        }
        if (!same(first.parameters, piece.frame.parameters)) {
            return Unexpected(Failure{which + " 的检测参数与其他窗口不同"});
        }
        if (!same(first.coregistration, piece.frame.coregistration)) {
            return Unexpected(Failure{which + " 的配准结果与其他窗口不同，两期栅格可能已被修改"});
        }
    }
    return {};
}

/// The first cell of the overlap in row order that no window holds. Its row is that of the overlap or the one
/// below a window, its column likewise.
CellWindow firstMissing(const std::vector<Piece>& pieces, const CellWindow& overlap) {
    std::vector<int> rows{overlap.row};
    std::vector<int> columns{overlap.column};
    for (const Piece& piece : pieces) {
        if (!piece.window.empty()) { // which may lie anywhere
            rows.push_back(piece.window.row + piece.window.rows);
            columns.push_back(piece.window.column + piece.window.columns);
        }
    }
    std::sort(rows.begin(), rows.end());
    std::sort(columns.begin(), columns.end());
    for (const int row : rows) {
        for (const int column : columns) {
            const CellWindow cell = intersect({column, row, 1, 1}, overlap);
            const bool missing = !cell.empty() && std::all_of(pieces.begin(), pieces.end(), [&](auto& piece) {
                return intersect(piece.window, cell).empty();
            });
            if (missing) {
                return cell;
            }
        }
    }
    return {};
}

Status checkWindows(const std::vector<Piece>& pieces) {
    std::int64_t covered = 0;
    for (std::size_t i = 0; i < pieces.size(); ++i) {
        for (std::size_t k = 0; k < i; ++k) {
            if (!intersect(pieces[i].window, pieces[k].window).empty()) {
                return Unexpected(Failure{"窗口 " + asText(pieces[k].window) + " 与 " +
                                          asText(pieces[i].window) + " 重叠"});
            }
        }
        covered += pieces[i].window.cells(); // no more than the overlap has, as they lie apart
    }
    const CellWindow overlap = pieces.front().frame.overlap;
    if (covered == overlap.cells()) {
        return {};
    }
    const CellWindow missing = firstMissing(pieces, overlap);
    return Unexpected(Failure{"缺少窗口：第 " + std::to_string(missing.column) + " 列、第 " +
                              std::to_string(missing.row) + " 行起没有结果（两期重叠范围 " + asText(overlap) +
                              "）"});
}

Grid gridOf(const PieceFrame& frame) {
    OGRSpatialReference srs;
    srs.importFromWkt(frame.srsWkt.c_str());
    srs.SetAxisMappingStrategy(OAMS_TRADITIONAL_GIS_ORDER);
    return {frame.columns, frame.rows, frame.cellToMap, std::move(srs)};
}

/// Labels what the windows cut, as if it had never been cut.
Rejections stitch(const std::vector<Piece>& pieces, AnomalyOrder& found) {
    struct SeamRun {
        const Run* run;
        const float* heights;
    };
    std::vector<SeamRun> all;
    for (const Piece& piece : pieces) {
        for (const Run& run : piece.seamRuns.runs) {
            all.push_back({&run, piece.seamRuns.heightsOf(run)});
        }
    }
    std::sort(all.begin(), all.end(),
              [](const SeamRun& a, const SeamRun& b) { return a.run->isBefore(*b.run); });
    const PieceFrame& frame = pieces.front().frame;
    AnomalyBuilder builder(gridOf(frame), frame.parameters, frame.coregistration, found);
    Labeller labeller([&builder](Component& component) { builder.consider(component); });
    for (const SeamRun& seam : all) {
        labeller.add(*seam.run, seam.heights);
    }
    labeller.finish();
    return builder.rejections();
}

/// Adds the anomalies that lie whole inside their windows, from the topmost window on, and hands over what
/// must come before those still to be read.
Status gather(const std::vector<Piece>& pieces, const AnomaliesOfPiece& anomaliesOf, AnomalyOrder& found) {
    std::vector<std::size_t> downwards(pieces.size());
    std::iota(downwards.begin(), downwards.end(), std::size_t{0});
    std::sort(downwards.begin(), downwards.end(), [&pieces](std::size_t a, std::size_t b) {
        return pieces[a].window.row < pieces[b].window.row;
    });
    for (const std::size_t piece : downwards) {
        if (auto done = found.releaseAbove(pieces[piece].window.row); !done) {
            return failed(done);
        }
        auto read = anomaliesOf(piece);
        if (!read) {
            return failed(read);
        }
        for (Anomaly& anomaly : *read) {
            found.add(std::move(anomaly));
        }
    }
    return found.releaseAll();
}

RunReport reportOfAll(const std::vector<Piece>& pieces) {
    RunReport report = reportOf(pieces.front());
    for (std::size_t i = 1; i < pieces.size(); ++i) {
        report.rejections += pieces[i].rejections;
        report.cells += pieces[i].cells;
        report.seconds += pieces[i].seconds;
        report.threads = std::max(report.threads, pieces[i].threads);
    }
    return report;
}

} // namespace

Unexpected nothingCompared(const PieceFrame& frame) {
    return nothingInWindow(failureOf(frame.newRaster, "与旧期 " + frame.oldRaster + " 没有同时有效的像元"));
}

RunReport reportOf(const Piece& piece) {
    RunReport report;
    report.found = piece.found;
    report.coregistration = piece.frame.coregistration;
    report.srsWkt = piece.frame.srsWkt;
    report.cells = piece.cells;
    report.scatterExceedsThreshold =
        !piece.frame.parameters.significance &&
        report.coregistration.nmadAfterMetres > piece.frame.parameters.thresholdMetres;
    report.rejections = piece.rejections;
    report.seconds = piece.seconds;
    report.threads = piece.threads;
    return report;
}

Result<RunReport> mergePieces(const std::vector<Piece>& pieces, const AnomaliesOfPiece& anomaliesOf,
                              AnomalyReceiver& receiver) {
    if (pieces.empty()) {
        return Unexpected(Failure{"没有可合并的窗口"});
    }
    const auto checked = checkFrames(pieces).and_then([&pieces] { return checkWindows(pieces); });
    if (!checked) {
        return failed(checked);
    }
    RunReport report = reportOfAll(pieces);
    const PieceFrame& frame = pieces.front().frame;
    if (report.cells == 0) {
        return nothingCompared(frame);
    }
    if (auto done = receiver.begin(frame.srsWkt); !done) {
        return failed(done);
    }
    AnomalyOrder found(receiver);
    report.rejections += stitch(pieces, found);
    if (auto done = gather(pieces, anomaliesOf, found); !done) {
        return failed(done);
    }
    report.found = found.released();
    return report;
}

Result<Changes> mergePieces(std::vector<Piece> pieces) {
    KeptAnomalies kept;
    const auto anomaliesOf = [&pieces](std::size_t piece) { return std::move(pieces[piece].anomalies); };
    return kept.resultOf(mergePieces(pieces, anomaliesOf, kept));
}

} // namespace detect
