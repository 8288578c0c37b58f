#include "cli/InfoCommand.h"

#include "cli/Command.h"
#include "cli/OpenedProject.h"
#include "cli/Printable.h"
#include "cli/ProjectInfo.h"

#include <QCoreApplication>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>

#include <cstdio>

namespace cli {

namespace {

constexpr auto kCommand = "info";
constexpr auto kUsage = "用法：corridor info PROJECT|RASTER [--json]\n"
                        "  显示项目或栅格的内容。\n";

QString text(const QJsonValue& value) {
    switch (value.type()) {
    case QJsonValue::Null:
        return QStringLiteral("-");
    case QJsonValue::Bool:
        return value.toBool() ? QStringLiteral("true") : QStringLiteral("false");
    case QJsonValue::Double:
        return QString::number(value.toDouble(), 'g', 12);
    case QJsonValue::Array: {
        QStringList parts;
        for (const auto& part : value.toArray()) {
            parts << text(part);
        }
        return parts.join(QStringLiteral(" "));
    }
    default:
        return value.toString();
    }
}

/// One "key: value" line each, members of nested objects indented below their key.
void print(const QJsonObject& json, const QString& indent) {
    for (auto member = json.begin(); member != json.end(); ++member) {
        const QJsonArray array = member.value().toArray();
        if (member.value().isObject()) {
            std::printf("%s%s:\n", qPrintable(indent), printable(member.key()).c_str());
            print(member.value().toObject(), indent + "  ");
        } else if (!array.isEmpty() && array.first().isObject()) {
            for (int i = 0; i < array.size(); ++i) {
                std::printf("%s%s %d:\n", qPrintable(indent), printable(member.key()).c_str(), i + 1);
                print(array.at(i).toObject(), indent + "  ");
            }
        } else {
            std::printf("%s%s: %s\n", qPrintable(indent), printable(member.key()).c_str(),
                        printable(text(member.value())).c_str());
        }
    }
}

} // namespace

int runInfo(const std::vector<std::string>& arguments) {
    const auto options = beginCommand(kCommand, kUsage, arguments, {{}, {"--json", "--help"}, 1});
    if (!options) {
        return options.error();
    }
    if (options->positional.empty()) {
        return fail(kCommand, kStatusWrongUse, "缺少项目文件夹或栅格文件");
    }
    int count = 0;
    const QCoreApplication application(count, nullptr);
    const QString path = QString::fromStdString(options->positional.front());
    const auto info = QFileInfo(path).isDir() ? projectInfo(path) : rasterInfo(path);
    if (!info) {
        return fail(kCommand, info.error());
    }
    const auto& json = *info;
    if (options->has("--json")) {
        std::fputs(QJsonDocument(json).toJson().constData(), stdout);
    } else {
        print(json, QString());
    }
    return kStatusDone;
}

} // namespace cli
