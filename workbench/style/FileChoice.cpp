#include "workbench/style/FileChoice.h"

#include "workbench/style/Settings.h"

#include <QFileDialog>
#include <QFileInfo>
#include <QStandardPaths>

#include <utility>

namespace {

QString folderOf(const QString& path) {
    const QFileInfo info(path);
    return info.isDir() ? info.absoluteFilePath() : info.absolutePath();
}

} // namespace

FileChoice::FileChoice(QWidget* parent, QString purpose, QString title)
    : m_parent(parent), m_key("files/" + std::move(purpose)), m_title(std::move(title)) {}

FileChoice& FileChoice::beginAt(const QString& path) {
    m_start = path;
    return *this;
}

FileChoice& FileChoice::filters(const QString& filters) {
    m_filters = filters;
    return *this;
}

QString FileChoice::existingFile() {
    const QString file = QFileDialog::getOpenFileName(m_parent, m_title, place(), m_filters);
    keep(file);
    return file;
}

QStringList FileChoice::existingFiles() {
    const QStringList files = QFileDialog::getOpenFileNames(m_parent, m_title, place(), m_filters);
    keep(files.value(0));
    return files;
}

QString FileChoice::existingFolder() {
    const QString folder = QFileDialog::getExistingDirectory(m_parent, m_title, place());
    keep(folder);
    return folder;
}

QString FileChoice::place() const {
    for (const QString& path : {m_start, Settings().value(m_key).toString()}) {
        if (!path.isEmpty() && QFileInfo::exists(path)) {
            return folderOf(path);
        }
    }
    return QStandardPaths::writableLocation(QStandardPaths::DocumentsLocation);
}

void FileChoice::keep(const QString& chosen) const {
    if (!chosen.isEmpty()) {
        Settings().setValue(m_key, folderOf(chosen));
    }
}
