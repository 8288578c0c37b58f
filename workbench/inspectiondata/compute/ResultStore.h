#pragma once

#include "host/inspection/KV_MySQL.h"
#include "workbench/inspectiondata/compute/StationDetection.h"
#include "workbench/inspectiondata/project/ProjectDescription.h"
#include "workbench/inspectiondata/project/Result.h"

#include <QString>
#include <QStringList>

#include <vector>

namespace inspection {

/// The way of new results into a project: rasters are written under names of their own beside the earlier
/// ones, and become valid with the rows that name them. Unless store() succeeds, the destructor removes the
/// new rasters.
class ResultStore {
public:
    explicit ResultStore(const ProjectDescription& project);
    ~ResultStore();
    ResultStore(const ResultStore&) = delete;
    ResultStore& operator=(const ResultStore&) = delete;

    /// Where the station's new rasters go; their folder is made. Fails when it cannot be.
    Result<StationDetection::Rasters> newRasters(std::uint32_t stationId);

    /// Takes the rasters of a result that was computed in another folder, with the same paths in both, into the project,
    /// and names them in the result. One that is there already was taken with another station, or earlier.
    Status takeRasters(const QString& folder, StationChanges& changes);

    /// Replaces anomalies and result that each station has of the project's pair, all in one transaction, then
    /// removes the rasters of stations that no result names any more. A verdict on an anomaly that was found again at the
    /// same place is kept; one that was deleted is stored as deleted again, and taken out of `changes`. Anomalies are named "S3-0007" by the lowest numbers that no other pair uses. Throws
    /// KV_MySQL_Exception when the database refuses; nothing is replaced then.
    void store(mysqlhelper::KV_MySQL& database, std::vector<StationChanges>& changes,
               const detect::Coregistration& coregistration);

private:
    Status takeRaster(const QString& folder, QString& raster);
    void storeStation(mysqlhelper::KV_MySQL& database, StationChanges& changes,
                      const std::vector<SdiffData>& deleted,
                      const detect::Coregistration& coregistration) const;

    const ProjectDescription& m_project;
    const EpochPair m_pair;
    QString m_stamp; ///< of this computation, part of file names
    QString m_computedAt;
    QStringList m_newRasters;
    bool m_stored = false;
};

} // namespace inspection
