#include "workbench/inspectiondata/pieces/PieceFolder.h"

#include "detect/output/CoregistrationText.h"

#include <QCryptographicHash>
#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QJsonDocument>

namespace inspection {

namespace {

constexpr auto kSealName = "piece.json";
constexpr auto kFormat = "corridor-piece";
constexpr int kVersion = 1;

/// Empty for a file that cannot be read.
QString digestOf(const QString& file) {
    QFile source(file);
    QCryptographicHash hash(QCryptographicHash::Sha256);
    return source.open(QIODevice::ReadOnly) && hash.addData(&source)
               ? QString::fromLatin1(hash.result().toHex())
               : QString();
}

/// By their paths within the folder; without the seal itself.
QJsonObject digestsIn(const QString& folder) {
    QJsonObject digests;
    QDirIterator files(folder, QDir::Files | QDir::Hidden | QDir::System, QDirIterator::Subdirectories);
    while (files.hasNext()) {
        const QString file = files.next();
        const QString name = QDir(folder).relativeFilePath(file);
        if (name != QLatin1String(kSealName)) {
            digests[name] = digestOf(file);
        }
    }
    return digests;
}

/// The name of a file that is not as it was sealed; empty when all are.
QString changedFile(const QJsonObject& sealed, const QJsonObject& found) {
    QStringList names = sealed.keys() + found.keys();
    names.removeDuplicates();
    for (const QString& name : names) {
        if (sealed[name] != found[name] || sealed[name].toString().isEmpty()) {
            return name;
        }
    }
    return {};
}

} // namespace

ProjectDescription projectInPiece(const ProjectDescription& project, const QString& folder) {
    ProjectDescription inPiece = project;
    for (Epoch& epoch : inPiece.epochs) {
        epoch.date = project.keyOf(epoch);
    }
    inPiece.compared = project.pair();
    inPiece.folder = folder;
    inPiece.database.clear();
    inPiece.baseLayers.clear();
    return inPiece;
}

Status sealPiece(const QString& folder, const QJsonObject& comparison,
                 const detect::Coregistration& coregistration) {
    const QByteArray text = QByteArray::fromStdString(detect::coregistrationText(coregistration));
    const QString digest =
        QString::fromLatin1(QCryptographicHash::hash(text, QCryptographicHash::Sha256).toHex());
    const QJsonObject json{{"format", kFormat},
                           {"version", kVersion},
                           {"comparison", comparison},
                           {"coregistration", digest},
                           {"files", digestsIn(folder)}};
    return writeWhole(folder + '/' + kSealName, QJsonDocument(json).toJson());
}

Result<PieceSeal> readSeal(const QString& folder) {
    QFile file(folder + '/' + kSealName);
    if (!file.open(QIODevice::ReadOnly)) {
        return fileFailure(folder, "not a piece of a computation: no piece.json that can be read",
                           "不是分站段计算的结果：没有可读取的 piece.json");
    }
    const QJsonObject json = QJsonDocument::fromJson(file.readAll()).object();
    if (json["format"] != QLatin1String(kFormat) || json["version"] != kVersion) {
        return fileFailure(folder, "piece.json is not of a piece of this version",
                           "piece.json 不是本版本的计算结果");
    }
    if (const QString name = changedFile(json["files"].toObject(), digestsIn(folder)); !name.isEmpty()) {
        return fileFailure(folder, "is damaged, " + name + " is not what was written",
                           "已损坏，" + name + " 不是原来写入的内容");
    }
    return PieceSeal{json["comparison"].toObject(), json["coregistration"].toString()};
}

Status writeWhole(const QString& file, const QByteArray& bytes) {
    QFile target(file);
    if (!target.open(QIODevice::WriteOnly) || target.write(bytes) != bytes.size() || !target.flush()) {
        return fileFailure(file, "cannot be written: " + target.errorString(), "无法写入，磁盘可能已满");
    }
    return {};
}

} // namespace inspection
