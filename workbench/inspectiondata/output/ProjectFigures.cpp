#include "workbench/inspectiondata/output/ProjectFigures.h"

#include "host/inspection/Records.h"
#include "workbench/inspectiondata/database/AnomalyTable.h"
#include "workbench/inspectiondata/database/TableCopy.h"
#include "workbench/inspectiondata/output/InspectionData.h"

#include <numeric>

namespace inspection {

namespace {

std::vector<StationFigures> stationFigures(mysqlhelper::KV_MySQL& database, const EpochPair& pair) {
    const auto anomalies = countAnomalies(database, pair);
    const auto times = readComputationTimes(database, pair);
    std::vector<StationFigures> figures;
    for (const KV_Station& station : readStations(database)) {
        const auto count = anomalies.find(station.m_id);
        const auto time = times.find(station.m_id);
        figures.push_back({station, count == anomalies.end() ? 0 : static_cast<std::int64_t>(count->second),
                           time == times.end() ? std::nullopt : std::optional(time->second)});
    }
    return figures;
}

} // namespace

std::int64_t ProjectFigures::anomalies() const {
    return std::accumulate(
        stations.begin(), stations.end(), std::int64_t{0},
        [](std::int64_t sum, const StationFigures& figures) { return sum + figures.anomalies; });
}

Result<ProjectFigures> readProjectFigures(const ProjectDescription& project,
                                          mysqlhelper::KV_MySQL& database) {
    const auto count = [&database](KV_ObjectType type) {
        return countRows(database, {tableName(type), "id"});
    };
    try {
        return ProjectFigures{stationFigures(database, project.pair()),
                              count(KV_SPECIAL_POINT),
                              count(KV_SPECIAL_AREA),
                              count(KV_HIGH_CONSEQUENCE_AREA),
                              readComparisons(database),
                              readDetectionAccount(project, database)};
    } catch (const mysqlhelper::KV_MySQL_Exception& exception) {
        return databaseFailure(exception);
    }
}

} // namespace inspection
