#pragma once

#include "workbench/inspectiondata/project/ProjectDescription.h"
#include "workbench/inspectiondata/project/Result.h"

/// The list of a project's epochs, as it grows and shrinks. Nothing is stored here.
namespace inspection {

/// The project with one more epoch: dated ones oldest first, the others behind them. Fails for a date that is
/// none and a key that another epoch has. The rasters are not looked at.
Result<ProjectDescription> withEpoch(const ProjectDescription& project, const Epoch& epoch);

/// The project without that epoch; a chosen pair that it belongs to is chosen no more. Fails when there is no
/// such epoch or only two are left.
Result<ProjectDescription> withoutEpoch(const ProjectDescription& project, const QString& key);

} // namespace inspection
