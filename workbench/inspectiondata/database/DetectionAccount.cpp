#include "workbench/inspectiondata/database/DetectionAccount.h"

#include "workbench/inspectiondata/database/StationTable.h"

#include <algorithm>

namespace inspection {

namespace {

std::vector<StationResult> resultsOf(const ProjectDescription& project, mysqlhelper::KV_MySQL& database) {
    std::vector<StationResult> results;
    for (const KV_Station& station : readStations(database)) {
        if (auto result = readStationResult(database, station.m_id, project.pair())) {
            results.push_back(std::move(*result));
        }
    }
    return results;
}

void take(const ProjectDescription& project, const StationResult& result, const detect::Summary& summary,
          DetectionAccount& account) {
    ++account.stations;
    account.coregistration = summary.report.coregistration;
    account.parameters = summary.parameters;
    account.rejections += summary.report.rejections;
    if (account.stableDifferences && result.stableDifferences) {
        add(*account.stableDifferences, *result.stableDifferences);
    } else if (result.stableDifferences) {
        account.stableDifferences = result.stableDifferences;
    }
    if (!result.correctionRaster.isEmpty()) {
        account.correctionRaster = project.resultFile(result.correctionRaster);
    }
}

} // namespace

std::optional<DetectionAccount> readDetectionAccount(const ProjectDescription& project,
                                                     mysqlhelper::KV_MySQL& database) {
    const std::vector<StationResult> results = resultsOf(project, database);
    DetectionAccount account;
    for (const StationResult& result : results) {
        account.computedAt = std::max(account.computedAt, result.computedAt);
    }
    for (const StationResult& result : results) {
        if (result.summary && result.computedAt == account.computedAt) {
            take(project, result, *result.summary, account);
        }
    }
    return account.stations > 0 ? std::optional(std::move(account)) : std::nullopt;
}

} // namespace inspection
