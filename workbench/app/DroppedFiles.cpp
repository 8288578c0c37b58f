#include "workbench/app/DroppedFiles.h"

#include <gdal_priv.h>

#include <QDir>
#include <QFileInfo>
#include <QUrl>

namespace {

bool isVector(const QString& file) {
    return GDALIdentifyDriverEx(file.toUtf8().constData(), GDAL_OF_VECTOR, nullptr, nullptr) != nullptr;
}

/// The folder of a project that the path names, by itself or by its project.json; empty for anything else.
QString projectAt(const QFileInfo& path) {
    const QString name = QStringLiteral("project.json");
    if (path.isDir() && QFileInfo::exists(path.filePath() + '/' + name)) {
        return path.absoluteFilePath();
    }
    return path.fileName() == name ? path.absolutePath() : QString();
}

} // namespace

QStringList localFiles(const QMimeData& dragged) {
    QStringList files;
    for (const QUrl& url : dragged.urls()) {
        if (url.isLocalFile()) {
            files << url.toLocalFile();
        }
    }
    return files;
}

DroppedFiles sortDropped(const QStringList& paths) {
    GDALAllRegister();
    DroppedFiles files;
    for (const QString& path : paths) {
        const QFileInfo info(path);
        const QString project = projectAt(info);
        if (!project.isEmpty()) {
            files.project = files.project.isEmpty() ? project : files.project;
        } else if (!info.isDir() && isVector(path)) {
            files.vectors << path;
        } else {
            files.rasters << path;
        }
    }
    return files;
}
