#pragma once

#include "cli/Options.h"
#include "workbench/inspection/database/PipelineDatabase.h"
#include "workbench/inspection/project/Project.h"

#include <memory>
#include <string>
#include <variant>
#include <vector>

namespace cli {

/// A project with its database.
struct OpenedProject {
    inspection::Project project;
    std::unique_ptr<inspection::PipelineDatabase> database;
};

/// Opens both, or says in one line why not.
inspection::Result<OpenedProject> openProject(const std::string& folder, inspection::Project::Access access);

/// How a command begins: sorts its arguments, and says what is wrong with them or prints `usage` for
/// "--help". Gives the options, or the exit status where the command ends with that.
std::variant<Options, int> beginCommand(const char* command, const char* usage,
                                        const std::vector<std::string>& arguments, const OptionTable& table);

/// Writes "corridor COMMAND: message" to standard error and hands `status` back.
int fail(const char* command, int status, const std::string& message);
int fail(const char* command, const inspection::Failure& failure);

} // namespace cli
