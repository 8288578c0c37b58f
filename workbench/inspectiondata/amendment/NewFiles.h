#pragma once

#include "workbench/inspectiondata/project/Result.h"

#include <QStringList>

namespace inspection {

/// Files that become valid with something that names them. Unless they are kept, the destructor removes them.
class NewFiles {
public:
    NewFiles() = default;
    ~NewFiles();
    NewFiles(const NewFiles&) = delete;
    NewFiles& operator=(const NewFiles&) = delete;

    /// The folder for the file is made. Fails when it cannot be.
    Status add(const QString& file);
    void keep() { m_files.clear(); }

private:
    QStringList m_files;
};

} // namespace inspection
