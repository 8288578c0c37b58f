#pragma once

#include "workbench/inspectiondata/project/ProjectDescription.h"
#include "workbench/inspectiondata/project/Result.h"

/// The list of a project's epochs, as it grows and shrinks. Nothing is stored here.
namespace inspection {

/// The project with one more epoch: dated ones oldest first, the others behind them. Fails for a date that is
/// none, a key that another epoch has, and rasters that cannot be opened or, of the surface model, say not
/// where they lie.
Result<ProjectDescription> withEpoch(const ProjectDescription& project, const Epoch& epoch);

/// The project without that epoch; a chosen pair that it belongs to is chosen no more. Fails when there is no
/// such epoch or only two are left.
Result<ProjectDescription> withoutEpoch(const ProjectDescription& project, const QString& key);

} // namespace inspection
