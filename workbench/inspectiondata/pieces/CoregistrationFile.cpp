#include "workbench/inspectiondata/pieces/CoregistrationFile.h"

#include "detect/output/CoregistrationText.h"
#include "workbench/inspectiondata/output/OutputTarget.h"
#include "workbench/inspectiondata/pieces/ComparisonIdentity.h"
#include "workbench/inspectiondata/pieces/PieceFolder.h"

#include <QFile>
#include <QJsonDocument>

namespace inspection {

namespace {

constexpr auto kFormat = "corridor-coregistration";
constexpr int kVersion = 1;

} // namespace

Status writeCoregistrationFile(const ProjectDescription& project,
                               const detect::Coregistration& coregistration, const QString& file) {
    const auto identity = comparisonIdentity(project);
    if (!identity) {
        return failed(identity);
    }
    const QJsonObject json{
        {"format", kFormat},
        {"version", kVersion},
        {"comparison", *identity},
        {"coregistration", QString::fromStdString(detect::coregistrationText(coregistration))}};
    if (auto apart = checkTargets({file}, project); !apart) {
        return apart;
    }
    const auto staged = stageBeside(file);
    if (!staged) {
        return failed(staged);
    }
    if (auto written = writeWhole(QString::fromStdString(staged->path()), QJsonDocument(json).toJson());
        !written) {
        return written;
    }
    return commit(*staged);
}

Result<detect::Coregistration> readCoregistrationFile(const ProjectDescription& project,
                                                      const QString& file) {
    QFile source(file);
    if (!source.open(QIODevice::ReadOnly)) {
        return fileFailure(file, "cannot be read: " + source.errorString(), "无法读取");
    }
    const QJsonObject json = QJsonDocument::fromJson(source.readAll()).object();
    const auto coregistration = detect::readCoregistration(json["coregistration"].toString().toStdString());
    if (json["format"] != QLatin1String(kFormat) || json["version"] != kVersion || !coregistration) {
        return fileFailure(file, "not a co-registration of this version", "不是本版本的配准文件");
    }
    const auto identity = comparisonIdentity(project);
    if (!identity) {
        return failed(identity);
    }
    if (auto same = expectIdentity(file, json["comparison"].toObject(), *identity); !same) {
        return failed(same);
    }
    return *coregistration;
}

} // namespace inspection
