#include "workbench/app/Options.h"

#include "commandline/Options.h"

namespace {

constexpr int kWrongUse = 2;

tl::unexpected<UsageAnswer> wrongUse(const QString& message) {
    return tl::unexpected<UsageAnswer>(UsageAnswer{message + '\n', kWrongUse});
}

std::vector<std::string> inUtf8(const QStringList& arguments) {
    std::vector<std::string> texts;
    for (const QString& argument : arguments) {
        texts.push_back(argument.toStdString());
    }
    return texts;
}

} // namespace

bool asksForHelp(const QStringList& arguments) {
    return arguments.contains("--help") || arguments.contains("-h");
}

QString usageText() {
    return QStringLiteral(
        "用法：corridor-workbench [PROJECT] [--old FILE --new FILE] [--headless DIR] [--tools FILE]\n"
        "  PROJECT     要打开的项目文件夹\n"
        "  --old       旧期表面模型，与 --new 一起给出\n"
        "  --new       新期表面模型\n"
        "  --headless  无人值守地完成全部工作，结果存入 DIR\n"
        "  --tools     要加载的工具插件，默认为程序旁边的插件\n");
}

tl::expected<Options, UsageAnswer> parseOptions(const QStringList& arguments) {
    if (asksForHelp(arguments)) {
        return tl::unexpected<UsageAnswer>(UsageAnswer{usageText(), 0});
    }
    const auto given =
        commandline::parseOptions(inUtf8(arguments), {{"--old", "--new", "--headless", "--tools"}, {}, 1});
    if (!given) {
        return wrongUse(QString::fromStdString(given.error().message));
    }
    if (given->has("--old") != given->has("--new")) {
        return wrongUse(QStringLiteral("--old 和 --new 必须一起给出"));
    }
    const auto valueOf = [&given](const char* name) { return QString::fromStdString(given->value(name)); };
    Options options;
    if (!given->positional.empty()) {
        options.projectFolder = QString::fromStdString(given->positional.front());
    }
    options.oldRaster = valueOf("--old");
    options.newRaster = valueOf("--new");
    options.headlessFolder = valueOf("--headless");
    options.pluginFile = valueOf("--tools");
    return options;
}
