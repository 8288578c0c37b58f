#include "cli/MergeCommand.h"

#include "cli/Options.h"
#include "cli/OutputSet.h"
#include "cli/PrintAnomalies.h"
#include "detect/output/PieceFile.h"
#include "detect/output/ResultWriter.h"

#include <optional>

namespace cli {

namespace {

constexpr auto command = "merge";
constexpr auto usage = "用法：corridor merge A.gpkg B.gpkg … --out ALL.(gpkg|geojson|shp)\n"
                       "         [--summary SUMMARY.json] [--quiet]\n"
                       "  合并 corridor detect --window 的各窗口结果，与一次检测全部范围的结果相同。\n";

using detect::Failure;

const OptionTable& optionTable() {
    static const OptionTable table{{"--out", "--summary"}, {"--quiet", "--help"}, anyNumber};
    return table;
}

std::optional<std::string> wrongFiles(const Options& options) {
    const std::string out = options.value("--out");
    const std::string summary = options.value("--summary");
    if (options.positional.empty())
        return "缺少窗口结果文件";
    if (out.empty())
        return "缺少选项 --out";
    if (!detect::isResultPath(out))
        return "--out 的扩展名必须是 .gpkg、.geojson 或 .shp";
    if (options.has("--summary") && summary.empty())
        return "选项 --summary 缺少值";
    for (const std::string& output : {out, summary})
        for (const std::string& input : options.positional)
            if (!output.empty() && sameFile(output, input))
                return "输出 " + output + " 就是输入文件";
    if (!summary.empty() && sameFile(out, summary))
        return "两个输出都是 " + out;
    return std::nullopt;
}

std::variant<detect::Result, Failure> mergeFiles(const std::vector<std::string>& files,
                                                 detect::Parameters& parameters) {
    std::vector<detect::Piece> pieces;
    for (const std::string& file : files) {
        auto read = detect::readPiece(file);
        if (auto* failure = std::get_if<Failure>(&read))
            return *failure;
        pieces.push_back(std::get<detect::Piece>(std::move(read)));
    }
    parameters = pieces.front().frame.parameters;
    return detect::mergePieces(std::move(pieces));
}

std::optional<Failure> mergeAndWrite(const Options& options, OutputSet& outputs, detect::Result& result) {
    std::string out;
    std::string summary;
    if (auto failure = outputs.stage(options.value("--out"), out))
        return failure;
    if (auto failure = outputs.stage(options.value("--summary"), summary))
        return failure;
    detect::Parameters parameters;
    auto merged = mergeFiles(options.positional, parameters);
    if (auto* failure = std::get_if<Failure>(&merged))
        return *failure;
    result = std::get<detect::Result>(std::move(merged));
    if (auto failure = detect::writeAnomalies(result.anomalies, result.srsWkt, out))
        return failure;
    if (!summary.empty())
        if (auto failure = detect::writeSummary(result, parameters, summary))
            return failure;
    return outputs.commit();
}

} // namespace

int runMerge(const std::vector<std::string>& arguments) {
    const auto begun = beginCommand(command, usage, arguments, optionTable());
    if (const int* status = std::get_if<int>(&begun))
        return *status;
    const Options& options = std::get<Options>(begun);
    if (const auto wrong = wrongFiles(options))
        return fail(command, statusWrongUse, *wrong);
    OutputSet outputs;
    detect::Result result;
    if (const auto failure = mergeAndWrite(options, outputs, result))
        return fail(command, statusFailed, outputs.inUsersWords(failure->message));
    if (!options.has("--quiet"))
        printAnomalies(result);
    return statusDone;
}

} // namespace cli
