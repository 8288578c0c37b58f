#pragma once

#include "detect/Detection.h"
#include "host/Export.h"
#include "workbench/inspectiondata/project/ProjectDescription.h"
#include "workbench/inspectiondata/project/Result.h"

#include <QString>

/// A file with the co-registration of a project's compared pair, so that all pieces of a computation need not look for it
/// each: JSON of what it belongs to (ComparisonIdentity.h) and what was found (detect/output/CoregistrationText.h).
namespace inspection {

/// Replaces the file, wholly or not at all.
INSPECTIONDATA_API Status writeCoregistrationFile(const ProjectDescription& project,
                                                  const detect::Coregistration& coregistration,
                                                  const QString& file);

/// Exactly what was written. Fails for a file that is none, and for one of other rasters or parameters.
INSPECTIONDATA_API Result<detect::Coregistration> readCoregistrationFile(const ProjectDescription& project,
                                                                         const QString& file);

} // namespace inspection
