#include "cli/CheckCommand.h"

#include "cli/Command.h"
#include "cli/OpenedProject.h"
#include "cli/Printable.h"
#include "cli/ProgressLine.h"
#include "workbench/inspectiondata/check/CheckProject.h"

#include <QCoreApplication>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <cstdio>

namespace cli {

using inspection::Finding;
using inspection::Findings;

namespace {

constexpr auto kCommand = "check";
constexpr auto kUsage = "用法：corridor check PROJECT [--json]\n"
                        "  检查项目的文件和数据是否完好，每个问题一行；不作任何更改。\n"
                        "  没有问题时退出状态为 0，有问题时为 1。\n";

void print(const Findings& findings) {
    for (const Finding& finding : findings) {
        std::printf("%s\n", printable(finding.line()).c_str());
    }
    if (findings.empty()) {
        std::puts("未发现问题");
    }
}

void printJson(const QString& folder, const Findings& findings) {
    QJsonArray array;
    for (const Finding& finding : findings) {
        array.append(QJsonObject{
            {"subject", finding.subject}, {"object", finding.object}, {"problem", finding.problem}});
    }
    const QJsonObject json{{"folder", folder}, {"findings", array}};
    std::fputs(QJsonDocument(json).toJson().constData(), stdout);
}

Findings checkWithProgress(const inspection::ProjectDescription& project, mysqlhelper::KV_MySQL& database) {
    ProgressLine line("检查项目", false);
    return inspection::checkProject(project, database, [&line](double done) { line.show(done); });
}

int check(const std::string& folder, bool asJson) {
    const auto opened = openProject(folder, inspection::Project::Access::ReadOnly);
    if (!opened) {
        return fail(kCommand, opened.error());
    }
    const auto& [project, database] = *opened;
    const Findings findings = checkWithProgress(project.description(), *database->GetMySQL());
    if (asJson) {
        printJson(project.description().folder, findings);
    } else {
        print(findings);
    }
    return findings.empty() ? kStatusDone : kStatusFailed;
}

} // namespace

int runCheck(const std::vector<std::string>& arguments) {
    const auto options = beginCommand(kCommand, kUsage, arguments, {{}, {"--json", "--help"}, 1});
    if (!options) {
        return options.error();
    }
    if (options->positional.empty()) {
        return fail(kCommand, kStatusWrongUse, "缺少项目文件夹");
    }
    int count = 0;
    const QCoreApplication application(count, nullptr);
    return check(options->positional.front(), options->has("--json"));
}

} // namespace cli
