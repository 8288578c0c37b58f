#include "workbench/inspectiondata/output/InspectionData.h"

#include "workbench/inspectiondata/database/AnomalyTable.h"
#include "workbench/inspectiondata/database/Outline.h"

#include <ogr_geometry.h>

#include <algorithm>
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

Result<InspectionData> readInspectionData(const ProjectDescription& project, mysqlhelper::KV_MySQL& database,
                                          const std::vector<std::uint32_t>& stationIds) {
    const std::set<std::uint32_t> wanted(stationIds.begin(), stationIds.end());
    try {
        InspectionData data;
        data.project = project;
        const EpochPair pair = project.pair();
        for (const KV_Station& station : readStations(database)) {
            if (!wanted.empty() && wanted.count(station.m_id) == 0) {
                continue;
            }
            data.stations.push_back({station, readStationResult(database, station.m_id, pair),
                                     readAnomalies(database, station.m_id, pair)});
        }
        data.pipeNodes = readPipeNodes(database);
        data.specialPoints = readSpecialPoints(database);
        data.specialAreas = readSpecialAreas(database);
        data.highConsequenceAreas = readHighConsequenceAreas(database);
        data.comparisons = readComparisons(database);
        data.account = readDetectionAccount(project, database);
        return data;
    } catch (const mysqlhelper::KV_MySQL_Exception& exception) {
        const QString cause = QString::fromUtf8(exception.what());
        return Unexpected(Failure{cause, QStringLiteral("数据库操作失败：") + cause});
    }
}

} // namespace inspection
