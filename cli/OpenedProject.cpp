#include "cli/OpenedProject.h"

namespace cli {

using inspection::Failure;
using inspection::PipelineDatabase;
using inspection::Project;

inspection::Result<OpenedProject> openProject(const std::string& folder, Project::Access access) {
    auto project = Project::open(QString::fromStdString(folder), access);
    if (const auto* failure = std::get_if<Failure>(&project)) {
        return *failure;
    }
    auto database = PipelineDatabase::open(std::get<Project>(project).description(), access);
    if (const auto* failure = std::get_if<Failure>(&database)) {
        return *failure;
    }
    return OpenedProject{std::move(std::get<Project>(project)),
                         std::move(std::get<std::unique_ptr<PipelineDatabase>>(database))};
}

int fail(const char* command, const Failure& failure) {
    return fail(command, kStatusFailed, failure.userMessage.simplified().toStdString());
}

} // namespace cli
