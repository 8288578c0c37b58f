#pragma once

#include <QMimeData>
#include <QStringList>

/// What a user has dropped on the window.
struct DroppedFiles {
    QString project;     ///< folder of the first project among it; empty when there is none
    QStringList rasters; ///< rasters, other folders, and what is no vector file either
    QStringList vectors;
};

/// The files on this machine that are dragged.
QStringList localFiles(const QMimeData& dragged);
/// Looks at the heads of the files.
DroppedFiles sortDropped(const QStringList& paths);
