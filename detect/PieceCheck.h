#pragma once

#include "detect/Piece.h"

namespace detect {

/// That the windows of a piece lie in each other as they must.
bool areWindowsSound(const Piece& piece);

/// That a run can be one of such a piece: it lies inside the window, and its figures are such as can be measured.
bool isRunOf(const Piece& piece, const Run& run);

/// That grid, counts and seam runs of a piece that was read from a file can come from a search. Labelling relies on it: no
/// two runs share a cell, but for gaps of either sign, and all bring their heights but those of components too large for
/// that.
bool isSound(const Piece& piece);

} // namespace detect
