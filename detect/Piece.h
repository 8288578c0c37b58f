#pragma once

#include "detect/Detection.h"
#include "detect/heights/Grid.h"
#include "detect/search/Runs.h"

namespace detect {

/// What all pieces of one comparison have in common.
struct PieceFrame {
    std::string oldRaster;
    std::string newRaster;
    Parameters parameters;
    Coregistration coregistration;
    std::string srsWkt; ///< the old raster's
    Affine cellToMap;
    int columns = 0; ///< of the old raster
    int rows = 0;
    CellWindow overlap; ///< of the two rasters, in cells of the old one
};

/// A window of a pair of rasters, looked at alone: the changes that lie inside, and the parts of those that
/// reach its cut edges, which only the neighbouring windows can complete.
struct Piece {
    PieceFrame frame;
    CellWindow window;              ///< within the overlap; may be empty
    std::int64_t found = 0;         ///< anomalies that lie whole inside
    std::vector<Anomaly> anomalies; ///< those, named for this piece alone, unless they went to a receiver
    MeasuredRuns seamRuns;          ///< in no order, gaps still marked
    Rejections rejections;
    std::int64_t cells = 0; ///< compared
    double seconds = 0.0;
    int threads = 1;
};

/// Looks at one window (cells of the old raster) of a pair. The co-registration is that of the whole pair, so
/// every piece finds the same one. A window without cells in common gives a piece without anomalies.
Result<Piece> detectPiece(const Request& request, const CellWindow& window, AnomalyReceiver& receiver,
                          const Progress& progress = {});

/// The same, the anomalies in the piece.
Result<Piece> detectPiece(const Request& request, const CellWindow& window, const Progress& progress = {});

/// What one piece alone tells; for a summary.
RunReport reportOf(const Piece& piece);

/// No cell was valid in both rasters.
Unexpected nothingCompared(const PieceFrame& frame);

/// Reads the anomalies of a piece, given by its index among the pieces.
using AnomaliesOfPiece = std::function<Result<std::vector<Anomaly>>(std::size_t piece)>;

/// Puts pieces together: exactly what detectChanges gives for the whole pair, but for the time it took, and for specks
/// of restless ground on the seams, which no rule counts.
/// `pieces` bring everything but their anomalies; those are asked for when their turn comes, so that only the
/// pieces beside each other are in memory at once. Fails for pieces of different comparisons, for such that
/// overlap, and where pieces are missing.
Result<RunReport> mergePieces(const std::vector<Piece>& pieces, const AnomaliesOfPiece& anomaliesOf,
                              AnomalyReceiver& receiver);

/// The same with pieces in memory.
Result<Changes> mergePieces(std::vector<Piece> pieces);

} // namespace detect
