#include "cli/TrustCommand.h"

#include "cli/Command.h"
#include "cli/OpenedProject.h"
#include "cli/Printable.h"
#include "workbench/inspectiondata/project/TrustedPlaces.h"

#include <QCoreApplication>
#include <QFileInfo>

#include <cstdio>

namespace cli {

using inspection::ForeignPlace;
using inspection::ForeignPlaces;

namespace {

constexpr auto kCommand = "project";
constexpr auto kUsage =
    "用法：corridor project trust PROJECT [--dry-run]\n"
    "  信任项目在其文件夹以外使用的各处（文件夹、数据库、服务器），并逐行列出；在本机记住。\n"
    "  项目来自他人时，先以 --dry-run 查看；在本机建立的项目不需要此命令。\n"
    "  --dry-run  只列出尚未信任的各处，不打开其中任何一处；信任之后可能还有由它们引出的\n";

void print(const ForeignPlaces& places) {
    for (const ForeignPlace& place : places) {
        std::printf("%s\n", printable(place.text()).c_str());
    }
    if (places.empty()) {
        std::puts("没有尚未信任的位置");
    }
}

int trust(const QString& folder, bool onlyTells) {
    if (!QFileInfo(folder).isDir()) {
        return fail(kCommand, kStatusFailed, (folder + QStringLiteral("：文件夹不存在")).toStdString());
    }
    if (onlyTells) {
        print(inspection::untrustedPlaces(folder));
        return kStatusDone;
    }
    const auto trusted = inspection::trustProject(folder);
    if (!trusted) {
        return fail(kCommand, trusted.error());
    }
    print(*trusted);
    return kStatusDone;
}

} // namespace

int runTrust(const std::vector<std::string>& arguments) {
    const auto options = beginCommand(kCommand, kUsage, arguments, {{}, {"--dry-run", "--help"}, 1});
    if (!options) {
        return options.error();
    }
    if (options->positional.empty()) {
        return fail(kCommand, kStatusWrongUse, "缺少项目文件夹");
    }
    int count = 0;
    const QCoreApplication application(count, nullptr);
    return trust(QString::fromStdString(options->positional.front()), options->has("--dry-run"));
}

} // namespace cli
