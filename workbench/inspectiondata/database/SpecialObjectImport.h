#pragma once

#include "host/Export.h"
#include "workbench/inspectiondata/database/SpecialObjectFile.h"
#include "workbench/inspectiondata/project/ProjectDescription.h"

namespace inspection {

/// How an import ended.
struct SpecialObjectImport {
    int stored = 0;
    QStringList refusals; ///< as SpecialObjectRows has them
    QStringList notes;
};

/// Reads a file's special objects and stores them in the project's database, in one transaction. Points
/// without a height stand on the newest surface. With
/// `allOrNone` nothing is stored when a row is refused. Fails, with nothing stored, when the file cannot be
/// read, the database refuses, or on the user's stop.
INSPECTIONDATA_API Result<SpecialObjectImport>
importSpecialObjects(const ProjectDescription& project, const SpecialObjectFile& file, bool allOrNone,
                     mysqlhelper::KV_MySQL& database, const SpecialObjectProgress& progress);

/// Reads the high-consequence areas of a new project from layer "high_consequence" of special.gpkg in its
/// folder; without that file there are none. The project opens also when some of them, or the file, are
/// refused; the log says so. In no transaction of its own. Throws KV_MySQL_Exception when the database
/// refuses.
void importHighConsequenceAreas(const ProjectDescription& project, mysqlhelper::KV_MySQL& database);

} // namespace inspection
