#include "workbench/inspectiondata/compute/ResultStore.h"

#include "workbench/inspectiondata/compute/ResultRasters.h"
#include "workbench/inspectiondata/database/AnomalyTable.h"
#include "workbench/inspectiondata/database/ComparisonTable.h"
#include "workbench/inspectiondata/database/ConnectionLost.h"
#include "workbench/inspectiondata/database/EditTable.h"
#include "workbench/inspectiondata/database/Inspector.h"
#include "workbench/inspectiondata/database/Outline.h"
#include "workbench/inspectiondata/database/Schema.h"
#include "workbench/inspectiondata/database/StationTable.h"

#include <QDateTime>
#include <QDir>
#include <QFileInfo>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <iterator>
#include <map>
#include <optional>

namespace inspection {

using mysqlhelper::KV_MySQL;

namespace {

double finite(double value) {
    return std::isfinite(value) ? value : 0.0;
}

bool samePlace(const SdiffData& earlier, const SdiffData& later) {
    return earlier.isFill == later.isFill && (outlineContains(earlier.outlineWkt, later.x, later.y) ||
                                              outlineContains(later.outlineWkt, earlier.x, earlier.y));
}

void keepVerdicts(const std::vector<SdiffData>& earlier, std::vector<SdiffData>& later) {
    for (const SdiffData& judged : earlier) {
        if (judged.attribute.empty()) {
            continue;
        }
        for (SdiffData& anomaly : later) {
            if (anomaly.attribute.empty() && samePlace(judged, anomaly)) {
                anomaly.attribute = judged.attribute;
            }
        }
    }
}

/// What of the found ones an inspector has deleted before goes out of them, and is given. One that also is where he has
/// left another one stays: it is more than what he deleted.
std::vector<SdiffData> takeDeleted(const std::vector<SdiffData>& deleted, const std::vector<SdiffData>& left,
                                   std::vector<SdiffData>& found) {
    const auto isAmong = [](const std::vector<SdiffData>& earlier, const SdiffData& anomaly) {
        return std::any_of(earlier.begin(), earlier.end(),
                           [&](const SdiffData& each) { return samePlace(each, anomaly); });
    };
    const auto first = std::stable_partition(found.begin(), found.end(), [&](const SdiffData& anomaly) {
        return !isAmong(deleted, anomaly) || isAmong(left, anomaly);
    });
    std::vector<SdiffData> taken(std::make_move_iterator(first), std::make_move_iterator(found.end()));
    found.erase(first, found.end());
    return taken;
}

std::string anomalyName(std::uint32_t stationId, std::size_t number) {
    std::array<char, 32> name{};
    std::snprintf(name.data(), name.size(), "S%u-%04zu", stationId, number);
    return name.data();
}

/// Names the anomalies. SQLite would give the ids of deleted ones again, which an undo needs.
void identify(StationChanges& changes, TakenByOthers& taken) {
    std::size_t number = 0;
    for (SdiffData& anomaly : changes.anomalies) {
        anomaly.id = ++taken.highestId;
        do {
            anomaly.name = anomalyName(changes.stationId, ++number);
        } while (taken.names.count(anomaly.name) != 0);
    }
}

} // namespace

ResultStore::ResultStore(const ProjectDescription& project) : m_project(project), m_pair(project.pair()) {
    const QDateTime now = QDateTime::currentDateTimeUtc();
    m_stamp = now.toString(QStringLiteral("yyyyMMdd-HHmmss-zzz"));
    m_computedAt = now.toString(Qt::ISODate);
}

ResultStore::~ResultStore() {
    if (m_stored) {
        return;
    }
    for (const QString& raster : m_newRasters) {
        QFile::remove(raster);
        const QString folder = QFileInfo(raster).absolutePath();
        QDir().rmpath(folder); // only folders that are empty
    }
}

Result<StationDetection::Rasters> ResultStore::newRasters(std::uint32_t stationId) {
    const QString folder = m_project.stationFolder(stationId);
    if (!QDir().mkpath(folder)) {
        return fileFailure(folder, "cannot be created", "无法创建文件夹");
    }
    const StationDetection::Rasters rasters{QStringLiteral("%1/dz-%2.tif").arg(folder, m_stamp),
                                            QStringLiteral("%1/correction-%2.tif").arg(folder, m_stamp)};
    m_newRasters << rasters.dz << rasters.correction;
    return rasters;
}

Status ResultStore::takeRaster(const QString& folder, QString& raster) {
    if (raster.isEmpty()) {
        return {};
    }
    const QString target = QDir(m_project.folder).absoluteFilePath(QDir(folder).relativeFilePath(raster));
    if (!QFileInfo::exists(target)) {
        m_newRasters << target;
        if (auto done = copyRaster(raster, target); !done) {
            return done;
        }
    }
    raster = target;
    return {};
}

Status ResultStore::takeRasters(const QString& folder, StationChanges& changes) {
    auto taken = takeRaster(folder, changes.dzRaster);
    return taken ? takeRaster(folder, changes.correctionRaster) : taken;
}

void ResultStore::storeStation(KV_MySQL& database, StationChanges& changes,
                               const std::vector<SdiffData>& deleted,
                               const detect::Coregistration& coregistration) const {
    const auto left = readAnomalies(database, changes.stationId, m_pair);
    for (const auto& earlier : {left, deleted}) {
        keepVerdicts(earlier, changes.anomalies);
        deleteAnomalies(database, earlier);
    }
    std::vector<SdiffData> deletedAgain = takeDeleted(deleted, left, changes.anomalies);
    insertAnomalies(database, changes.stationId, m_pair, changes.anomalies);
    insertAnomalies(database, changes.stationId, m_pair, deletedAgain, true);

    StationResult result;
    result.stationId = changes.stationId;
    result.computedAt = changes.computedAt.isEmpty() ? m_computedAt : changes.computedAt;
    result.pair = m_pair;
    const auto stored = [this](const QString& path) {
        return path.isEmpty() ? QString() : QDir(m_project.folder).relativeFilePath(path);
    };
    result.dzRaster = stored(changes.dzRaster);
    result.correctionRaster = stored(changes.correctionRaster);
    result.thresholdMetres = m_project.parameters.thresholdMetres;
    result.minAreaSquareMetres = m_project.parameters.minAreaSquareMetres;
    result.coregistration = coregistrationName(coregistration.method);
    result.dxMetres = finite(coregistration.dxMetres);
    result.dyMetres = finite(coregistration.dyMetres);
    result.dzMetres = finite(coregistration.dzMetres);
    result.nmadBeforeMetres = finite(coregistration.nmadBeforeMetres);
    result.nmadAfterMetres = finite(coregistration.nmadAfterMetres);
    result.cells = changes.cells();
    result.summary = changes.summary;
    result.stableDifferences = changes.stableDifferences;
    storeStationResult(database, result);
}

void ResultStore::store(KV_MySQL& database, std::vector<StationChanges>& changes,
                        const detect::Coregistration& coregistration) {
    std::optional<KV_MySQL::Transaction> transaction(std::in_place, database);
    const QString inspector = inspectorOf(m_project);
    const std::int64_t revision =
        noteComputation(database, inspector, m_pair, QObject::tr("计算 %1 个站段的异常").arg(changes.size()));
    const std::int64_t comparisonId = needComparison(database, m_pair);
    TakenByOthers taken = takenByOthers(database, comparisonId);
    std::map<std::uint32_t, std::vector<SdiffData>> deleted;
    for (DeletedAnomaly& each : readDeletedAnomalies(database, m_pair)) {
        deleted[each.stationId].push_back(std::move(each.anomaly));
    }
    for (StationChanges& station : changes) {
        identify(station, taken);
        storeStation(database, station, deleted[station.stationId], coregistration);
    }
    forgetEdits(database, comparisonId); // of anomalies that are no longer
    const QStringList replaced = unnamedRasters(m_project, database);
    try {
        commitNoted(database, transaction, inspector, revision);
    } catch (const mysqlhelper::ConnectionLost& loss) {
        m_stored = loss.isInDoubt(); // then rows may name the new rasters
        throw;
    }
    m_stored = true;
    for (const QString& raster : replaced) {
        QFile::remove(raster);
    }
}

} // namespace inspection
