#include "workbench/inspectiondata/database/DetectionAccount.h"

#include "workbench/inspectiondata/database/StationTable.h"

#include <algorithm>

namespace inspection {

namespace {

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
    DetectionAccount account;
    for (const auto& [station, computedAt] : readComputationTimes(database, project.pair())) {
        account.computedAt = std::max(account.computedAt, computedAt);
    }
    visitStationResults(database, project.pair(), [&](const StationResult& result) {
        if (result.summary && result.computedAt == account.computedAt) {
            take(project, result, *result.summary, account);
        }
    });
    return account.stations > 0 ? std::optional(std::move(account)) : std::nullopt;
}

} // namespace inspection
