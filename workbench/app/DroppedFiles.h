#pragma once

#include <QStringList>

/// What a user has dropped on the window.
struct DroppedFiles {
    QString project;     ///< folder of the first project among it; empty when there is none
    QStringList rasters; ///< rasters, other folders, and what is no vector file either
    QStringList vectors;
};

/// Looks at the heads of the files.
DroppedFiles sortDropped(const QStringList& paths);
