#include "cli/EpochCommands.h"

#include "cli/Command.h"
#include "cli/OpenedProject.h"
#include "cli/Printable.h"
#include "cli/ProgressLine.h"
#include "cli/StopOnSignal.h"
#include "workbench/inspectiondata/compute/EpochRemoval.h"
#include "workbench/inspectiondata/creation/EpochAddition.h"
#include "workbench/inspectiondata/creation/EpochText.h"

#include <QCoreApplication>

#include <cstdio>

namespace cli {

using inspection::EpochWish;
using inspection::failed;
using inspection::MadeEpoch;
using inspection::Project;
using inspection::Verdicts;

namespace {

constexpr auto kCommand = "project";
constexpr auto kAddUsage =
    "用法：corridor project add-epoch PROJECT [DATE=]DSM[,DOM] [选项]\n"
    "  为项目增加一期数据，按日期排列；栅格留在原处，除非给出 --copy。\n"
    "  DATE       航摄日期，如 2026-05-20，不给出时由文件推断；无法推断时该期排在最后，以 DSM 的路径称呼\n"
    "  DSM、DOM   表面模型、正射影像；文件夹表示其中的全部栅格（分幅）；点云（LAS、LAZ）先生成表面模型\n"
    "  --heights  该期的高程系统，ellipsoid 或 EPSG:5773；与其他期不同时在有换算格网的情况下换算\n"
    "  --cell     由点云生成的表面模型的格网间距，默认由点的密度推断\n"
    "  --ground   只用点云的地面点（第 2 类）\n"
    "  --copy     将栅格复制到项目文件夹\n"
    "  --quiet    不显示进度\n"
    "  未选定对比期次的项目随即对比最后两期；已有各期的结果保留\n";
constexpr auto kRemoveUsage =
    "用法：corridor project remove-epoch PROJECT DATE [--with-results]\n"
    "  从项目中去掉一期数据及其对比结果；该期的栅格文件保留。\n"
    "  DATE            航摄日期；日期未知的一期为 project.json 中 DSM 的路径\n"
    "  --with-results  对比结果中有已判定的异常时也一并删除，不能撤销；不给出时拒绝\n";

const OptionTable kAddTable{{"--heights", "--cell"}, {"--ground", "--copy", "--quiet", "--help"}, 2};

struct AddTask {
    QString folder;
    EpochWish wish;
    bool quiet = false;
};

Parsed<AddTask> readAddTask(const Options& options) {
    if (options.positional.size() < 2) {
        return wrongUse(options.positional.empty() ? "缺少项目文件夹" : "缺少期次 [DATE=]DSM[,DOM]");
    }
    AddTask task{QString::fromStdString(options.positional[0]), {}, options.has("--quiet")};
    task.wish.epoch = inspection::epochOf(QString::fromStdString(options.positional[1]));
    if (task.wish.epoch.surface.isEmpty()) {
        return wrongUse("期次的格式是 [DATE=]DSM[,DOM]：" + options.positional[1]);
    }
    task.wish.epoch.heights = QString::fromStdString(options.value("--heights"));
    task.wish.clouds.isGroundOnly = options.has("--ground");
    task.wish.copiesFiles = options.has("--copy");
    if (options.has("--cell")) {
        task.wish.clouds.cell = commandline::parseNumber(options.value("--cell"));
        if (!task.wish.clouds.cell || *task.wish.clouds.cell <= 0.0) {
            return wrongUse("--cell 的值必须是正数：" + options.value("--cell"));
        }
    }
    return task;
}

/// Says which pair the project compares now.
int tell(const char* what, const QString& key, const Project& project) {
    std::printf("%s %s，对比期次 %s\n", what, printable(key).c_str(),
                printable(inspection::pairTitle(project.description().pair())).c_str());
    return kStatusDone;
}

/// Plans, makes and adds it.
inspection::Result<MadeEpoch> addEpoch(Project& project, const AddTask& task) {
    const auto next = inspection::planEpochFor(project.description(), task.wish);
    if (!next) {
        return failed(next);
    }
    const StopOnSignal stopOnSignal;
    ProgressLine line("增加期次", task.quiet);
    auto made =
        inspection::makeEpoch(project.description(), *next, task.wish.copiesFiles, [&](double fraction) {
            line.show(fraction);
            return !stopOnSignal.asked();
        });
    if (!made) {
        return made;
    }
    if (auto done = made->addTo(project); !done) {
        return failed(done);
    }
    return made;
}

int runTask(const AddTask& task) {
    auto project = Project::open(task.folder);
    if (!project) {
        return fail(kCommand, project.error());
    }
    const auto made = addEpoch(*project, task);
    if (!made) {
        return fail(kCommand, made.error());
    }
    for (const QString& line : made->notes()) {
        note(kCommand, line);
    }
    return tell("已增加期次", project->description().keyOf(made->epoch()), *project);
}

int removeEpoch(const std::string& folder, const QString& key, Verdicts verdicts) {
    auto opened = openProject(folder, Project::Access::Exclusive);
    if (!opened) {
        return fail(kCommand, opened.error());
    }
    auto& [project, database] = *opened;
    if (auto done = inspection::removeEpoch(project, *database->GetMySQL(), key, verdicts); !done) {
        return fail(kCommand, done.error());
    }
    return tell("已去掉期次", key, project);
}

} // namespace

int runAddEpoch(const std::vector<std::string>& arguments) {
    const auto options = beginCommand(kCommand, kAddUsage, arguments, kAddTable);
    if (!options) {
        return options.error();
    }
    const auto task = readAddTask(*options);
    if (!task) {
        return fail(kCommand, kStatusWrongUse, task.error().message);
    }
    int count = 0;
    const QCoreApplication application(count, nullptr);
    return runTask(*task);
}

int runRemoveEpoch(const std::vector<std::string>& arguments) {
    const auto options =
        beginCommand(kCommand, kRemoveUsage, arguments, {{}, {"--with-results", "--help"}, 2});
    if (!options) {
        return options.error();
    }
    if (options->positional.size() < 2) {
        return fail(kCommand, kStatusWrongUse, options->positional.empty() ? "缺少项目文件夹" : "缺少期次");
    }
    int count = 0;
    const QCoreApplication application(count, nullptr);
    return removeEpoch(options->positional[0], QString::fromStdString(options->positional[1]),
                       options->has("--with-results") ? Verdicts::Remove : Verdicts::Keep);
}

} // namespace cli
