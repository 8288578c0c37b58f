#pragma once

#include "detect/Piece.h"
#include "detect/output/VectorFile.h"

#include <string>
#include <vector>

namespace detect {

/// A piece as a GeoPackage, its anomalies written while the run goes on: layer `anomalies` as in a finished
/// result (what lies whole inside the window, with its place among the others), table `seam_runs` (what the
/// window's edges cut), and table `piece` with one row, a JSON text of the window and what all pieces share.
/// Figures come back to the last bit.
///
/// Whoever staged it moves it to its place, after close().
class PieceFile : public AnomalyReceiver {
public:
    /// `output` must live longer.
    explicit PieceFile(const StagedOutput& output) : m_file(output) {}

    Status begin(const std::string& srsWkt) override;
    Status take(Anomaly anomaly) override;
    /// Ends the writing and looks whether all was written. `piece`: all besides the anomalies taken.
    Status close(const Piece& piece);

private:
    VectorFile m_file;
    OGRLayer* m_layer = nullptr;
};

/// Writes everything but the anomalies into an open file; false when it refuses.
bool writePieceSeams(GDALDataset& file, const Piece& piece);

/// Everything but the anomalies. Fails for a file that cannot be read, and for one that is a finished result
/// or something else.
Result<Piece> readPieceSeams(const std::string& path);
/// The same of an open file; `path` is named when it fails.
Result<Piece> readPieceSeams(GDALDataset& file, const std::string& path);
/// The anomalies of such a file.
Result<std::vector<Anomaly>> readPieceAnomalies(const std::string& path);

} // namespace detect
