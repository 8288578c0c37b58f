#pragma once

#include "detect/Piece.h"

#include <optional>
#include <string>

namespace detect {

/// Window, frame and counts of a piece as JSON. Numbers are written with all their digits.
std::string describePiece(const Piece& piece);

/// Fills window, frame and counts; false for a text that is not describePiece's.
bool parsePiece(const std::string& text, Piece& piece);

} // namespace detect
