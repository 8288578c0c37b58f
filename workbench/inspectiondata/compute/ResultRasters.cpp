#include "workbench/inspectiondata/compute/ResultRasters.h"

#include "detect/StagedOutput.h"
#include "host/Gbk.h"
#include "workbench/inspectiondata/database/Fields.h"

#include <QDir>
#include <QDirIterator>
#include <QFileInfo>
#include <QSet>

namespace inspection {

using mysqlhelper::KV_MySQL;
using mysqlhelper::KV_Record;

namespace {

QSet<QString> namedRasters(const ProjectDescription& project, KV_MySQL& database) {
    QSet<QString> files;
    for (const KV_Record& row :
         database.queryRecord("select dz_raster, correction_raster from comparison_result")) {
        for (const char* raster : {"dz_raster", "correction_raster"}) {
            std::string path;
            takeField(row, raster, path);
            files.insert(QDir::cleanPath(QDir(project.folder).absoluteFilePath(fromGbk(path))));
        }
    }
    return files;
}

} // namespace

QStringList unnamedRasters(const ProjectDescription& project, KV_MySQL& database) {
    const QSet<QString> named = namedRasters(project, database);
    QStringList unnamed;
    QDirIterator files(project.outputFolder() + QStringLiteral("/stations"),
                       {QStringLiteral("dz-*.tif*"), QStringLiteral("correction-*.tif*")}, QDir::Files,
                       QDirIterator::Subdirectories);
    while (files.hasNext()) {
        const QString file = QFileInfo(files.next()).absoluteFilePath();
        if (!named.contains(file)) {
            unnamed << file;
        }
    }
    return unnamed;
}

Status copyRaster(const QString& from, const QString& to) {
    QDir().mkpath(QFileInfo(to).absolutePath());
    const auto staged = detect::StagedOutput::beside(to.toStdString());
    if (!staged) {
        return sayAgain(staged.error());
    }
    QFile source(from);
    if (!source.copy(QString::fromStdString(staged->path()))) {
        return fileFailure(to, "cannot be copied here: " + source.errorString(),
                           "无法复制到此处，磁盘可能已满");
    }
    const auto done = staged->commit();
    return done ? Status() : sayAgain(done.error());
}

} // namespace inspection
