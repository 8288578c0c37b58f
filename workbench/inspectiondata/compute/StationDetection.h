#pragma once

#include "detect/output/SummaryFile.h"
#include "host/inspection/Station.h"
#include "workbench/inspectiondata/compute/SearchGroups.h"
#include "workbench/inspectiondata/database/Histogram.h"
#include "workbench/inspectiondata/project/Georeference.h"
#include "workbench/inspectiondata/project/ProjectDescription.h"
#include "workbench/inspectiondata/project/Result.h"

#include <QString>

#include <cstdint>
#include <memory>
#include <vector>

namespace inspection {

/// What was found for one station; its raster of differences is already written.
struct StationChanges {
    std::uint32_t stationId = 0;
    std::vector<SdiffData> anomalies; ///< in the station's reference system, without names and ids
    QString dzRaster;                 ///< absolute path, empty when there was nothing to compare
    QString correctionRaster;         ///< absolute path, empty without a local field
    /// Of stations that were searched together the first has what cannot be told apart, time and rejections, so that
    /// the sums over all of them are right.
    std::optional<detect::Summary> summary;
    std::optional<Histogram> stableDifferences; ///< likewise
    QString
        computedAt; ///< ISO date and time, UTC, of what another machine computed; else empty, which means now

    std::int64_t cells() const { return summary ? summary->report.cells : 0; }
    double seconds() const { return summary ? summary->report.seconds : 0.0; }
};

/// Finds the changes of stations of a pair whose co-registration is known. One thread.
class StationDetection {
public:
    /// Fails when the old surface model cannot be read or does not go with the stations' reference system.
    /// `stations` are all of the project, in order of precedence; each anomaly belongs to the first whose
    /// bounds (lower edges included, upper edges not) contain its centroid.
    static Result<StationDetection> prepare(const ProjectDescription& project,
                                            std::vector<KV_Station> stations);

    /// The stations in groups that are best searched together.
    std::vector<SearchGroup> groupsOf(const std::vector<KV_Station>& stations) const;

    /// Where the rasters of a group go; absolute.
    struct Rasters {
        QString dz;
        QString correction;
    };

    /// Searches the window, which holds the stations and a margin around each. Writes the differences, in the
    /// stations' reference system, and the local field, where there is one, in that of the old raster; nothing is
    /// left there on failure. Gives the changes of each station, in their order; none where the pair has no common
    /// cell.
    Result<std::vector<StationChanges>> find(const std::vector<KV_Station>& stations,
                                             const std::optional<detect::Box>& window,
                                             const detect::Coregistration& coregistration, int threads,
                                             const Rasters& rasters, const detect::Progress& progress) const;

private:
    StationDetection() = default;
    /// Station bounds with the margin, in the old raster's reference system.
    std::optional<detect::Box> searchWindow(const KV_Station& station) const;
    detect::Request requestFor(const std::optional<detect::Box>& window,
                               const detect::Coregistration& coregistration, int threads) const;
    /// To each station those that are its own.
    void shareAnomalies(const detect::Changes& found, const std::vector<KV_Station>& stations,
                        std::vector<StationChanges>& changes) const;
    static Unexpected failureAt(const std::vector<KV_Station>& stations, const detect::Failure& failure);
    /// In the station's reference system; false when it cannot be transformed.
    bool translate(const detect::Anomaly& anomaly, SdiffData& record) const;

    ProjectDescription m_project;
    std::vector<KV_Station> m_stations;
    OGRSpatialReference m_rasterReference;
    OGRSpatialReference m_stationReference;
    Transformation m_toStation; ///< null when both systems are the same
    Transformation m_toGeographic;
    double m_cellX = 0.0; ///< of the old raster, in its own units
    double m_cellY = 0.0;
};

} // namespace inspection
