#pragma once

#include "host/Export.h"
#include "workbench/inspectiondata/project/ForeignPlace.h"
#include "workbench/inspectiondata/project/ProjectDescription.h"
#include "workbench/inspectiondata/project/Result.h"

/// A project may have come from somebody else, and name what it likes. Beyond its own folder it gets nothing but places
/// that the user of this machine has agreed to, or has named himself; these are remembered in his settings, for each
/// project. docs/security.md has the whole.
namespace inspection {

/// The places that opening the project would lead to and that nobody has agreed to yet. Opens nothing outside of the folder
/// but virtual rasters in places that are trusted already, so that agreeing may bring up others. Empty for a folder that
/// is no project. Any thread.
INSPECTIONDATA_API ForeignPlaces untrustedPlaces(const QString& folder);

/// Remembers the user's consent. Fails when the settings cannot be written.
INSPECTIONDATA_API Status trustPlaces(const QString& folder, const ForeignPlaces& places);

/// Agrees to all places that the project leads to, and tells which were new; for a project that its user has made here.
INSPECTIONDATA_API Result<ForeignPlaces> trustProject(const QString& folder);

/// Agrees to what the project names now and did not before: its user has just named it himself.
void trustNewlyNamed(const ProjectDescription& before, const ProjectDescription& now);

/// Fails with the first place that is not trusted.
Status needTrust(const QString& folder);

} // namespace inspection
