#include "cli/OpenedProject.h"

namespace cli {

using inspection::Failure;
using inspection::PipelineDatabase;
using inspection::Project;

inspection::Result<OpenedProject> openProject(const std::string& folder, Project::Access access) {
    auto project = Project::open(QString::fromStdString(folder), access);
    if (!project) {
        return failed(project);
    }
    auto database = PipelineDatabase::open(project->description(), access);
    if (!database) {
        return failed(database);
    }
    return OpenedProject{std::move(*project), std::move(*database)};
}

int fail(const char* command, const Failure& failure) {
    return fail(command, kStatusFailed, failure.userMessage.simplified().toStdString());
}

} // namespace cli
