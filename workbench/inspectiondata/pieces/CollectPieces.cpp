#include "workbench/inspectiondata/pieces/CollectPieces.h"

#include "workbench/inspectiondata/compute/ResultStore.h"
#include "workbench/inspectiondata/database/ConnectionLost.h"
#include "workbench/inspectiondata/database/StationTable.h"
#include "workbench/inspectiondata/pieces/ComparisonIdentity.h"
#include "workbench/inspectiondata/pieces/PieceResults.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFileInfo>

#include <algorithm>

namespace inspection {

using mysqlhelper::KV_MySQL;
using mysqlhelper::KV_MySQL_Exception;

namespace {

bool sameFigures(const detect::Coregistration& a, const detect::Coregistration& b) {
    return a.method == b.method && a.dxMetres == b.dxMetres && a.dyMetres == b.dyMetres &&
           a.dzMetres == b.dzMetres && a.nmadBeforeMetres == b.nmadBeforeMetres &&
           a.nmadAfterMetres == b.nmadAfterMetres;
}

bool hasStation(const PieceResults& piece, std::uint32_t id) {
    return std::any_of(piece.stations.begin(), piece.stations.end(),
                       [id](const StationChanges& station) { return station.stationId == id; });
}

/// That two pieces can be of one computation.
Status expectTogether(const PieceResults& earlier, const PieceResults& piece) {
    for (const StationChanges& station : piece.stations) {
        if (hasStation(earlier, station.stationId)) {
            return fileFailure(
                piece.folder,
                QStringLiteral("station %1 is in %2, too").arg(station.stationId).arg(earlier.folder),
                QStringLiteral("站段 %1 也在 %2 中").arg(station.stationId).arg(earlier.folder));
        }
    }
    if (piece.coregistrationDigest != earlier.coregistrationDigest ||
        !sameFigures(piece.coregistration, earlier.coregistration)) {
        return fileFailure(piece.folder, "its co-registration is not that of " + earlier.folder,
                           "配准结果与 " + earlier.folder + " 的不同");
    }
    return {};
}

Result<std::vector<PieceResults>> readPieces(const ProjectDescription& project,
                                             const std::vector<KV_Station>& stations,
                                             const QStringList& folders, const detect::Progress& progress) {
    const auto identity = comparisonIdentity(project);
    if (!identity) {
        return failed(identity);
    }
    std::vector<PieceResults> pieces;
    for (const QString& folder : folders) {
        if (progress && !progress(double(pieces.size()) / double(folders.size() + 1))) {
            return cancelled();
        }
        auto piece = readPiece(project, *identity, stations, QDir::cleanPath(QDir(folder).absolutePath()));
        if (!piece) {
            return failed(piece);
        }
        for (const PieceResults& earlier : pieces) {
            if (auto together = expectTogether(earlier, *piece); !together) {
                return failed(together);
            }
        }
        pieces.push_back(*std::move(piece));
    }
    return pieces;
}

/// Whether the project has this very result already. The path of a raster tells when it was computed to the millisecond.
bool isStored(const ProjectDescription& project, KV_MySQL& database, const QString& folder,
              const StationChanges& station) {
    const auto stored = readStationResult(database, station.stationId, project.pair());
    const QString raster =
        station.dzRaster.isEmpty() ? QString() : QDir(folder).relativeFilePath(station.dzRaster);
    return stored && stored->computedAt == station.computedAt && stored->dzRaster == raster &&
           (raster.isEmpty() || QFileInfo::exists(QDir(project.folder).absoluteFilePath(raster)));
}

/// The changes that the project does not have, by station; their rasters lie in the project.
Result<std::vector<StationChanges>> takeNew(const ProjectDescription& project, KV_MySQL& database,
                                            std::vector<PieceResults>& pieces, ResultStore& store,
                                            CollectedPieces& collected) {
    std::vector<StationChanges> changes;
    for (PieceResults& piece : pieces) {
        for (StationChanges& station : piece.stations) {
            if (isStored(project, database, piece.folder, station)) {
                collected.unchanged.push_back(station.stationId);
                continue;
            }
            if (auto taken = store.takeRasters(piece.folder, station); !taken) {
                return failed(taken);
            }
            changes.push_back(std::move(station));
        }
    }
    std::sort(changes.begin(), changes.end(),
              [](const StationChanges& a, const StationChanges& b) { return a.stationId < b.stationId; });
    return changes;
}

std::vector<std::uint32_t> missingIn(const std::vector<PieceResults>& pieces,
                                     const std::vector<KV_Station>& stations) {
    std::vector<std::uint32_t> missing;
    for (const KV_Station& station : stations) {
        if (std::none_of(pieces.begin(), pieces.end(),
                         [&station](const PieceResults& piece) { return hasStation(piece, station.m_id); })) {
            missing.push_back(station.m_id);
        }
    }
    return missing;
}

Result<CollectedPieces> collect(const ProjectDescription& project, KV_MySQL& database,
                                const QStringList& folders, const detect::Progress& progress) {
    const std::vector<KV_Station> stations = readStations(database);
    auto pieces = readPieces(project, stations, folders, progress);
    if (!pieces) {
        return failed(pieces);
    }
    CollectedPieces collected;
    collected.missing = missingIn(*pieces, stations);
    ResultStore store(project);
    auto changes = takeNew(project, database, *pieces, store, collected);
    if (!changes) {
        return failed(changes);
    }
    if (progress && !progress(1.0)) {
        return cancelled();
    }
    const detect::Coregistration& coregistration = pieces->front().coregistration;
    if (!changes->empty()) {
        store.store(database, *changes, coregistration);
    }
    collected.stored = summaryOf(*changes, coregistration);
    return collected;
}

} // namespace

Result<CollectedPieces> collectPieces(const ProjectDescription& project, KV_MySQL& database,
                                      const QStringList& folders, const detect::Progress& progress) {
    QElapsedTimer timer;
    timer.start();
    try {
        auto collected = collect(project, database, folders, progress);
        if (collected) {
            collected->stored.seconds = double(timer.elapsed()) / 1000.0;
        }
        return collected;
    } catch (const mysqlhelper::ConnectionLost& loss) {
        return Unexpected(Failure{QString::fromUtf8(loss.what()), loss.told()});
    } catch (const KV_MySQL_Exception& exception) {
        const QString cause = QString::fromUtf8(exception.what());
        return Unexpected(Failure{cause, QStringLiteral("数据库操作失败：") + cause});
    }
}

} // namespace inspection
