#pragma once

#include "cli/Command.h"
#include "workbench/inspectiondata/database/PipelineDatabase.h"
#include "workbench/inspectiondata/project/Project.h"

#include <memory>
#include <string>

namespace cli {

/// A project with its database.
struct OpenedProject {
    inspection::Project project;
    std::unique_ptr<inspection::PipelineDatabase> database;
};

/// Opens both, or says in one line why not.
inspection::Result<OpenedProject> openProject(const std::string& folder, inspection::Project::Access access);

/// Writes "corridor COMMAND: message" to standard error; the exit status of a failed command.
int fail(const char* command, const inspection::Failure& failure);

} // namespace cli
