#pragma once

#include <QByteArray>
#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

/// A working directory of the test's own, with the markers' icons and without an attribute history.
class WorkingDirectory {
public:
    WorkingDirectory() : m_before(QDir::currentPath()) {
        EXPECT_TRUE(QFile::link(QCoreApplication::applicationDirPath() + "/icon", file("icon")));
        EXPECT_TRUE(QDir::setCurrent(m_folder.path()));
    }
    ~WorkingDirectory() { QDir::setCurrent(m_before); }
    WorkingDirectory(const WorkingDirectory&) = delete;
    WorkingDirectory& operator=(const WorkingDirectory&) = delete;

    QString file(const QString& name) const { return m_folder.filePath(name); }
    /// What record.txt holds.
    QByteArray history() const {
        QFile record(file("record.txt"));
        EXPECT_TRUE(record.open(QIODevice::ReadOnly));
        return record.readAll();
    }

private:
    QTemporaryDir m_folder;
    const QString m_before;
};
