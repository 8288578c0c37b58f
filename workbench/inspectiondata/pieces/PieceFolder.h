#pragma once

#include "detect/Detection.h"
#include "workbench/inspectiondata/project/ProjectDescription.h"
#include "workbench/inspectiondata/project/Result.h"

#include <QByteArray>
#include <QJsonObject>
#include <QString>

/// A piece of a computation in a folder: inspection.db with the stations of the whole project and the results of the
/// piece's, their rasters under output/ as in a project, and piece.json, which says what comparison it is a piece of
/// (ComparisonIdentity.h) and has the SHA-256 of every other file.
namespace inspection {

/// A project that lies in a piece's folder: what is computed in it reaches nothing of the project itself. Its epochs have
/// the project's keys for dates, so that they are called the same wherever the folder lies.
ProjectDescription projectInPiece(const ProjectDescription& project, const QString& folder);

/// Writes piece.json when all other files are written and closed.
Status sealPiece(const QString& folder, const QJsonObject& comparison,
                 const detect::Coregistration& coregistration);

/// What piece.json says.
struct PieceSeal {
    QJsonObject comparison;
    QString coregistration; ///< SHA-256 of the co-registration that its stations were searched with
};

/// Fails for a folder that is no piece, and where a file is missing, too many, or not as it was sealed.
Result<PieceSeal> readSeal(const QString& folder);

/// Fails when not all can be written.
Status writeWhole(const QString& file, const QByteArray& bytes);

} // namespace inspection
