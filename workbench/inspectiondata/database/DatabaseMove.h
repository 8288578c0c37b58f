#pragma once

#include "host/Export.h"
#include "workbench/inspectiondata/project/Project.h"
#include "workbench/inspectiondata/project/Result.h"

#include <functional>

namespace inspection {

/// Called with the done part of the work, 0..1; false stops it.
using DatabaseMoveProgress = std::function<bool(double)>;

struct DatabaseMove {
    qint64 rows = 0;      ///< that were moved
    QString keptDatabase; ///< where the tables as they were still lie, without a password
};

/// Copies all tables of an exclusively opened project, ids included, into the database `target`: a server's
/// address, or the path of a SQLite file, which may be relative to the folder. Then names it in project.json.
/// The copy is one transaction; it is read back and compared with the original by count and checksum of each
/// table before it is completed. A database that holds tables of a project is refused.
///
/// The earlier database is kept: a SQLite file under another name beside it, so that the project can come
/// back there, tables on a server where they are. Whatever stops the work before project.json is replaced,
/// which happens at once, leaves the project with its earlier database; new tables on a server may stay
/// behind empty.
INSPECTIONDATA_API Result<DatabaseMove> moveDatabase(Project& project, const QString& target,
                                                     const DatabaseMoveProgress& progress);

} // namespace inspection
