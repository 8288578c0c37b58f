#pragma once

#include "detect/output/SummaryFile.h"
#include "host/inspection/Station.h"
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
    std::optional<detect::Summary> summary;
    std::optional<Histogram> stableDifferences;

    std::int64_t cells() const { return summary ? summary->report.cells : 0; }
    double seconds() const { return summary ? summary->report.seconds : 0.0; }
};

/// Finds the changes of single stations of a pair whose co-registration is known. One thread.
class StationDetection {
public:
    /// Fails when the old surface model cannot be read or does not go with the stations' reference system.
    /// `stations` are all of the project, in order of precedence; each anomaly belongs to the first whose
    /// bounds (lower edges included, upper edges not) contain its centroid.
    static Result<StationDetection> prepare(const ProjectDescription& project,
                                            std::vector<KV_Station> stations);

    /// Where the rasters of a station go; absolute.
    struct Rasters {
        QString dz;
        QString correction;
    };

    /// Searches the station and a margin around it. Writes the differences, in the station's reference
    /// system, and the local field, where there is one, in that of the old raster; nothing is left there on
    /// failure. A station where the pair has no common cell has no changes.
    Result<StationChanges> find(const KV_Station& station, const detect::Coregistration& coregistration,
                                int threads, const Rasters& rasters, const detect::Progress& progress) const;

private:
    StationDetection() = default;
    /// Station bounds with the margin, in the old raster's reference system.
    std::optional<detect::Box> searchWindow(const KV_Station& station) const;
    detect::Request requestFor(const KV_Station& station, const detect::Coregistration& coregistration,
                               int threads) const;
    /// Those that are the station's own.
    void takeAnomalies(const detect::Changes& found, const KV_Station& station,
                       StationChanges& changes) const;
    static Unexpected failureAt(const KV_Station& station, const detect::Failure& failure);
    bool owns(const KV_Station& station, const detect::Point& centroid) const;
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
