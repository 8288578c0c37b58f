#include "cli/ComputeCommand.h"

#include "cli/Command.h"
#include "cli/MissingNote.h"
#include "cli/OpenedProject.h"
#include "cli/PairOption.h"
#include "cli/Printable.h"
#include "cli/ProgressLine.h"
#include "cli/StopOnSignal.h"
#include "detect/output/CoregistrationNote.h"
#include "host/Gbk.h"
#include "workbench/inspectiondata/compute/ComputeAnomalies.h"
#include "workbench/inspectiondata/database/AnomalyTable.h"
#include "workbench/inspectiondata/database/StationTable.h"
#include "workbench/inspectiondata/text/CoregistrationText.h"

#include <QCoreApplication>

#include <algorithm>
#include <cstdio>
#include <sstream>

namespace cli {

namespace {

constexpr auto kCommand = "compute";
constexpr auto kUsage = "用法：corridor compute PROJECT [--stations 1,2,…] [--pair OLD,NEW]\n"
                        "  检测项目各站段的异常并存入项目数据库；其他各对期次的结果保留。\n"
                        "  --stations  站段编号，以逗号分隔；不给出时计算全部站段\n";

/// Numbers separated by commas; empty for anything else.
std::vector<std::uint32_t> parseStations(const std::string& text) {
    std::vector<std::uint32_t> ids;
    std::istringstream parts(text);
    for (std::string part; std::getline(parts, part, ',');) {
        const auto id = commandline::parseInteger(part);
        if (!id || *id <= 0) {
            return {};
        }
        ids.push_back(static_cast<std::uint32_t>(*id));
    }
    return ids;
}

void printSummary(mysqlhelper::KV_MySQL& database, const inspection::EpochPair& pair,
                  const inspection::ComputationSummary& summary) {
    for (const KV_Station& station : inspection::readStations(database)) {
        const auto& done = summary.stationIds;
        if (std::find(done.begin(), done.end(), station.m_id) != done.end()) {
            const auto anomalies = inspection::readAnomalies(database, station.m_id, pair);
            std::printf("站段 %u  %s  异常 %zu 处\n", station.m_id,
                        printable(gbkToUtf8(station.m_name)).c_str(), anomalies.size());
        }
    }
    std::printf("对比 %s\n", printable(inspection::pairTitle(pair)).c_str());
    std::printf("共 %zu 个站段，异常 %d 处，比较像元 %lld 个，用时 %.1f 秒\n", summary.stationIds.size(),
                summary.anomalies, static_cast<long long>(summary.cells), summary.seconds);
}

/// What whoever reads the figures should know about them.
void printNotes(const inspection::ProjectDescription& project,
                const inspection::ComputationSummary& summary) {
    const detect::Coregistration& coregistration = summary.coregistration;
    std::printf("%s\n", qUtf8Printable(inspection::coregistrationLine(coregistration)));
    detect::RunReport report;
    report.coregistration = coregistration;
    for (const std::string& line : detect::notesOn(report, project.parameters)) {
        note(kCommand, line);
    }
    if (const auto doubt = inspection::doubtOf(coregistration.nmadAfterMetres, project.parameters)) {
        note(kCommand, *doubt);
    }
}

int compute(const std::string& folder, const std::vector<std::uint32_t>& stations, const Options& options) {
    auto opened = openProject(folder, inspection::Project::Access::Exclusive);
    if (!opened) {
        return fail(kCommand, opened.error());
    }
    auto& project = *opened;
    const auto paired = withPair(project.project.description(), options);
    if (!paired) {
        return fail(kCommand, paired.error());
    }
    if (const auto there = needSurfaces(*paired); !there) {
        return fail(kCommand, there.error());
    }
    inspection::ComputationRequest request;
    request.project = *paired;
    request.stationIds = stations;
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
    printSummary(*project.database->GetMySQL(), request.project.pair(), *result);
    printNotes(request.project, *result);
    return kStatusDone;
}

} // namespace

int runCompute(const std::vector<std::string>& arguments) {
    const auto options = beginCommand(kCommand, std::string(kUsage).append(kPairUsage).c_str(), arguments,
                                      {{"--stations", kPairOption}, {"--help"}, 1});
    if (!options) {
        return options.error();
    }
    if (options->positional.empty()) {
        return fail(kCommand, kStatusWrongUse, "缺少项目文件夹");
    }
    const auto stations = parseStations(options->value("--stations"));
    if (options->has("--stations") && stations.empty()) {
        return fail(kCommand, kStatusWrongUse,
                    "--stations 的值必须是以逗号分隔的站段编号：" + options->value("--stations"));
    }
    int count = 0;
    const QCoreApplication application(count, nullptr);
    return compute(options->positional.front(), stations, *options);
}

} // namespace cli
