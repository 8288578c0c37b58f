#include "workbench/inspectiondata/pieces/ComputePiece.h"

#include "workbench/inspectiondata/creation/FolderInTheMaking.h"
#include "workbench/inspectiondata/database/PipelineDatabase.h"
#include "workbench/inspectiondata/database/Schema.h"
#include "workbench/inspectiondata/database/StationTable.h"
#include "workbench/inspectiondata/pieces/ComparisonIdentity.h"
#include "workbench/inspectiondata/pieces/ComputationPlan.h"
#include "workbench/inspectiondata/pieces/PieceFolder.h"

#include <QDir>
#include <QFileInfo>

namespace inspection {

using mysqlhelper::KV_MySQL;
using mysqlhelper::KV_MySQL_Exception;
using mysqlhelper::KV_Record;

namespace {

Unexpected refusal(const KV_MySQL_Exception& exception) {
    const QString cause = QString::fromUtf8(exception.what());
    return Unexpected(Failure{cause, QStringLiteral("数据库操作失败：") + cause});
}

/// Stations first, so that none are looked for in the centre-line file.
Status makeDatabase(const ProjectDescription& inPiece, const std::vector<KV_Station>& stations) {
    try {
        KV_MySQL database(inPiece.databaseUrl().toStdString());
        migrateSchema(database, inPiece.pair());
        KV_MySQL::Transaction transaction(database);
        for (const KV_Station& station : stations) {
            KV_Record row = stationRecord(station);
            row["id"] = std::int64_t{station.m_id};
            database.insertRecord(tableName(KV_STATION), row);
        }
        transaction.commit();
        return {};
    } catch (const KV_MySQL_Exception& exception) {
        return refusal(exception);
    }
}

/// The database is closed, and its file complete, at the end.
Result<ComputationSummary> computeIn(const QString& folder, ComputationRequest request,
                                     const ComputationProgress& progress) {
    const auto stations = readProjectStations(request.project);
    if (!stations) {
        return failed(stations);
    }
    request.project = projectInPiece(request.project, folder);
    request.grouping = Grouping::OfAll;
    if (auto made = makeDatabase(request.project, *stations); !made) {
        return failed(made);
    }
    const auto database = PipelineDatabase::open(request.project, Project::Access::Exclusive);
    if (!database) {
        return failed(database);
    }
    KV_MySQL& sql = *(*database)->GetMySQL();
    auto summary = computeAnomalies(request, sql, progress);
    if (!summary) {
        return summary;
    }
    try {
        sql.queryRecord("pragma journal_mode=delete"); // who reads a piece leaves no file of a log in it
    } catch (const KV_MySQL_Exception& exception) {
        return refusal(exception);
    }
    return summary;
}

Status checkTarget(const QString& folder) {
    const QFileInfo info(folder);
    const bool isFree =
        !info.exists() ||
        (info.isDir() && QDir(folder).isEmpty(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot));
    return isFree ? Status() : fileFailure(folder, "exists already", "已存在");
}

} // namespace

Result<ComputationSummary> computePiece(const ComputationRequest& request, const QString& folder,
                                        const ComputationProgress& progress) {
    const QString target = QDir::cleanPath(QDir(folder).absolutePath());
    if (auto free = checkTarget(target); !free) {
        return failed(free);
    }
    FolderInTheMaking making(target);
    if (!making.isThere()) {
        return fileFailure(target, "cannot be created, its folder cannot be written",
                           "无法创建文件夹，上级文件夹不存在或不可写");
    }
    const auto identity = comparisonIdentity(request.project);
    if (!identity) {
        return failed(identity);
    }
    auto summary = computeIn(making.path(), request, progress);
    if (!summary) {
        return summary;
    }
    if (auto sealed = sealPiece(making.path(), *identity, summary->coregistration); !sealed) {
        return failed(sealed);
    }
    if (auto done = making.takePlace(); !done) {
        return failed(done);
    }
    return summary;
}

} // namespace inspection
