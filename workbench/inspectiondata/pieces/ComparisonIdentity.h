#pragma once

#include "workbench/inspectiondata/project/ProjectDescription.h"
#include "workbench/inspectiondata/project/Result.h"

#include <QJsonObject>
#include <QString>

namespace inspection {

/// What results depend on besides the stations, so that those of one machine are known as another's, wherever the files lie
/// there: `pair` (keys), `crs`, `parameters` (of detection, as project.json has them), and of the two surface models `old`
/// and `new`, SHA-256 over size of the file, grid, and the first cells of 64 tiles. Fails when one cannot be read.
Result<QJsonObject> comparisonIdentity(const ProjectDescription& project);

/// Fails, and names `file` and what differs, when what it holds belongs to another comparison.
Status expectIdentity(const QString& file, const QJsonObject& found, const QJsonObject& expected);

} // namespace inspection
