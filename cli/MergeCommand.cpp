#include "cli/MergeCommand.h"

#include "cli/AnomalyTable.h"
#include "cli/Command.h"
#include "cli/OutputSet.h"
#include "detect/TouchedFiles.h"
#include "detect/output/CoregistrationNote.h"
#include "detect/output/PieceFile.h"
#include "detect/output/ResultFile.h"
#include "detect/output/SummaryFile.h"

#include <optional>

namespace cli {

namespace {

constexpr auto kCommand = "merge";
constexpr auto kUsage = "用法：corridor merge A.gpkg B.gpkg … --out ALL.(gpkg|geojson|shp)\n"
                        "         [--summary SUMMARY.json] [--quiet]\n"
                        "  合并 corridor detect --window 的各窗口结果，与一次检测全部范围的结果相同。\n";

using detect::Result;
using detect::Status;

const OptionTable& optionTable() {
    static const OptionTable table{{"--out", "--summary"}, {"--quiet", "--help"}, commandline::kAnyNumber};
    return table;
}

Parsed<void> checkFiles(const Options& options) {
    const std::string out = options.value("--out");
    const std::string summary = options.value("--summary");
    if (options.positional.empty()) {
        return wrongUse("缺少窗口结果文件");
    }
    if (out.empty()) {
        return wrongUse("缺少选项 --out");
    }
    if (!detect::isResultPath(out)) {
        return wrongUse("--out 的扩展名必须是 .gpkg、.geojson 或 .shp");
    }
    if (options.has("--summary") && summary.empty()) {
        return wrongUse("选项 --summary 缺少值");
    }
    const auto distinct = detect::checkOutputs({out, summary}, options.positional);
    return distinct ? Parsed<void>() : wrongUse(distinct.error().message);
}

Result<std::vector<detect::Piece>> readSeams(const std::vector<std::string>& files) {
    std::vector<detect::Piece> pieces;
    for (const std::string& file : files) {
        auto read = detect::readPieceSeams(file);
        if (!read) {
            return failed(read);
        }
        pieces.push_back(std::move(*read));
    }
    return pieces;
}

/// Reads the pieces' anomalies when their turn comes.
Result<detect::RunReport> mergeInto(detect::ResultFile& file, const std::vector<std::string>& names,
                                    const std::vector<detect::Piece>& pieces, AnomalyTable* table) {
    Tabulated receiver(file, table);
    const auto anomaliesOf = [&names](std::size_t piece) { return detect::readPieceAnomalies(names[piece]); };
    auto merged = detect::mergePieces(pieces, anomaliesOf, receiver);
    return !merged ? merged : file.close().map([&merged] { return std::move(*merged); });
}

/// What the merged pieces tell besides their files.
struct Told {
    detect::RunReport report;
    detect::Parameters parameters;
    AnomalyTable table;
};

Status mergeAndWrite(const Options& options, Told& told) {
    OutputSet outputs;
    const auto out = outputs.stage(options.value("--out"));
    if (!out) {
        return failed(out);
    }
    const auto summary = outputs.stage(options.value("--summary"));
    if (!summary) {
        return failed(summary);
    }
    const auto pieces = readSeams(options.positional);
    if (!pieces) {
        return failed(pieces);
    }
    detect::ResultFile file(**out);
    auto merged =
        mergeInto(file, options.positional, *pieces, options.has("--quiet") ? nullptr : &told.table);
    if (!merged) {
        return failed(merged);
    }
    told.report = *std::move(merged);
    told.parameters = pieces->front().frame.parameters;
    if (*summary) {
        if (auto done = detect::writeSummary(told.report, told.parameters, **summary); !done) {
            return failed(done);
        }
    }
    return outputs.commit();
}

} // namespace

int runMerge(const std::vector<std::string>& arguments) {
    const auto options = beginCommand(kCommand, kUsage, arguments, optionTable());
    if (!options) {
        return options.error();
    }
    if (const auto files = checkFiles(*options); !files) {
        return fail(kCommand, kStatusWrongUse, files.error().message);
    }
    Told told;
    if (const auto done = mergeAndWrite(*options, told); !done) {
        return fail(kCommand, kStatusFailed, done.error().message);
    }
    if (options->has("--quiet")) {
        return kStatusDone;
    }
    for (const std::string& line : detect::notesOn(told.report, told.parameters)) {
        note(kCommand, line);
    }
    told.table.print();
    return kStatusDone;
}

} // namespace cli
