#pragma once

#include "detect/output/SummaryFile.h"
#include "host/Export.h"
#include "host/inspection/KV_MySQL.h"
#include "host/inspection/Records.h"
#include "host/inspection/Station.h"
#include "workbench/inspectiondata/database/Histogram.h"
#include "workbench/inspectiondata/project/ProjectDescription.h"

#include <QString>

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <vector>

/// Rows of the station table and of the tables of special objects. Every function throws KV_MySQL_Exception
/// when the database refuses.
namespace inspection {

/// All stations by id.
INSPECTIONDATA_API std::vector<KV_Station> readStations(mysqlhelper::KV_MySQL& database);
/// The field map of a station, without its id.
INSPECTIONDATA_API mysqlhelper::KV_Record stationRecord(const KV_Station& station);

/// What the last computation of a station between two epochs left, beside its anomalies. Lengths in metres.
struct StationResult {
    std::uint32_t stationId = 0;
    QString computedAt; ///< ISO date and time, UTC
    EpochPair pair;     ///< epochs that were compared
    QString dzRaster;   ///< path within the project folder, empty when the epochs have no common cell here
    double thresholdMetres = 0.0;
    double minAreaSquareMetres = 0.0;
    QString coregistration; ///< "none", "bias", "full" or "local"
    double dxMetres = 0.0;  ///< added to the new epoch
    double dyMetres = 0.0;
    double dzMetres = 0.0;
    double nmadBeforeMetres = 0.0;
    double nmadAfterMetres = 0.0;
    std::int64_t cells = 0; ///< cells compared
    // What was not kept before there was a place for it:
    std::optional<detect::Summary> summary;     ///< of the run that found the station's anomalies
    std::optional<Histogram> stableDifferences; ///< dZ of the ground outside all anomalies
    QString correctionRaster; ///< of the local field, a path within the project folder; empty without one
};

/// Empty when the station was never computed between these epochs. A computed station without anomalies has a result.
INSPECTIONDATA_API std::optional<StationResult>
readStationResult(mysqlhelper::KV_MySQL& database, std::uint32_t stationId, const EpochPair& pair);
/// Of all stations that have one, in the order of their ids; a part of them is read at a time.
INSPECTIONDATA_API void visitStationResults(mysqlhelper::KV_MySQL& database, const EpochPair& pair,
                                            const std::function<void(const StationResult&)>& visit);
/// Of those of the stations that have one, by id.
INSPECTIONDATA_API std::map<std::uint32_t, StationResult>
readStationResults(mysqlhelper::KV_MySQL& database, const std::vector<std::uint32_t>& stationIds,
                   const EpochPair& pair);
/// When each station that has a result was computed, ISO dates and times, UTC.
INSPECTIONDATA_API std::map<std::uint32_t, QString> readComputationTimes(mysqlhelper::KV_MySQL& database,
                                                                         const EpochPair& pair);
/// Of all stations with a result of that pair: the path of its elevation differences within the project folder, empty
/// where the epochs have no common cell.
INSPECTIONDATA_API std::map<std::uint32_t, QString> readDifferenceRasters(mysqlhelper::KV_MySQL& database,
                                                                          const EpochPair& pair);
/// Replaces the station's result of its pair. No transaction of its own.
INSPECTIONDATA_API void storeStationResult(mysqlhelper::KV_MySQL& database, const StationResult& result);

/// All objects of a table by id, with their type code and the version of their row.
INSPECTIONDATA_API std::vector<KV_BasicNode> readPipeNodes(mysqlhelper::KV_MySQL& database);
INSPECTIONDATA_API std::vector<Special_Point> readSpecialPoints(mysqlhelper::KV_MySQL& database);
INSPECTIONDATA_API std::vector<Special_Area> readSpecialAreas(mysqlhelper::KV_MySQL& database);
INSPECTIONDATA_API std::vector<Special_Polygon> readHighConsequenceAreas(mysqlhelper::KV_MySQL& database);

} // namespace inspection
