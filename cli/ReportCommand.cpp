#include "cli/ReportCommand.h"

#include "cli/Command.h"
#include "cli/MissingNote.h"
#include "cli/OpenedProject.h"
#include "cli/PairOption.h"
#include "cli/Printable.h"
#include "cli/ProgressLine.h"
#include "cli/StationList.h"
#include "cli/StopOnSignal.h"
#include "workbench/inspectiondata/output/InspectionData.h"
#include "workbench/inspectiondata/output/Report.h"
#include "workbench/inspectiondata/output/ShapeOutput.h"

#include <QGuiApplication>

#include <cstdio>

namespace cli {

using inspection::InspectionData;

namespace {

constexpr auto kReportUsage = "用法：corridor report PROJECT --out FILE.(pdf|odt|html) [--stations 1,2,5-9]\n"
                              "                       [--pair OLD,NEW]\n"
                              "  由项目中已存入的结果生成巡检报告。\n";
constexpr auto kShapeUsage = "用法：corridor shape PROJECT --out DIR [--stations 1,2,5-9] [--pair OLD,NEW]\n"
                             "  将异常、站段和管道中心线输出为 Shapefile 和 GeoPackage。\n";

constexpr auto kStationsUsage = "  --stations  站段编号或编号范围，以逗号分隔；不给出时为全部站段\n";

using Writer = inspection::Status (*)(const InspectionData& data, const QString& target,
                                      const inspection::OutputProgress& progress);

inspection::Status writeReport(const InspectionData& data, const QString& file,
                               const inspection::OutputProgress& progress) {
    return inspection::writeReport({data, QImage()}, file, progress);
}

inspection::Result<InspectionData> readProject(const std::string& folder, const Options& options,
                                               const std::vector<StationRange>& stations) {
    const auto opened = openProject(folder, inspection::Project::Access::ReadOnly);
    if (!opened) {
        return failed(opened);
    }
    const auto& project = *opened;
    const auto paired = withPair(project.project.description(), options);
    if (!paired) {
        return failed(paired);
    }
    mysqlhelper::KV_MySQL& database = *project.database->GetMySQL();
    const auto ids = stationsIn(stations, inspection::readStations(database));
    if (!ids) {
        return failed(ids);
    }
    return inspection::readInspectionData(*paired, database, *ids);
}

int write(const char* command, const char* title, const Options& options,
          const std::vector<StationRange>& stations, Writer writer) {
    const std::string target = options.value("--out");
    const auto data = readProject(options.positional.front(), options, stations);
    if (!data) {
        return fail(command, data.error());
    }
    tellMissingFiles(command, data->project);
    if (const int broken = data->brokenOutlines(); broken > 0) {
        note(command, std::to_string(broken) + " 处异常的轮廓无效，图中没有；corridor check 可列出");
    }
    inspection::Status written;
    {
        const StopOnSignal stopOnSignal;
        ProgressLine line(title, false);
        written = writer(*data, QString::fromStdString(target), [&](double fraction) {
            line.show(fraction);
            return !stopOnSignal.asked();
        });
    }
    if (!written) {
        return fail(command, written.error());
    }
    std::printf("%s\n", printable(target).c_str());
    return kStatusDone;
}

int run(const char* command, const char* title, const char* usage, const std::vector<std::string>& arguments,
        Writer writer) {
    const auto options =
        beginCommand(command, std::string(usage).append(kStationsUsage).append(kPairUsage).c_str(), arguments,
                     {{"--out", "--stations", kPairOption}, {"--help"}, 1});
    if (!options) {
        return options.error();
    }
    if (options->positional.empty() || options->value("--out").empty()) {
        return fail(command, kStatusWrongUse, options->positional.empty() ? "缺少项目文件夹" : "缺少 --out");
    }
    std::vector<StationRange> stations;
    if (options->has("--stations")) {
        auto named = parseStations(options->value("--stations"));
        if (!named) {
            return fail(command, kStatusWrongUse, named.error().message);
        }
        stations = *std::move(named);
    }
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) {
        qputenv("QT_QPA_PLATFORM", "offscreen"); // fonts and pictures need no display
    }
    int count = 0;
    const QGuiApplication application(count, nullptr);
    return write(command, title, *options, stations, writer);
}

} // namespace

int runReport(const std::vector<std::string>& arguments) {
    return run("report", "输出报告", kReportUsage, arguments, writeReport);
}

int runShape(const std::vector<std::string>& arguments) {
    return run("shape", "输出shape", kShapeUsage, arguments, inspection::writeShapes);
}

} // namespace cli
