#include "cli/MissingNote.h"

#include "cli/Command.h"

#include "workbench/inspectiondata/amendment/MissingFiles.h"

#include <cstdio>

namespace cli {

using inspection::MissingFile;
using inspection::ProjectDescription;

namespace {

QString mending(const ProjectDescription& project, const MissingFile& file) {
    return QStringLiteral("文件不存在（%1）；若已移动：corridor project set %2 %3")
        .arg(file.title(), project.folder, file.option());
}

} // namespace

inspection::Status needSurfaces(const ProjectDescription& project) {
    for (const MissingFile& file : inspection::missingFiles(project)) {
        if (file.sort == MissingFile::Sort::Surface && project.pair().names(file.epoch)) {
            return inspection::fileFailure(file.path, "no such file", mending(project, file));
        }
    }
    return {};
}

void tellMissingFiles(const char* command, const ProjectDescription& project) {
    for (const MissingFile& file : inspection::missingFiles(project)) {
        note(command, file.path + QStringLiteral("：") + mending(project, file));
    }
}

} // namespace cli
