#include "cli/ComputeCommand.h"

#include "cli/Command.h"
#include "cli/ComputeOutcome.h"
#include "cli/ComputePieces.h"
#include "cli/DetectOptions.h"
#include "cli/MissingNote.h"
#include "cli/OpenedProject.h"
#include "cli/PairOption.h"
#include "cli/ProgressLine.h"
#include "cli/StopOnSignal.h"
#include "workbench/inspectiondata/database/StationTable.h"

#include <QCoreApplication>

#include <algorithm>
#include <initializer_list>

namespace cli {

namespace {

constexpr auto kCommand = "compute";
constexpr auto kUsage =
    "用法：corridor compute PROJECT [--stations 1,2,5-9] [--pair OLD,NEW] [--threads N]\n"
    "      corridor compute PROJECT --plan [--json] [--coregistration FILE]\n"
    "      corridor compute PROJECT --piece DIR [--stations 5-9] [--coregistration FILE] [--threads N]\n"
    "      corridor compute PROJECT --collect DIR…\n"
    "  检测项目各站段的异常并存入项目数据库；其他各对期次的结果保留。\n"
    "  --stations  站段编号或编号范围，以逗号分隔；不给出时计算全部站段\n"
    "  --plan      列出各站段及一起检测的各组，不作任何计算和更改\n"
    "  --piece     只计算所给站段（须为整组），结果写入新文件夹 DIR，不更改项目；可在多台机器上同时进行\n"
    "  --collect   将各文件夹的结果一次存入项目，与一次计算的结果相同；其余站段的结果保留\n"
    "  --coregistration  与 --plan 一起：配准一次并写入文件；与 --piece 一起：使用该文件，不再配准\n";

const OptionTable kTable{{"--stations", kPairOption, "--threads", "--piece", "--coregistration"},
                         {"--plan", "--json", "--collect", "--help"},
                         commandline::kAnyNumber};

/// The way of computing that the options choose; empty for the usual one.
Parsed<std::string> modeOf(const Options& options) {
    std::string mode;
    for (const char* each : {"--plan", "--piece", "--collect"}) {
        if (options.has(each)) {
            if (!mode.empty()) {
                return wrongUse(std::string(each) + " 不能与 " + mode + " 一起给出");
            }
            mode = each;
        }
    }
    return mode;
}

/// An option, and the modes that know it.
struct Belonging {
    const char* option;
    std::initializer_list<const char*> modes;
};

Parsed<void> checkOptions(const Options& options, const std::string& mode) {
    const Belonging belongings[] = {{"--stations", {"", "--piece"}},
                                    {"--threads", {"", "--plan", "--piece"}},
                                    {"--json", {"--plan"}},
                                    {"--coregistration", {"--plan", "--piece"}}};
    for (const auto& [option, modes] : belongings) {
        if (options.has(option) && std::find(modes.begin(), modes.end(), mode) == modes.end()) {
            return wrongUse(mode.empty() ? std::string(option) + " 只能与 " + *(modes.end() - 1) + " 一起给出"
                                         : std::string(option) + " 不能与 " + mode + " 一起给出");
        }
    }
    for (const char* option : {"--piece", "--coregistration"}) {
        if (options.has(option) && options.value(option).empty()) {
            return wrongUse(std::string("选项 ") + option + " 缺少值");
        }
    }
    const std::size_t arguments = options.positional.size();
    if (arguments == 0) {
        return wrongUse("缺少项目文件夹");
    }
    if (mode == "--collect" ? arguments == 1 : arguments > 1) {
        return wrongUse(arguments == 1 ? "缺少 --piece 所写的文件夹"
                                       : "多余的参数：" + options.positional[1]);
    }
    return {};
}

Parsed<ComputeTask> readTask(const Options& options) {
    ComputeTask task;
    task.folder = options.positional.front();
    task.options = options;
    if (options.has("--stations")) {
        auto stations = parseStations(options.value("--stations"));
        if (!stations) {
            return wrongUse(stations.error().message);
        }
        task.stations = *std::move(stations);
    }
    const auto threads = readThreads(options);
    if (!threads) {
        return wrongUse(threads.error().message);
    }
    task.threads = *threads;
    return task;
}

int compute(const ComputeTask& task) {
    auto opened = openProject(task.folder, inspection::Project::Access::Exclusive);
    if (!opened) {
        return fail(kCommand, opened.error());
    }
    auto& project = *opened;
    const auto paired = withPair(project.project.description(), task.options);
    if (!paired) {
        return fail(kCommand, paired.error());
    }
    if (const auto there = needSurfaces(*paired); !there) {
        return fail(kCommand, there.error());
    }
    mysqlhelper::KV_MySQL& database = *project.database->GetMySQL();
    const auto stations = stationsIn(task.stations, inspection::readStations(database));
    if (!stations) {
        return fail(kCommand, stations.error());
    }
    inspection::ComputationRequest request;
    request.project = *paired;
    request.stationIds = *stations;
    request.threads = task.threads;
    inspection::Result<inspection::ComputationSummary> result;
    {
        const StopOnSignal stopOnSignal;
        ProgressLine line("计算异常", false);
        result = inspection::computeAnomalies(request, [&](double fraction, const auto&) {
            line.show(fraction);
            return !stopOnSignal.asked();
        });
    }
    if (!result) {
        return fail(kCommand, result.error());
    }
    printStations(database, request.project.pair(), *result);
    printOutcome(request.project, *result);
    return kStatusDone;
}

} // namespace

int runCompute(const std::vector<std::string>& arguments) {
    const auto options =
        beginCommand(kCommand, std::string(kUsage).append(kPairUsage).c_str(), arguments, kTable);
    if (!options) {
        return options.error();
    }
    const auto mode = modeOf(*options);
    if (!mode) {
        return fail(kCommand, kStatusWrongUse, mode.error().message);
    }
    if (const auto good = checkOptions(*options, *mode); !good) {
        return fail(kCommand, kStatusWrongUse, good.error().message);
    }
    const auto task = readTask(*options);
    if (!task) {
        return fail(kCommand, kStatusWrongUse, task.error().message);
    }
    int count = 0;
    const QCoreApplication application(count, nullptr);
    return *mode == "--plan"      ? printPlan(*task)
           : *mode == "--piece"   ? computePieceOf(*task)
           : *mode == "--collect" ? collectInto(*task)
                                  : compute(*task);
}

} // namespace cli
