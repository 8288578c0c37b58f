#pragma once

#include "host/Export.h"
#include "workbench/inspectiondata/creation/ProjectPlan.h"

#include <utility>

namespace inspection {

/// The files of "SURFACE[,PICTURE]", the second empty where there is none. A comma divides only when the whole is no
/// file.
INSPECTIONDATA_API std::pair<QString, QString> epochFiles(const QString& text);

/// An epoch in one text: "[[DATE]=]SURFACE[,PICTURE]". What stands before "=" counts as a date when it looks like one, so
/// that a path may hold "=".
INSPECTIONDATA_API NewEpoch epochOf(const QString& text);

} // namespace inspection
