#include "workbench/inspectiondata/creation/CreateProject.h"

#include "workbench/inspectiondata/creation/CenterlineFile.h"
#include "workbench/inspectiondata/creation/FolderInTheMaking.h"
#include "workbench/inspectiondata/creation/ProjectRasters.h"
#include "workbench/inspectiondata/database/PipelineDatabase.h"
#include "workbench/inspectiondata/project/ProjectFile.h"
#include "workbench/inspectiondata/project/RasterPlace.h"
#include "workbench/inspectiondata/project/TrustedPlaces.h"

#include <QDir>
#include <QFileInfo>

namespace inspection {

namespace {

Status checkFolder(const QString& folder) {
    const QFileInfo info(folder);
    if (info.exists() && !info.isDir()) {
        return fileFailure(folder, "is a file", "是文件，不是文件夹");
    }
    if (info.exists() && !QDir(folder).isEmpty(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot)) {
        return fileFailure(folder, "is not empty", "文件夹不是空的");
    }
    if (!QDir().mkpath(info.absolutePath())) {
        return fileFailure(info.absolutePath(), "cannot be created", "无法创建文件夹");
    }
    return {};
}

Result<std::vector<SpecialObjectImport>> importObjects(const ProjectDescription& project,
                                                       const std::vector<SpecialObjectFile>& objects,
                                                       const CreationProgress& progress) {
    std::vector<SpecialObjectImport> imports;
    if (objects.empty()) {
        return imports;
    }
    const auto database = PipelineDatabase::open(project, Project::Access::Exclusive);
    if (!database) {
        return failed(database);
    }
    for (SpecialObjectFile file : objects) {
        file.crs = file.crs.isEmpty() ? project.crs : file.crs;
        auto imported = importSpecialObjects(project, file, false, *(*database)->GetMySQL(),
                                             [&](double) { return !progress || progress(1.0); });
        if (!imported) {
            return failed(imported);
        }
        imports.push_back(*std::move(imported));
    }
    return imports;
}

Result<ProjectDescription> writeProject(const QString& folder, const ProjectPlan& plan, QStringList& notes,
                                        const CreationProgress& progress) {
    ProjectDescription project;
    project.folder = folder;
    project.name = plan.name;
    project.crs = definitionOf(plan.surveys.reference);
    project.centerline = folder + QStringLiteral("/centerline.gpkg");
    const WorkProgress worked = workProgress(plan.surveys.epochs, plan.copiesFiles, progress);
    const QString epochs = folder + QStringLiteral("/epochs");
    for (const PlannedEpoch& epoch : plan.surveys.epochs) {
        const QString own = epochs + '/' + folderNameOf(epoch, project.epochs.size() + 1);
        auto placed = placeRasters(own, epoch, plan.copiesFiles, worked);
        if (!placed) {
            return failed(placed);
        }
        QDir().rmdir(own); // goes when it stayed empty
        notes << placed->notes;
        project.epochs.push_back(placed->epoch);
    }
    QDir().rmdir(epochs);
    if (auto done =
            writeCenterlineFile(project.centerline, plan.surveys.reference, plan.centerline, plan.stations);
        !done) {
        return failed(done);
    }
    if (auto done = writeProjectFile(project); !done) {
        return failed(done);
    }
    return project;
}

bool hasRasters(const Epoch& epoch, const QString& dsm, const QString& dom) {
    return epoch.dsm == absoluteRaster(dsm) && epoch.dom == absoluteRaster(dom);
}

bool sameRasters(const ProjectDescription& project, const RasterPair& rasters) {
    return hasRasters(project.oldEpoch(), rasters.oldDsm, rasters.oldDom) &&
           hasRasters(project.newEpoch(), rasters.newDsm, rasters.newDom);
}

/// The pair of the project that these rasters make; nothing when it is not among them.
std::optional<EpochPair> pairOf(const ProjectDescription& project, const RasterPair& rasters) {
    for (const EpochPair& pair : project.pairs()) {
        if (sameRasters(project.comparing(pair).value_or(project), rasters)) {
            return pair;
        }
    }
    return std::nullopt;
}

Result<Project> openWithRasters(const QString& folder, const RasterPair& rasters) {
    auto project = Project::open(folder);
    if (!project || sameRasters(project->description(), rasters)) {
        return project;
    }
    const auto pair = pairOf(project->description(), rasters);
    if (!pair) {
        return fileFailure(folder, "the folder already holds a project of other rasters",
                           "该文件夹中已有其他数据的项目");
    }
    if (auto done = project->setComparedPair(*pair); !done) {
        return failed(done);
    }
    return project;
}

} // namespace

Result<CreatedProject> createProject(const QString& folder, const ProjectPlan& plan,
                                     const CreationProgress& progress) {
    const QString target = QDir::cleanPath(QDir(folder).absolutePath());
    if (auto done = checkFolder(target); !done) {
        return failed(done);
    }
    FolderInTheMaking making(target);
    if (!making.isThere()) {
        return fileFailure(target, "cannot be created, its folder cannot be written",
                           "无法创建文件夹，上级文件夹不可写");
    }
    QStringList notes;
    const auto written = writeProject(making.path(), plan, notes, progress);
    if (!written) {
        return failed(written);
    }
    auto imports = importObjects(*written, plan.objects, progress);
    if (!imports) {
        return failed(imports);
    }
    if (progress && !progress(1.0)) {
        return cancelled();
    }
    if (auto done = making.takePlace(); !done) {
        return failed(done);
    }
    if (const auto trusted = trustProject(target); !trusted) { // asked for when it is opened the next time
        notes << trusted.error().userMessage;
    }
    auto project = Project::open(target, Project::Access::Exclusive, Project::Trust::Given);
    if (!project) {
        return failed(project);
    }
    return CreatedProject{*std::move(project), *std::move(imports), notes};
}

Result<Project> openOrCreateProject(const QString& folder, const RasterPair& rasters) {
    if (QFileInfo::exists(projectFile(folder))) {
        return openWithRasters(folder, rasters);
    }
    NewProject wish;
    wish.epochs = {{{}, rasters.oldDsm, rasters.oldDom}, {{}, rasters.newDsm, rasters.newDom}};
    wish.isInOrder = true;
    const auto plan = planProject(wish);
    if (!plan) {
        return failed(plan);
    }
    auto created = createProject(folder, *plan);
    if (!created) {
        return failed(created);
    }
    return std::move(created->project);
}

} // namespace inspection
