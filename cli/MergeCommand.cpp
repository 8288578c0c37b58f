#include "cli/MergeCommand.h"

#include "cli/AnomalyTable.h"
#include "cli/Options.h"
#include "cli/OutputSet.h"
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

using detect::Failure;

const OptionTable& optionTable() {
    static const OptionTable table{{"--out", "--summary"}, {"--quiet", "--help"}, kAnyNumber};
    return table;
}

std::optional<std::string> wrongFiles(const Options& options) {
    const std::string out = options.value("--out");
    const std::string summary = options.value("--summary");
    if (options.positional.empty()) {
        return "缺少窗口结果文件";
    }
    if (out.empty()) {
        return "缺少选项 --out";
    }
    if (!detect::isResultPath(out)) {
        return "--out 的扩展名必须是 .gpkg、.geojson 或 .shp";
    }
    if (options.has("--summary") && summary.empty()) {
        return "选项 --summary 缺少值";
    }
    for (const std::string& output : {out, summary}) {
        for (const std::string& input : options.positional) {
            if (!output.empty() && sameFile(output, input)) {
                return "输出 " + output + " 就是输入文件";
            }
        }
    }
    if (!summary.empty() && sameFile(out, summary)) {
        return "两个输出都是 " + out;
    }
    return std::nullopt;
}

std::variant<std::vector<detect::Piece>, Failure> readSeams(const std::vector<std::string>& files) {
    std::vector<detect::Piece> pieces;
    for (const std::string& file : files) {
        auto read = detect::readPieceSeams(file);
        if (auto* failure = std::get_if<Failure>(&read)) {
            return *failure;
        }
        pieces.push_back(std::get<detect::Piece>(std::move(read)));
    }
    return pieces;
}

std::optional<Failure> mergeAndWrite(const Options& options, OutputSet& outputs, AnomalyTable& table) {
    std::string out;
    std::string summary;
    if (auto failure = outputs.stage(options.value("--out"), out)) {
        return failure;
    }
    if (auto failure = outputs.stage(options.value("--summary"), summary)) {
        return failure;
    }
    const std::vector<std::string>& files = options.positional;
    const auto read = readSeams(files);
    if (const auto* failure = std::get_if<Failure>(&read)) {
        return *failure;
    }
    const auto& pieces = std::get<std::vector<detect::Piece>>(read);
    detect::ResultFile file(out);
    Tabulated receiver(file, options.has("--quiet") ? nullptr : &table);
    const auto anomaliesOf = [&files](std::size_t piece) { return detect::readPieceAnomalies(files[piece]); };
    const auto merged = detect::mergePieces(pieces, anomaliesOf, receiver);
    if (const auto* failure = std::get_if<Failure>(&merged)) {
        return *failure;
    }
    if (auto failure = file.commit()) {
        return failure;
    }
    if (!summary.empty()) {
        if (auto failure = detect::writeSummary(std::get<detect::RunReport>(merged),
                                                pieces.front().frame.parameters, summary)) {
            return failure;
        }
    }
    return outputs.commit();
}

} // namespace

int runMerge(const std::vector<std::string>& arguments) {
    const auto begun = beginCommand(kCommand, kUsage, arguments, optionTable());
    if (const int* status = std::get_if<int>(&begun)) {
        return *status;
    }
    const Options& options = std::get<Options>(begun);
    if (const auto wrong = wrongFiles(options)) {
        return fail(kCommand, kStatusWrongUse, *wrong);
    }
    OutputSet outputs;
    AnomalyTable table;
    if (const auto failure = mergeAndWrite(options, outputs, table)) {
        return fail(kCommand, kStatusFailed, outputs.inUsersWords(failure->message));
    }
    if (!options.has("--quiet")) {
        table.print();
    }
    return kStatusDone;
}

} // namespace cli
