#pragma once

#include "detect/Piece.h"

namespace detect {

/// A piece as a GeoPackage: layer `anomalies` as in a finished result (what lies whole inside the window,
/// with its place among the others), table `seam_runs` (what the window's edges cut), and table `piece` with
/// one row, a JSON text of the window and what all pieces share. Figures come back to the last bit.
///
/// The file appears complete or not at all.
std::optional<Failure> writePiece(const Piece& piece, const std::string& path);

/// Fails for a file that cannot be read, and for one that is a finished result or something else.
std::variant<Piece, Failure> readPiece(const std::string& path);

} // namespace detect
