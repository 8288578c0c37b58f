#pragma once

#include "host/inspection/KV_MySQL.h"
#include "workbench/inspectiondata/project/ProjectDescription.h"
#include "workbench/inspectiondata/project/Result.h"

#include <QStringList>

namespace inspection {

/// Paths of the rasters of elevation differences and of local fields in the folders of stations, also of earlier
/// ones, that no result names, as the database is now. Throws KV_MySQL_Exception.
QStringList unnamedRasters(const ProjectDescription& project, mysqlhelper::KV_MySQL& database);

/// Copies a raster, whole or not at all; makes the folder of the copy.
Status copyRaster(const QString& from, const QString& to);

} // namespace inspection
