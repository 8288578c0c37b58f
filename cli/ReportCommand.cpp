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

#include <cstdint>
#include <cstdio>
#include <functional>
#include <memory>
#include <utility>

namespace cli {

using inspection::ProjectDescription;

namespace {

constexpr auto kReportUsage = "用法：corridor report PROJECT --out FILE.(pdf|odt|html) [--stations 1,2,5-9]\n"
                              "                       [--pair OLD,NEW]\n"
                              "  由项目中已存入的结果生成巡检报告。\n";
constexpr auto kShapeUsage = "用法：corridor shape PROJECT --out DIR [--stations 1,2,5-9] [--pair OLD,NEW]\n"
                             "  将异常、站段和管道中心线输出为 Shapefile 和 GeoPackage。\n";

constexpr auto kStationsUsage = "  --stations  站段编号或编号范围，以逗号分隔；不给出时为全部站段\n";

/// What is to be written of a project, and where.
struct Output {
    const ProjectDescription& project; ///< with the pair that was asked for
    std::unique_ptr<inspection::PipelineDatabase> database;
    std::vector<std::uint32_t> stationIds; ///< none for all
    QString target;
};

using Writer = inspection::Status (*)(Output output, const char* command, const char* title);

/// Says how far it is, and stops when that is asked for.
class Course {
public:
    explicit Course(const char* title) : m_line(title, false) {}

    bool operator()(double fraction) {
        m_line.show(fraction);
        return !m_stopOnSignal.asked();
    }

private:
    const StopOnSignal m_stopOnSignal;
    ProgressLine m_line;
};

void tellBrokenOutlines(const char* command, std::int64_t broken) {
    if (broken > 0) {
        note(command, std::to_string(broken) + " 处异常的轮廓无效，图中没有；corridor check 可列出");
    }
}

inspection::Status writeReport(Output output, const char* command, const char* title) {
    const auto data =
        inspection::readInspectionData(output.project, *output.database->GetMySQL(), output.stationIds);
    output.database.reset(); // what ends the program while it writes leaves none of the database's files
    if (!data) {
        return failed(data);
    }
    tellBrokenOutlines(command, data->brokenOutlines());
    Course course(title);
    return inspection::writeReport({*data, QImage()}, output.target, std::ref(course));
}

inspection::Status writeShapes(Output output, const char* command, const char* title) {
    const auto broken = [&] {
        Course course(title);
        return inspection::writeStoredShapes(output.project, *output.database->GetMySQL(), output.stationIds,
                                             output.target, std::ref(course));
    }();
    if (!broken) {
        return failed(broken);
    }
    tellBrokenOutlines(command, *broken);
    return {};
}

inspection::Status writeProject(const char* command, const char* title, const Options& options,
                                const std::vector<StationRange>& stations, Writer writer) {
    auto opened = openProject(options.positional.front(), inspection::Project::Access::ReadOnly);
    if (!opened) {
        return failed(opened);
    }
    const auto paired = withPair(opened->project.description(), options);
    if (!paired) {
        return failed(paired);
    }
    const auto ids = stationsIn(stations, inspection::readStations(*opened->database->GetMySQL()));
    if (!ids) {
        return failed(ids);
    }
    tellMissingFiles(command, *paired);
    return writer(
        {*paired, std::move(opened->database), *ids, QString::fromStdString(options.value("--out"))}, command,
        title);
}

int write(const char* command, const char* title, const Options& options,
          const std::vector<StationRange>& stations, Writer writer) {
    if (const auto written = writeProject(command, title, options, stations, writer); !written) {
        return fail(command, written.error());
    }
    std::printf("%s\n", printable(options.value("--out")).c_str());
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
    return run("shape", "输出shape", kShapeUsage, arguments, writeShapes);
}

} // namespace cli
