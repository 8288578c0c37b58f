#pragma once

#include "host/inspection/Station.h"
#include "workbench/inspectiondata/compute/StationDetection.h"
#include "workbench/inspectiondata/project/ProjectDescription.h"
#include "workbench/inspectiondata/project/Result.h"

#include <QJsonObject>
#include <QString>

#include <vector>

namespace inspection {

/// What a piece (PieceFolder.h) holds.
struct PieceResults {
    QString folder;
    QString coregistrationDigest;          ///< of all of it
    detect::Coregistration coregistration; ///< what is stored of it with each station
    std::vector<StationChanges> stations;  ///< by id, at least one; rasters with absolute paths in the folder
};

/// Reads a piece of the project's comparison, which comparisonIdentity() gives. Fails when the folder is none, when anything
/// in it is not as a computation leaves it, and when the project's rasters, parameters or stations are others now.
Result<PieceResults> readPiece(const ProjectDescription& project, const QJsonObject& identity,
                               const std::vector<KV_Station>& stations, const QString& folder);

} // namespace inspection
