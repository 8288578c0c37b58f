#include "cli/EpochCommands.h"

#include "cli/Command.h"
#include "cli/OpenedProject.h"
#include "workbench/inspectiondata/compute/EpochRemoval.h"
#include "workbench/inspectiondata/creation/EpochText.h"

#include <QCoreApplication>
#include <QFileInfo>

#include <cstdio>
#include <optional>

namespace cli {

using inspection::Epoch;
using inspection::Project;
using inspection::Verdicts;

namespace {

constexpr auto kCommand = "project";
constexpr auto kAddUsage =
    "用法：corridor project add-epoch PROJECT DATE=DSM[,DOM]\n"
    "  为工程增加一期数据，按日期排列；栅格留在原处。\n"
    "  DATE  航摄日期，如 2026-05-20；未知时可省略（=DSM），该期排在最后，以 DSM 的路径称呼\n"
    "  未选定对比期次的工程随即对比最后两期；已有各期的结果保留\n";
constexpr auto kRemoveUsage =
    "用法：corridor project remove-epoch PROJECT DATE [--with-results]\n"
    "  从工程中去掉一期数据及其对比结果；该期的栅格文件保留。\n"
    "  DATE            航摄日期；日期未知的一期为 project.json 中 DSM 的路径\n"
    "  --with-results  对比结果中有已判定的异常时也一并删除，不能撤销；不给出时拒绝\n";

QString absolute(const QString& path) {
    return path.isEmpty() ? path : QFileInfo(path).absoluteFilePath();
}

/// Of "DATE=DSM[,DOM]".
std::optional<Epoch> parseEpoch(const QString& text) {
    const qsizetype equals = text.indexOf('=');
    if (equals < 0 || equals + 1 == text.size()) {
        return std::nullopt;
    }
    const auto [surface, picture] = inspection::epochFiles(text.mid(equals + 1));
    return Epoch{text.left(equals), absolute(surface), absolute(picture)};
}

/// Says which pair the project compares now.
int tell(const char* what, const QString& key, const Project& project) {
    std::printf("%s %s，对比期次 %s\n", what, qUtf8Printable(key),
                qUtf8Printable(inspection::pairTitle(project.description().pair())));
    return kStatusDone;
}

int addEpoch(const std::string& folder, const Epoch& epoch) {
    auto project = Project::open(QString::fromStdString(folder));
    if (!project) {
        return fail(kCommand, project.error());
    }
    if (auto done = project->addEpoch(epoch); !done) {
        return fail(kCommand, done.error());
    }
    return tell("已增加期次", project->description().keyOf(epoch), *project);
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
    const auto options = beginCommand(kCommand, kAddUsage, arguments, {{}, {"--help"}, 2});
    if (!options) {
        return options.error();
    }
    if (options->positional.size() < 2) {
        return fail(kCommand, kStatusWrongUse,
                    options->positional.empty() ? "缺少工程文件夹" : "缺少期次 DATE=DSM[,DOM]");
    }
    const auto epoch = parseEpoch(QString::fromStdString(options->positional[1]));
    if (!epoch) {
        return fail(kCommand, kStatusWrongUse, "期次的格式是 DATE=DSM[,DOM]：" + options->positional[1]);
    }
    int count = 0;
    const QCoreApplication application(count, nullptr);
    return addEpoch(options->positional[0], *epoch);
}

int runRemoveEpoch(const std::vector<std::string>& arguments) {
    const auto options =
        beginCommand(kCommand, kRemoveUsage, arguments, {{}, {"--with-results", "--help"}, 2});
    if (!options) {
        return options.error();
    }
    if (options->positional.size() < 2) {
        return fail(kCommand, kStatusWrongUse, options->positional.empty() ? "缺少工程文件夹" : "缺少期次");
    }
    int count = 0;
    const QCoreApplication application(count, nullptr);
    return removeEpoch(options->positional[0], QString::fromStdString(options->positional[1]),
                       options->has("--with-results") ? Verdicts::Remove : Verdicts::Keep);
}

} // namespace cli
