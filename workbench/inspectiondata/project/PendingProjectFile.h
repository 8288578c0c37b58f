#pragma once

#include "workbench/inspectiondata/project/ProjectFile.h"

/// A project.json that begins to count together with a transaction of the database. It lies beside project.json before
/// the transaction is stored and takes its place afterwards. Whoever is killed in between leaves both, and the next one
/// who opens the project asks the database which of them counts: the one that lies beside when the transaction has left
/// its note in table "edit_history".
namespace inspection {

/// The subject of that note.
constexpr auto kRelayoutSubject = "station";

/// Path of the file.
QString pendingProjectFile(const QString& folder);
/// Writes it. On failure there is none.
Status writePendingProjectFile(const ProjectDescription& project, const DueRevision& due);
/// Puts it in the place of project.json, at once.
Status takePendingProjectFile(const QString& folder);
/// Removes it, and the centre line that it alone names.
void dropPendingProjectFile(const QString& folder);

/// Takes or drops what somebody left. Fails when the database cannot be asked. The folder's lock must be held.
Status settleProjectFile(const QString& folder);
/// Reads the one that counts, and changes nothing. Where the database cannot be asked, project.json counts.
Result<ProjectDescription> readCountingProjectFile(const QString& folder);

} // namespace inspection
