#include "cli/DetectCommand.h"

#include "cli/Options.h"
#include "cli/ProgressLine.h"
#include "cli/StopOnSignal.h"
#include "detect/Detection.h"
#include "detect/ResultWriter.h"
#include "detect/StagedOutput.h"

#include <gdal.h>

#include <cstdio>
#include <filesystem>
#include <memory>
#include <optional>

namespace cli {

namespace {

/// Enough for the tiles two block rows share; the rasters pass through once.
constexpr GIntBig rasterCacheBytes = 64 << 20;

const char* const usage =
    "用法：corridor detect --old OLD.tif --new NEW.tif --out RESULT.(gpkg|geojson|shp)\n"
    "         [--threshold M] [--min-area M2] [--coregister none|bias|full] [--dz DZ.tif] [--threads N]\n"
    "         [--summary SUMMARY.json] [--quiet]\n";

const OptionTable& optionTable() {
    static const OptionTable table{{"--old", "--new", "--out", "--threshold", "--min-area", "--coregister",
                                    "--dz", "--threads", "--summary"},
                                   {"--quiet", "--help"},
                                   0};
    return table;
}

struct Task {
    detect::Request request;
    std::string out;
    std::string dz;
    std::string summary;
    bool quiet = false;
};

bool sameFile(const std::string& a, const std::string& b) {
    namespace fs = std::filesystem;
    std::error_code error;
    return a == b || fs::equivalent(fs::u8path(a), fs::u8path(b), error);
}

std::optional<std::string> wrongParameters(const Options& options, detect::Parameters& parameters) {
    if (options.has("--threshold")) {
        const auto number = parseNumber(options.value("--threshold"));
        if (!number || *number <= 0.0)
            return "--threshold 需要大于 0 的米数";
        parameters.thresholdMetres = *number;
    }
    if (options.has("--min-area")) {
        const auto number = parseNumber(options.value("--min-area"));
        if (!number || *number < 0.0)
            return "--min-area 需要不小于 0 的平方米数";
        parameters.minAreaSquareMetres = *number;
    }
    if (options.has("--threads")) {
        const auto number = parseInteger(options.value("--threads"));
        if (!number || *number < 1 || *number > 1024)
            return "--threads 需要 1 到 1024 的整数";
        parameters.threads = *number;
    }
    if (options.has("--coregister")) {
        using Method = detect::CoregistrationMethod;
        const std::string name = options.value("--coregister");
        for (const Method method : {Method::None, Method::Bias, Method::Full}) {
            if (name == detect::methodName(method)) {
                parameters.coregistration = method;
                return std::nullopt;
            }
        }
        return "--coregister 只能是 none、bias 或 full";
    }
    return std::nullopt;
}

std::optional<std::string> wrongFiles(const Task& task) {
    if (!detect::isResultPath(task.out))
        return "--out 的扩展名必须是 .gpkg、.geojson 或 .shp";
    const std::string outputs[] = {task.out, task.dz, task.summary};
    for (const std::string& output : outputs) {
        if (output.empty())
            continue;
        for (const std::string& other : {task.request.oldRaster, task.request.newRaster})
            if (sameFile(output, other))
                return "输出 " + output + " 就是输入文件";
        for (const std::string& other : outputs)
            if (&other != &output && !other.empty() && sameFile(output, other))
                return "两个输出都是 " + output;
    }
    return std::nullopt;
}

std::optional<Task> readTask(const Options& options, WrongUse& wrong) {
    for (const char* needed : {"--old", "--new", "--out"}) {
        if (options.value(needed).empty()) {
            wrong.message = std::string("缺少选项 ") + needed;
            return std::nullopt;
        }
    }
    for (const char* file : {"--dz", "--summary"}) {
        if (options.has(file) && options.value(file).empty()) {
            wrong.message = std::string("选项 ") + file + " 缺少值";
            return std::nullopt;
        }
    }
    Task task;
    task.request.oldRaster = options.value("--old");
    task.request.newRaster = options.value("--new");
    task.out = options.value("--out");
    task.dz = options.value("--dz");
    task.summary = options.value("--summary");
    task.quiet = options.has("--quiet");
    auto problem = wrongParameters(options, task.request.parameters);
    if (!problem)
        problem = wrongFiles(task);
    if (problem) {
        wrong.message = *problem;
        return std::nullopt;
    }
    return task;
}

void printAnomalies(const detect::Result& result) {
    std::printf("name\tkind\tarea_m2\tvolume_m3\tdz_mean_m\tx\ty\tsuggested\n");
    for (const detect::Anomaly& a : result.anomalies)
        std::printf("%s\t%s\t%.2f\t%.2f\t%.3f\t%.9g\t%.9g\t%s\n", a.name.c_str(),
                    a.kind == detect::Kind::Fill ? "fill" : "cut", a.areaSquareMetres, a.volumeCubicMetres(),
                    a.dzMeanMetres, a.centroid.x, a.centroid.y, a.suggested.c_str());
}

/// All outputs come into being in hidden folders first and take their places together at the end.
class OutputSet {
public:
    std::optional<detect::Failure> stage(const std::string& target, std::string& path) {
        if (target.empty())
            return std::nullopt;
        auto staged = detect::StagedOutput::beside(target);
        if (auto* failure = std::get_if<detect::Failure>(&staged))
            return *failure;
        m_outputs.push_back(
            std::make_unique<detect::StagedOutput>(std::get<detect::StagedOutput>(std::move(staged))));
        path = m_outputs.back()->path();
        return std::nullopt;
    }
    std::optional<detect::Failure> commit() {
        for (const auto& output : m_outputs)
            if (auto failure = output->commit())
                return failure;
        return std::nullopt;
    }
    /// Names the user's file where a message names the one it is staged as.
    std::string inUsersWords(std::string message) const {
        for (const auto& output : m_outputs)
            for (auto at = message.find(output->path()); at != std::string::npos;
                 at = message.find(output->path()))
                message.replace(at, output->path().size(), output->target());
        return message;
    }

private:
    std::vector<std::unique_ptr<detect::StagedOutput>> m_outputs;
};

std::optional<detect::Failure> detectAndWrite(const Task& task, OutputSet& outputs, detect::Result& result) {
    std::string out;
    std::string summary;
    detect::Request request = task.request;
    if (auto failure = outputs.stage(task.out, out))
        return failure;
    if (auto failure = outputs.stage(task.dz, request.dzRaster))
        return failure;
    if (auto failure = outputs.stage(task.summary, summary))
        return failure;

    {
        const StopOnSignal stopOnSignal;
        ProgressLine line("检测", task.quiet);
        auto detected = detect::detectChanges(request, [&](double done) {
            line.show(done);
            return !stopOnSignal.asked();
        });
        if (auto* failure = std::get_if<detect::Failure>(&detected))
            return *failure;
        result = std::get<detect::Result>(std::move(detected));
    }
    if (auto failure = detect::writeAnomalies(result.anomalies, result.srsWkt, out))
        return failure;
    if (!summary.empty())
        if (auto failure = detect::writeSummary(result, request.parameters, summary))
            return failure;
    return outputs.commit();
}

int fail(int status, const std::string& message) {
    std::fprintf(stderr, "corridor detect: %s\n", message.c_str());
    return status;
}

} // namespace

int runDetect(const std::vector<std::string>& arguments) {
    WrongUse wrong;
    const auto options = parseOptions(arguments, optionTable(), wrong);
    if (!options)
        return fail(statusWrongUse, wrong.message);
    if (options->has("--help")) {
        std::fputs(usage, stdout);
        return statusDone;
    }
    const auto task = readTask(*options, wrong);
    if (!task)
        return fail(statusWrongUse, wrong.message);

    GDALSetCacheMax64(rasterCacheBytes);
    OutputSet outputs;
    detect::Result result;
    if (const auto failure = detectAndWrite(*task, outputs, result))
        return fail(statusFailed, outputs.inUsersWords(failure->message));
    if (!task->quiet)
        printAnomalies(result);
    return statusDone;
}

} // namespace cli
