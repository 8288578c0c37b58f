#include "workbench/inspectiondata/output/InspectionData.h"

#include "workbench/inspectiondata/database/AnomalyTable.h"
#include "workbench/inspectiondata/database/Outline.h"
#include "workbench/inspectiondata/database/Snapshot.h"

#include <ogr_geometry.h>

#include <algorithm>
#include <iterator>
#include <map>
#include <set>

namespace inspection {

int InspectionData::anomalyCount() const {
    std::size_t count = 0;
    for (const StationFindings& findings : stations) {
        count += findings.anomalies.size();
    }
    return static_cast<int>(count);
}

int InspectionData::brokenOutlines() const {
    std::ptrdiff_t count = 0;
    for (const StationFindings& findings : stations) {
        count += std::count_if(findings.anomalies.begin(), findings.anomalies.end(),
                               [](const SdiffData& anomaly) { return !outlineGeometry(anomaly.outlineWkt); });
    }
    return static_cast<int>(count);
}

namespace {

/// All stations, or those that are named.
std::vector<KV_Station> stationsOf(mysqlhelper::KV_MySQL& database,
                                   const std::vector<std::uint32_t>& wanted) {
    std::vector<KV_Station> stations = readStations(database);
    const std::set<std::uint32_t> ids(wanted.begin(), wanted.end());
    const auto isUnwanted = [&ids](const KV_Station& station) { return ids.count(station.m_id) == 0; };
    if (!ids.empty()) {
        stations.erase(std::remove_if(stations.begin(), stations.end(), isUnwanted), stations.end());
    }
    return stations;
}

std::vector<StationFindings> readFindings(mysqlhelper::KV_MySQL& database,
                                          const std::vector<KV_Station>& stations, const EpochPair& pair) {
    std::vector<std::uint32_t> ids;
    for (const KV_Station& station : stations) {
        ids.push_back(station.m_id);
    }
    auto results = readStationResults(database, ids, pair);
    auto anomalies = readAnomalies(database, ids, pair);
    std::vector<StationFindings> findings;
    for (const KV_Station& station : stations) {
        const auto result = results.find(station.m_id);
        findings.push_back({station,
                            result == results.end() ? std::nullopt : std::optional(std::move(result->second)),
                            std::move(anomalies[station.m_id])});
    }
    return findings;
}

/// The stations cut into stretches, each of which has about so many anomalies, and one station at least.
std::vector<std::vector<KV_Station>>
stretchesOf(const std::vector<KV_Station>& stations,
            const std::map<std::uint32_t, std::size_t>& anomaliesOfStations) {
    constexpr std::size_t kAnomalies = 500;
    constexpr std::size_t kStations = 100; // their results take memory, too
    std::vector<std::vector<KV_Station>> stretches;
    std::size_t anomalies = 0;
    for (const KV_Station& station : stations) {
        const auto count = anomaliesOfStations.find(station.m_id);
        const std::size_t more = count == anomaliesOfStations.end() ? 0 : count->second;
        if (stretches.empty() || anomalies + more > kAnomalies || stretches.back().size() == kStations) {
            stretches.emplace_back();
            anomalies = 0;
        }
        stretches.back().push_back(station);
        anomalies += more;
    }
    return stretches;
}

Status visitInTurn(const std::vector<StationFindings>& findings, const FindingsInTurn::Visit& visit) {
    for (const StationFindings& each : findings) {
        if (auto done = visit(each); !done) {
            return done;
        }
    }
    return {};
}

} // namespace

FindingsInTurn findingsInTurn(const InspectionData& data) {
    return {data.stations.size(),
            [&data](const FindingsInTurn::Visit& visit) { return visitInTurn(data.stations, visit); }};
}

FindingsInTurn findingsInTurn(const ProjectDescription& project, mysqlhelper::KV_MySQL& database,
                              const std::vector<std::uint32_t>& stationIds) {
    std::vector<KV_Station> stations = stationsOf(database, stationIds);
    const std::size_t count = stations.size();
    const auto forEach = [&database, pair = project.pair(),
                          stations = std::move(stations)](const FindingsInTurn::Visit& visit) -> Status {
        try {
            const Snapshot snapshot(database);
            for (const auto& stretch : stretchesOf(stations, countAnomalies(database, pair))) {
                if (auto done = visitInTurn(readFindings(database, stretch, pair), visit); !done) {
                    return done;
                }
            }
            return {};
        } catch (const mysqlhelper::KV_MySQL_Exception& exception) {
            return databaseFailure(exception);
        }
    };
    return {count, forEach};
}

ProjectObjects readProjectObjects(const ProjectDescription& project, mysqlhelper::KV_MySQL& database) {
    return {project, readPipeNodes(database), readSpecialPoints(database), readSpecialAreas(database),
            readHighConsequenceAreas(database)};
}

Result<InspectionData> readInspectionData(const ProjectDescription& project, mysqlhelper::KV_MySQL& database,
                                          const std::vector<std::uint32_t>& stationIds) {
    try {
        const Snapshot snapshot(database);
        InspectionData data;
        static_cast<ProjectObjects&>(data) = readProjectObjects(project, database);
        const EpochPair pair = project.pair();
        for (const auto& stretch :
             stretchesOf(stationsOf(database, stationIds), countAnomalies(database, pair))) {
            auto findings = readFindings(database, stretch, pair);
            std::move(findings.begin(), findings.end(), std::back_inserter(data.stations));
        }
        data.comparisons = readComparisons(database);
        data.account = readDetectionAccount(project, database);
        return data;
    } catch (const mysqlhelper::KV_MySQL_Exception& exception) {
        return databaseFailure(exception);
    }
}

Unexpected databaseFailure(const mysqlhelper::KV_MySQL_Exception& exception) {
    const QString cause = QString::fromUtf8(exception.what());
    return Unexpected(Failure{cause, QStringLiteral("数据库操作失败：") + cause});
}

} // namespace inspection
