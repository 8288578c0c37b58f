#pragma once

#include "host/Export.h"
#include "workbench/inspectiondata/project/ProjectDescription.h"
#include "workbench/inspectiondata/project/Result.h"

#include <QJsonObject>

/// project.json, read and written.
namespace inspection {

/// Path of the file in a project folder.
QString projectFile(const QString& folder);

/// A path as project.json has it: within the folder relative to it.
QString storedPath(const QString& folder, const QString& path);

/// A database as ProjectDescription holds it. The path of a SQLite file may be relative to the folder.
QString absoluteDatabase(const QString& folder, const QString& database);

/// The parameters as project.json has them.
INSPECTIONDATA_API QJsonObject parametersAsStored(const ProjectParameters& parameters);

/// Fails for a file that is missing, not a project, incomplete or of a newer version.
Result<ProjectDescription> readProjectFile(const QString& folder);

/// Writes the file anew, wholly or not at all. Paths in the folder are stored relative to it. What the file
/// holds beyond the description is kept.
Status writeProjectFile(const ProjectDescription& project);

/// The note of a relayout in the database, with which a project file begins to count; see PendingProjectFile.h.
struct DueRevision {
    std::int64_t revision = 0;
    QString inspector;
};

/// What the text of such a file says. Fails for one that is no project, incomplete or of a newer version; `file` is named
/// then.
Result<ProjectDescription> projectOf(const QByteArray& text, const QString& folder, const QString& file);
/// The text of such a file; what `earlier` holds beyond the description is kept.
QByteArray textOf(const ProjectDescription& project, const std::optional<DueRevision>& due,
                  const QJsonObject& earlier = {});

/// The same with another file than project.json, whose further contents are kept all the same.
Result<ProjectDescription> readProjectFile(const QString& folder, const QString& file);
Status writeProjectFile(const ProjectDescription& project, const QString& file,
                        const std::optional<DueRevision>& due);
/// Nothing for a file that counts anyway.
Result<std::optional<DueRevision>> readDueRevision(const QString& file);

} // namespace inspection
