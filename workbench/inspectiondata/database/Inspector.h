#pragma once

#include "host/Export.h"
#include "workbench/inspectiondata/project/ProjectDescription.h"

#include <QString>

namespace inspection {

/// Who edits in this project folder, as edits on a server are signed: "user@host:folder". Only one program at
/// a time writes through a folder. Empty, but not null, where the database lies in a file: whoever opens it
/// continues the same work, wherever the folder has been moved to.
INSPECTIONDATA_API QString inspectorOf(const ProjectDescription& project);

/// "user@host", and the folder, too, of who has the same user and host as `own`.
INSPECTIONDATA_API QString shownInspector(const QString& inspector, const QString& own = {});

} // namespace inspection
