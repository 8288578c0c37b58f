#pragma once

#include "host/Export.h"
#include "workbench/inspectiondata/creation/ProjectPlan.h"
#include "workbench/inspectiondata/database/SpecialObjectImport.h"
#include "workbench/inspectiondata/project/Project.h"

#include <functional>

namespace inspection {

/// Told how much is done, 0..1; false ends the work.
using CreationProgress = std::function<bool(double fraction)>;

/// A new project, open, and what came of each file of special objects.
struct CreatedProject {
    Project project;
    std::vector<SpecialObjectImport> imports; ///< as the plan's objects
    QStringList notes;                        ///< what came out of point clouds, Chinese lines
};

/// Makes the project in `folder`, which must not exist or be empty, and opens it. It comes into being under another
/// name beside the folder and takes its place when it is complete: a failure, the user's stop or the end of the process
/// leaves no half project. Fails for a folder that holds something or cannot be made, for objects that cannot be read,
/// and on a full disk.
INSPECTIONDATA_API Result<CreatedProject> createProject(const QString& folder, const ProjectPlan& plan,
                                                        const CreationProgress& progress = {});

/// Two surface models, with their orthophotos where there are any.
struct RasterPair {
    QString oldDsm;
    QString newDsm;
    QString oldDom;
    QString newDom;
};

/// A project of two rasters in the order in which they are given, with stations over their overlap. A project
/// in `folder` that has these rasters is opened, with them as its chosen pair.
INSPECTIONDATA_API Result<Project> openOrCreateProject(const QString& folder, const RasterPair& rasters);

} // namespace inspection
