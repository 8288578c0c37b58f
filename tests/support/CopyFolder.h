#pragma once

#include <gtest/gtest.h>

#include <QDir>
#include <QDirIterator>
#include <QFile>

/// Copies all files below a folder to another one, which is made.
inline void copyFolder(const QString& from, const QString& to) {
    QDirIterator files(from, QDir::Files, QDirIterator::Subdirectories);
    while (files.hasNext()) {
        const QString target = QDir(to).filePath(QDir(from).relativeFilePath(files.next()));
        EXPECT_TRUE(QDir().mkpath(QFileInfo(target).path()));
        EXPECT_TRUE(QFile::copy(files.filePath(), target)) << target.toStdString();
    }
}
