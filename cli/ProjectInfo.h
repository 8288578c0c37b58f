#pragma once

#include "workbench/inspectiondata/project/Result.h"

#include <QJsonObject>
#include <QString>

namespace cli {

/// What a project holds: name, reference system, epochs, parameters, comparisons of epochs, stations with the
/// results of the compared pair, special objects. "stations" is empty while the project has no database yet.
inspection::Result<QJsonObject> projectInfo(const QString& folder);

/// What a raster holds: driver, size, cell size, reference system, bounds, bands and no-data.
inspection::Result<QJsonObject> rasterInfo(const QString& file);

} // namespace cli
