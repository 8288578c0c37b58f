#include "workbench/inspectiondata/pieces/PieceResults.h"

#include "detect/output/ParameterText.h"
#include "workbench/inspectiondata/check/CheckProject.h"
#include "workbench/inspectiondata/database/AnomalyTable.h"
#include "workbench/inspectiondata/database/PipelineDatabase.h"
#include "workbench/inspectiondata/database/StationTable.h"
#include "workbench/inspectiondata/pieces/ComparisonIdentity.h"
#include "workbench/inspectiondata/pieces/PieceFolder.h"

#include <QDir>

#include <algorithm>

namespace inspection {

using mysqlhelper::KV_MySQL;
using mysqlhelper::KV_MySQL_Exception;

namespace {

Unexpected damaged(const QString& folder, const QString& cause) {
    return fileFailure(folder, "is damaged: " + cause, "已损坏：" + cause);
}

bool sameGround(const KV_Station& a, const KV_Station& b) {
    return a.m_id == b.m_id && a.m_xMin == b.m_xMin && a.m_yMin == b.m_yMin && a.m_xMax == b.m_xMax &&
           a.m_yMax == b.m_yMax;
}

bool sameGround(const std::vector<KV_Station>& a, const std::vector<KV_Station>& b) {
    return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                      [](const KV_Station& x, const KV_Station& y) { return sameGround(x, y); });
}

/// In the order in which they were found; from the 10000th on names have another.
std::vector<SdiffData> anomaliesOf(KV_MySQL& database, const StationResult& result) {
    std::vector<SdiffData> anomalies = readAnomalies(database, result.stationId, result.pair);
    std::sort(anomalies.begin(), anomalies.end(),
              [](const SdiffData& a, const SdiffData& b) { return a.id < b.id; });
    for (SdiffData& anomaly : anomalies) {
        anomaly.attribute.clear(); // verdicts are the project's affair
    }
    return anomalies;
}

/// Where a project has the rasters of its stations, too.
bool isInItsPlace(const QString& raster) {
    return raster.isEmpty() ||
           (QDir::cleanPath(raster) == raster && raster.startsWith(QLatin1String("output/stations/")));
}

detect::Coregistration coregistrationOf(const StationResult& result) {
    detect::Coregistration coregistration =
        result.summary ? result.summary->report.coregistration : detect::Coregistration();
    coregistration.method =
        detect::methodNamed(result.coregistration.toStdString()).value_or(coregistration.method);
    coregistration.dxMetres = result.dxMetres;
    coregistration.dyMetres = result.dyMetres;
    coregistration.dzMetres = result.dzMetres;
    coregistration.nmadBeforeMetres = result.nmadBeforeMetres;
    coregistration.nmadAfterMetres = result.nmadAfterMetres;
    return coregistration;
}

StationChanges changesOf(const QString& folder, KV_MySQL& database, const StationResult& result) {
    const auto absolute = [&folder](const QString& path) {
        return path.isEmpty() ? QString() : QDir(folder).absoluteFilePath(path);
    };
    StationChanges changes;
    changes.stationId = result.stationId;
    changes.anomalies = anomaliesOf(database, result);
    changes.dzRaster = absolute(result.dzRaster);
    changes.correctionRaster = absolute(result.correctionRaster);
    changes.summary = result.summary;
    changes.stableDifferences = result.stableDifferences;
    changes.computedAt = result.computedAt;
    return changes;
}

Status readResults(KV_MySQL& database, const EpochPair& pair, const std::vector<KV_Station>& stations,
                   PieceResults& piece) {
    for (const KV_Station& station : stations) {
        const auto result = readStationResult(database, station.m_id, pair);
        if (!result) {
            continue;
        }
        if (!isInItsPlace(result->dzRaster) || !isInItsPlace(result->correctionRaster)) {
            return damaged(piece.folder, QStringLiteral("栅格不在其文件夹内"));
        }
        if (piece.stations.empty()) {
            piece.coregistration = coregistrationOf(*result);
        }
        piece.stations.push_back(changesOf(piece.folder, database, *result));
    }
    return piece.stations.empty() ? damaged(piece.folder, QStringLiteral("没有站段的结果")) : Status();
}

Status readTables(const ProjectDescription& inPiece, const std::vector<KV_Station>& stations,
                  PieceResults& piece) {
    const auto opened = PipelineDatabase::open(inPiece, Project::Access::ReadOnly);
    if (!opened) {
        return failed(opened);
    }
    KV_MySQL& database = *(*opened)->GetMySQL();
    if (const Findings findings = checkDatabase(inPiece, database); !findings.empty()) {
        return damaged(piece.folder, findings.front().line());
    }
    if (!sameGround(readStations(database), stations)) {
        return fileFailure(piece.folder, "the project has other stations now", "项目的站段已更改");
    }
    return readResults(database, inPiece.pair(), stations, piece);
}

} // namespace

Result<PieceResults> readPiece(const ProjectDescription& project, const QJsonObject& identity,
                               const std::vector<KV_Station>& stations, const QString& folder) {
    const auto seal = readSeal(folder);
    if (!seal) {
        return failed(seal);
    }
    if (auto same = expectIdentity(folder, seal->comparison, identity); !same) {
        return failed(same);
    }
    PieceResults piece{folder, seal->coregistration, {}, {}};
    try {
        if (auto read = readTables(projectInPiece(project, folder), stations, piece); !read) {
            return failed(read);
        }
    } catch (const KV_MySQL_Exception& exception) {
        return damaged(folder, QString::fromUtf8(exception.what()));
    }
    return piece;
}

} // namespace inspection
