// The JSON text of a piece: what is taken from one comes back when it is written and taken again.
#include "detect/output/PieceFrameText.h"
#include "tests/fuzz/Input.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    detect::Piece piece;
    if (detect::parsePiece(fuzz::textOf(data, size), piece)) {
        const std::string text = detect::describePiece(piece);
        detect::Piece again;
        fuzz::require(detect::parsePiece(text, again) && detect::describePiece(again) == text);
    }
    return 0;
}
