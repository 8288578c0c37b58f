#pragma once

#include "workbench/inspectiondata/project/ProjectDescription.h"
#include "workbench/inspectiondata/project/Result.h"

namespace cli {

/// Fails when a surface model of the compared pair is not there: names it, and the command that tells the project where
/// it lies now.
inspection::Status needSurfaces(const inspection::ProjectDescription& project);

/// Writes the same to standard error, a line for each file that the project names and that is not there.
void tellMissingFiles(const char* command, const inspection::ProjectDescription& project);

} // namespace cli
