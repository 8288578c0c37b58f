#pragma once

#include "host/Export.h"
#include "workbench/inspectiondata/creation/ProjectPlan.h"

namespace inspection {

/// An epoch in one text: "[DATE=]SURFACE[,PICTURE]". What stands before "=" counts as a date when it looks like one, so
/// that a path may hold "="; a comma divides only when the whole is no file.
INSPECTIONDATA_API NewEpoch epochOf(const QString& text);

} // namespace inspection
