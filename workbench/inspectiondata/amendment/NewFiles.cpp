#include "workbench/inspectiondata/amendment/NewFiles.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

namespace inspection {

NewFiles::~NewFiles() {
    for (const QString& file : m_files) {
        QFile::remove(file);
        QDir().rmpath(QFileInfo(file).absolutePath()); // only folders that are empty
    }
}

Status NewFiles::add(const QString& file) {
    const QString folder = QFileInfo(file).absolutePath();
    if (!QDir().mkpath(folder)) {
        return fileFailure(folder, "cannot be created", "无法创建文件夹");
    }
    m_files << file;
    return {};
}

} // namespace inspection
