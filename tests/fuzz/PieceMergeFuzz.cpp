// Pieces of one comparison with any windows and runs, written and read as in their files and put together.
#include "detect/GdalErrors.h"
#include "detect/output/PieceFile.h"
#include "tests/fuzz/Input.h"

#include <fuzzer/FuzzedDataProvider.h>

#include <array>

namespace {

using detect::Piece;
using detect::Run;

constexpr std::size_t kMostPieces = 4;
constexpr std::size_t kMostRuns = 24;
constexpr int kMostCells = 64;

/// Mostly a figure as such pieces have it, sometimes any.
int figure(FuzzedDataProvider& bytes) {
    const auto small = bytes.ConsumeIntegral<std::int8_t>();
    return small == INT8_MIN ? bytes.ConsumeIntegral<int>() : small;
}

detect::CellWindow windowOf(FuzzedDataProvider& bytes) {
    const int column = figure(bytes);
    const int row = figure(bytes);
    const int columns = figure(bytes);
    return {column, row, columns, figure(bytes)};
}

Run runOf(FuzzedDataProvider& bytes) {
    Run run;
    run.row = figure(bytes);
    run.begin = figure(bytes);
    run.end = figure(bytes);
    const auto marks = bytes.ConsumeIntegral<std::uint8_t>();
    run.sign = (marks & 1) != 0 ? 1 : -1;
    run.gap = (marks & 2) != 0;
    run.restless = (marks & 4) != 0;
    run.lowest = bytes.ConsumeFloatingPoint<float>();
    run.highest = bytes.ConsumeFloatingPoint<float>();
    run.strongest = bytes.ConsumeFloatingPoint<float>();
    run.raised = bytes.ConsumeIntegral<std::int64_t>();
    run.sunk = bytes.ConsumeIntegral<std::int64_t>();
    run.variance = bytes.ConsumeIntegral<std::int64_t>();
    run.explainedByShift = figure(bytes);
    run.cores = figure(bytes);
    run.coresBegin = figure(bytes);
    run.coresEnd = figure(bytes);
    return run;
}

void appendRun(FuzzedDataProvider& bytes, detect::MeasuredRuns& runs) {
    const Run run = runOf(bytes);
    const std::int64_t cells = std::int64_t{run.end} - run.begin;
    std::array<float, kMostCells> heights{};
    const bool isMeasured = cells > 0 && cells <= kMostCells;
    for (std::int64_t i = 0; isMeasured && i < cells; ++i) {
        heights[static_cast<std::size_t>(i)] = bytes.ConsumeFloatingPointInRange(-9.0F, 9.0F);
    }
    runs.append(run, isMeasured ? heights.data() : nullptr);
}

Piece pieceOf(FuzzedDataProvider& bytes, const detect::PieceFrame& frame) {
    Piece piece;
    piece.frame = frame;
    piece.window = windowOf(bytes);
    piece.cells = figure(bytes);
    const auto runs = bytes.ConsumeIntegralInRange<std::size_t>(0, kMostRuns);
    for (std::size_t i = 0; i < runs; ++i) {
        appendRun(bytes, piece.seamRuns);
    }
    piece.rejections.core = bytes.ConsumeIntegral<std::int64_t>();
    return piece;
}

detect::Anomaly anomalyOf(FuzzedDataProvider& bytes) {
    detect::Anomaly anomaly;
    anomaly.first.row = figure(bytes);
    anomaly.first.column = figure(bytes);
    return anomaly;
}

detect::PieceFrame frameOf(FuzzedDataProvider& bytes) {
    detect::PieceFrame frame;
    frame.cellToMap.c = {500000.0, 0.5, 0.0, 4000000.0, 0.0, -0.5};
    frame.columns = figure(bytes);
    frame.rows = figure(bytes);
    frame.overlap = windowOf(bytes);
    frame.parameters.minAreaSquareMetres = bytes.ConsumeIntegral<std::uint8_t>() / 4.0;
    frame.parameters.rules.core = bytes.ConsumeBool();
    return frame;
}

/// What is left of a piece on its way through a file; nothing where the reader refuses it.
detect::Result<Piece> asRead(const Piece& piece) {
    static GDALDriver* driver = GetGDALDriverManager()->GetDriverByName("Memory");
    const GDALDatasetUniquePtr file(driver->Create("", 0, 0, 0, GDT_Unknown, nullptr));
    fuzz::require(detect::writePieceSeams(*file, piece));
    return detect::readPieceSeams(*file, "piece");
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int* /*argc*/, char*** /*argv*/) {
    detect::silenceLibraries();
    GDALAllRegister();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    FuzzedDataProvider bytes(data, size);
    const detect::PieceFrame frame = frameOf(bytes);
    std::vector<Piece> pieces;
    const auto count = bytes.ConsumeIntegralInRange<std::size_t>(1, kMostPieces);
    for (std::size_t i = 0; i < count; ++i) {
        auto piece = asRead(pieceOf(bytes, frame));
        if (!piece) {
            return 0;
        }
        if (bytes.ConsumeBool()) {
            piece->anomalies.push_back(anomalyOf(bytes));
        }
        pieces.push_back(std::move(*piece));
    }
    const auto merged = detect::mergePieces(std::move(pieces));
    fuzz::require(!merged || merged->found == static_cast<std::int64_t>(merged->anomalies.size()));
    return 0;
}
