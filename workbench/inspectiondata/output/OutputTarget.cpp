#include "workbench/inspectiondata/output/OutputTarget.h"

#include "detect/TouchedFiles.h"
#include "workbench/inspectiondata/project/ProjectFile.h"

namespace inspection {

namespace {

std::vector<std::string> filesOf(const ProjectDescription& project) {
    QStringList files{projectFile(project.folder), project.databaseFile(), project.centerline,
                      project.folder + QStringLiteral("/special.gpkg")};
    for (const Epoch& epoch : project.epochs) {
        files << epoch.dsm << epoch.dom;
    }
    for (const BaseLayer& layer : project.baseLayers) {
        files << localPath(layer.source);
    }
    std::vector<std::string> names;
    for (const QString& file : files) {
        names.push_back(file.toStdString());
    }
    return names;
}

} // namespace

Status checkTargets(const QStringList& targets, const ProjectDescription& project) {
    std::vector<std::string> names;
    for (const QString& target : targets) {
        names.push_back(target.toStdString());
    }
    const auto distinct = detect::checkOutputs(names, filesOf(project));
    return distinct ? Status() : sayAgain(distinct.error());
}

Result<detect::StagedOutput> stageBeside(const QString& target) {
    auto staged = detect::StagedOutput::beside(target.toStdString());
    return staged ? Result<detect::StagedOutput>(*std::move(staged)) : sayAgain(staged.error());
}

Status commit(const detect::StagedOutput& output) {
    const auto done = output.commit();
    return done ? Status() : sayAgain(done.error());
}

} // namespace inspection
