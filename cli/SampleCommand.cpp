#include "cli/SampleCommand.h"

#include "cli/Command.h"
#include "cli/Printable.h"
#include "cli/ProgressLine.h"
#include "cli/StopOnSignal.h"
#include "samples/SampleCorridor.h"

#include <cstdio>

namespace cli {

namespace {

constexpr auto kCommand = "sample";
const char* const kUsage =
    "用法：corridor sample DIR [--seed N] [--size CELLS] [--quiet]\n"
    "         DIR 不存在或为空；CELLS 是长边的格数，16 的倍数，默认 8192（0.25 米一格）\n";

const OptionTable& optionTable() {
    static const OptionTable table{{"--seed", "--size"}, {"--quiet", "--help"}, 1};
    return table;
}

Parsed<samples::SampleOptions> readTask(const Options& options) {
    samples::SampleOptions task;
    if (options.positional.empty() || options.positional.front().empty()) {
        return wrongUse("缺少文件夹 DIR");
    }
    task.directory = options.positional.front();
    if (options.has("--seed")) {
        const auto seed = commandline::parseInteger(options.value("--seed"));
        if (!seed || *seed < 0) {
            return wrongUse("--seed 需要不小于 0 的整数");
        }
        task.seed = static_cast<std::uint64_t>(*seed);
    }
    if (options.has("--size")) {
        const auto cells = commandline::parseInteger(options.value("--size"));
        if (!cells || *cells < samples::SampleOptions::kSmallestCells ||
            *cells > samples::SampleOptions::kLargestCells ||
            *cells % samples::SampleOptions::kCellsStep != 0) {
            return wrongUse("--size 需要 " + std::to_string(samples::SampleOptions::kSmallestCells) + " 到 " +
                            std::to_string(samples::SampleOptions::kLargestCells) + " 之间 " +
                            std::to_string(samples::SampleOptions::kCellsStep) + " 的倍数");
        }
        task.cells = *cells;
    }
    return task;
}

} // namespace

int runSample(const std::vector<std::string>& arguments) {
    const auto options = beginCommand(kCommand, kUsage, arguments, optionTable());
    if (!options) {
        return options.error();
    }
    const auto task = readTask(*options);
    if (!task) {
        return fail(kCommand, kStatusWrongUse, task.error().message);
    }

    const StopOnSignal stop;
    std::optional<std::string> problem;
    {
        ProgressLine line("示例项目", options->has("--quiet"));
        problem = samples::makeSampleCorridor(*task, [&](double done) {
            line.show(done);
            return !stop.asked();
        });
    }
    if (problem) {
        return fail(kCommand, kStatusFailed, *problem);
    }
    if (!options->has("--quiet")) {
        std::printf("%s\n", printable(task->directory).c_str());
    }
    return kStatusDone;
}

} // namespace cli
