#include "workbench/inspectiondata/output/ShapeOutput.h"

#include "workbench/inspectiondata/output/ShapeLayers.h"
#include "workbench/inspectiondata/pipeline/Pipeline.h"

#include <QDir>
#include <QTemporaryDir>

#include <filesystem>

namespace inspection {

namespace {

Unexpected writeFailure(const QString& folder, const QString& cause) {
    return fileFailure(folder, "cannot be written: " + cause, "无法写入：" + cause);
}

/// Puts the files of `from` into `folder`, over earlier ones of the same name.
Status moveFiles(const QDir& from, const QDir& folder) {
    for (const QString& name : from.entryList(QDir::Files)) {
        std::error_code error;
        std::filesystem::rename(from.filePath(name).toStdString(), folder.filePath(name).toStdString(),
                                error);
        if (error) {
            return writeFailure(folder.filePath(name), QString::fromStdString(error.message()));
        }
    }
    return {};
}

} // namespace

Status writeShapes(const InspectionData& data, const QString& folder, const OutputProgress& progress) {
    const auto report = [&](double done) { return !progress || progress(done); };
    const bool existed = QDir(folder).exists();
    if (!QDir().mkpath(folder)) {
        return fileFailure(folder, "cannot be created", "无法创建文件夹");
    }
    const auto removeNewFolder = [&] {
        if (!existed) {
            QDir().rmdir(folder);
        }
    };
    QTemporaryDir staged(QDir(folder).absoluteFilePath(QStringLiteral(".shape-XXXXXX")));
    if (!staged.isValid()) {
        removeNewFolder();
        return writeFailure(folder, staged.errorString());
    }
    const QString geoPackage = QStringLiteral("corridor.gpkg");
    const auto layers = shapeLayers(data, Pipeline::read(data.project));
    Status written = writeLayers(layers, "ESRI Shapefile", staged.path(), folder);
    bool going = report(0.5);
    if (written && going) {
        written = writeLayers(layers, "GPKG", staged.filePath(geoPackage), QDir(folder).filePath(geoPackage));
        going = report(0.9);
    }
    if (written && !going) {
        written = cancelled();
    }
    if (written) {
        written = moveFiles(QDir(staged.path()), QDir(folder));
    }
    staged.remove();
    if (!written) {
        removeNewFolder();
    } else {
        report(1.0);
    }
    return written;
}

} // namespace inspection
