// project.json: what is read from one is read again from the file that is written of it.
#include "detect/GdalErrors.h"
#include "tests/fuzz/Input.h"
#include "workbench/inspectiondata/project/ProjectFile.h"

namespace {

const QString& folder() {
    static const QString name = QStringLiteral("/project");
    return name;
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int* /*argc*/, char*** /*argv*/) {
    detect::silenceLibraries();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const QByteArray bytes(reinterpret_cast<const char*>(data), static_cast<qsizetype>(size));
    const auto project = inspection::projectOf(bytes, folder(), QStringLiteral("project.json"));
    if (!project) {
        return 0;
    }
    project->databaseUrl();
    fuzz::require(project->findEpoch(project->pair().older) && project->findEpoch(project->pair().newer));
    const QByteArray text = inspection::textOf(*project, std::nullopt);
    const auto again = inspection::projectOf(text, folder(), QStringLiteral("project.json"));
    fuzz::require(again && inspection::textOf(*again, std::nullopt) == text);
    return 0;
}
