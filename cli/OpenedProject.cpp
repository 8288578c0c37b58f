#include "cli/OpenedProject.h"

#include <cstdio>

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

std::variant<Options, int> beginCommand(const char* command, const char* usage,
                                        const std::vector<std::string>& arguments, const OptionTable& table) {
    WrongUse wrong;
    auto options = parseOptions(arguments, table, wrong);
    if (!options) {
        return fail(command, statusWrongUse, wrong.message);
    }
    if (options->has("--help")) {
        std::fputs(usage, stdout);
        return statusDone;
    }
    return *std::move(options);
}

int fail(const char* command, int status, const std::string& message) {
    std::fprintf(stderr, "corridor %s: %s\n", command, message.c_str());
    return status;
}

int fail(const char* command, const Failure& failure) {
    return fail(command, statusFailed, failure.userMessage.simplified().toStdString());
}

} // namespace cli
