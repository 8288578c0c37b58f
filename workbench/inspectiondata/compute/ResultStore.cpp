#include "workbench/inspectiondata/compute/ResultStore.h"

#include "workbench/inspectiondata/database/AnomalyTable.h"
#include "workbench/inspectiondata/database/EditTable.h"
#include "workbench/inspectiondata/database/Inspector.h"
#include "workbench/inspectiondata/database/Outline.h"
#include "workbench/inspectiondata/database/Schema.h"
#include "workbench/inspectiondata/database/StationTable.h"

#include <QDateTime>
#include <QDir>
#include <QFileInfo>

#include <cmath>

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

} // namespace

ResultStore::ResultStore(const ProjectDescription& project) : m_project(project) {
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

Result<QString> ResultStore::newRaster(std::uint32_t stationId) {
    const QString folder = m_project.stationFolder(stationId);
    if (!QDir().mkpath(folder)) {
        return fileFailure(folder, "cannot be created", "无法创建文件夹");
    }
    m_newRasters << QStringLiteral("%1/dz-%2.tif").arg(folder, m_stamp);
    return m_newRasters.back();
}

void ResultStore::storeStation(KV_MySQL& database, StationChanges& changes,
                               const detect::Coregistration& coregistration) const {
    const auto earlier = readAnomalies(database, changes.stationId);
    keepVerdicts(earlier, changes.anomalies);
    deleteAnomalies(database, earlier);
    insertAnomalies(database, changes.stationId, changes.anomalies);

    StationResult result;
    result.stationId = changes.stationId;
    result.computedAt = m_computedAt;
    result.oldDate = m_project.oldEpoch().date;
    result.newDate = m_project.newEpoch().date;
    if (!changes.dzRaster.isEmpty()) {
        result.dzRaster = QDir(m_project.folder).relativeFilePath(changes.dzRaster);
    }
    result.thresholdMetres = m_project.parameters.thresholdMetres;
    result.minAreaSquareMetres = m_project.parameters.minAreaSquareMetres;
    result.coregistration = coregistrationName(coregistration.method);
    result.dxMetres = finite(coregistration.dxMetres);
    result.dyMetres = finite(coregistration.dyMetres);
    result.dzMetres = finite(coregistration.dzMetres);
    result.nmadBeforeMetres = finite(coregistration.nmadBeforeMetres);
    result.nmadAfterMetres = finite(coregistration.nmadAfterMetres);
    result.cells = changes.cells;
    storeStationResult(database, result);
}

void ResultStore::store(KV_MySQL& database, std::vector<StationChanges>& changes,
                        const detect::Coregistration& coregistration) {
    KV_MySQL::Transaction transaction(database);
    noteReplacement(database, inspectorOf(m_project), kAnomalyTable,
                    QObject::tr("计算 %1 个站段的异常").arg(changes.size()));
    for (StationChanges& station : changes) {
        storeStation(database, station, coregistration);
    }
    forgetEdits(database, kAnomalyTable); // of anomalies that are no longer
    transaction.commit();
    m_stored = true;
    for (const StationChanges& station : changes) {
        removeReplacedRasters(station);
    }
}

void ResultStore::removeReplacedRasters(const StationChanges& changes) const {
    QDir folder(m_project.stationFolder(changes.stationId));
    const QString current = QFileInfo(changes.dzRaster).fileName();
    for (const QString& raster : folder.entryList({QStringLiteral("dz-*.tif*")}, QDir::Files)) {
        if (raster != current) {
            folder.remove(raster);
        }
    }
}

} // namespace inspection
