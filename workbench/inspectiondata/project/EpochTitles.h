#pragma once

#include "host/Export.h"
#include "workbench/inspectiondata/project/ProjectDescription.h"

#include <QStringList>

/// What windows call the epochs of a project.
namespace inspection {

/// In the order of the project: dates, or 前期 for the first and 后期 for a later one of which none is known. Where two would
/// be alike, the file of the surface model stands beside it, with as many of its folders as tell them apart.
INSPECTIONDATA_API QStringList epochTitles(const ProjectDescription& project);

/// "2024-05-18 → 2025-05-20", with the titles of the epochs.
INSPECTIONDATA_API QString pairTitle(const ProjectDescription& project, const EpochPair& pair);

} // namespace inspection
