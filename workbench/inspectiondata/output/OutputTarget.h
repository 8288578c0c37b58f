#pragma once

#include "detect/StagedOutput.h"
#include "workbench/inspectiondata/project/ProjectDescription.h"
#include "workbench/inspectiondata/project/Result.h"

#include <QString>
#include <QStringList>

namespace inspection {

/// That writing these files replaces none that the project is made of.
Status checkTargets(const QStringList& targets, const ProjectDescription& project);

/// A place beside the target to write it in; see detect/StagedOutput.h.
Result<detect::StagedOutput> stageBeside(const QString& target);

/// The files written there take their places, all or none.
Status commit(const detect::StagedOutput& output);

} // namespace inspection
