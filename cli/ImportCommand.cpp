#include "cli/ImportCommand.h"

#include "cli/Command.h"
#include "cli/OpenedProject.h"
#include "cli/ProgressLine.h"
#include "cli/StopOnSignal.h"
#include "workbench/inspectiondata/database/SpecialObjectImport.h"

#include <QCoreApplication>

#include <cstdio>

namespace cli {

using inspection::SpecialObjectImport;

namespace {

constexpr auto kCommand = "import";
constexpr auto kUsage = "用法：corridor import PROJECT --polygons FILE --type 4|17 [--strict]\n"
                        "      corridor import PROJECT --points FILE [--strict]\n"
                        "  将矢量文件中的面或点导入项目，成为高后果区、特殊面或特殊点。\n"
                        "  --polygons  面所在的文件，GDAL 能读取的任意矢量格式\n"
                        "  --type      面的类型：4 高后果区，17 特殊面\n"
                        "  --points    特殊点所在的文件\n"
                        "  --strict    有任何一行被拒绝时不导入\n";

struct Task {
    std::string project;
    std::string file;
    KV_ObjectType type = KV_SPECIAL_POINT;
    bool strict = false;
};

Parsed<Task> readTask(const Options& options) {
    if (options.positional.empty()) {
        return wrongUse("缺少项目文件夹");
    }
    const bool areas = options.has("--polygons");
    if (areas == options.has("--points")) {
        return wrongUse(areas ? "--polygons 和 --points 只能给出一个" : "缺少 --polygons 或 --points");
    }
    Task task{options.positional.front(), options.value(areas ? "--polygons" : "--points"), KV_SPECIAL_POINT,
              options.has("--strict")};
    if (task.file.empty()) {
        return wrongUse(areas ? "选项 --polygons 缺少值" : "选项 --points 缺少值");
    }
    const std::string type = options.value("--type");
    if (!areas && options.has("--type")) {
        return wrongUse("--type 只用于 --polygons");
    }
    if (areas && type != "4" && type != "17") {
        return wrongUse("--type 只能是 4（高后果区）或 17（特殊面）");
    }
    if (areas) {
        task.type = type == "4" ? KV_HIGH_CONSEQUENCE_AREA : KV_SPECIAL_AREA;
    }
    return task;
}

void printLines(const QStringList& lines) {
    for (const QString& line : lines) {
        note(kCommand, line);
    }
}

int printOutcome(const Task& task, const SpecialObjectImport& outcome) {
    const auto refused = outcome.refusals.size();
    printLines(outcome.notes);
    printLines(outcome.refusals);
    if (task.strict && refused > 0) {
        printLines({QStringLiteral("有 %1 行被拒绝，按 --strict 未导入任何对象").arg(refused)});
    }
    std::printf("导入 %d 个%s，拒绝 %lld 行\n", outcome.stored,
                qUtf8Printable(inspection::specialObjectTitle(task.type)), static_cast<long long>(refused));
    return refused == 0 ? kStatusDone : kStatusFailed;
}

int importFile(const Task& task) {
    auto opened = openProject(task.project, inspection::Project::Access::Exclusive);
    if (!opened) {
        return fail(kCommand, opened.error());
    }
    auto& project = *opened;
    const inspection::SpecialObjectFile file{
        QString::fromStdString(task.file), task.type, project.project.description().crs, {}};
    inspection::Result<SpecialObjectImport> result;
    {
        const StopOnSignal stopOnSignal;
        ProgressLine line("导入" + inspection::specialObjectTitle(task.type).toStdString(), false);
        result = inspection::importSpecialObjects(project.project.description(), file, task.strict,
                                                  *project.database->GetMySQL(), [&](double fraction) {
                                                      line.show(fraction);
                                                      return !stopOnSignal.asked();
                                                  });
    }
    if (!result) {
        return fail(kCommand, result.error());
    }
    return printOutcome(task, *result);
}

} // namespace

int runImport(const std::vector<std::string>& arguments) {
    const auto options = beginCommand(kCommand, kUsage, arguments,
                                      {{"--polygons", "--points", "--type"}, {"--strict", "--help"}, 1});
    if (!options) {
        return options.error();
    }
    const auto task = readTask(*options);
    if (!task) {
        return fail(kCommand, kStatusWrongUse, task.error().message);
    }
    int count = 0;
    const QCoreApplication application(count, nullptr);
    return importFile(*task);
}

} // namespace cli
