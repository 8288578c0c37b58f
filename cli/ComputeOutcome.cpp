#include "cli/ComputeOutcome.h"

#include "cli/Command.h"
#include "cli/Printable.h"
#include "detect/output/CoregistrationNote.h"
#include "host/Gbk.h"
#include "workbench/inspectiondata/database/AnomalyTable.h"
#include "workbench/inspectiondata/database/StationTable.h"
#include "workbench/inspectiondata/text/CoregistrationText.h"

#include <algorithm>
#include <cstdio>

namespace cli {

void printStations(mysqlhelper::KV_MySQL& database, const inspection::EpochPair& pair,
                   const inspection::ComputationSummary& summary) {
    for (const KV_Station& station : inspection::readStations(database)) {
        const auto& done = summary.stationIds;
        if (std::find(done.begin(), done.end(), station.m_id) != done.end()) {
            const auto anomalies = inspection::readAnomalies(database, station.m_id, pair);
            std::printf("站段 %u  %s  异常 %zu 处\n", station.m_id,
                        printable(gbkToUtf8(station.m_name)).c_str(), anomalies.size());
        }
    }
}

void printOutcome(const inspection::ProjectDescription& project,
                  const inspection::ComputationSummary& summary) {
    constexpr auto kCommand = "compute";
    std::printf("对比 %s\n", printable(inspection::pairTitle(project.pair())).c_str());
    std::printf("共 %zu 个站段，异常 %d 处，比较像元 %lld 个，用时 %.1f 秒\n", summary.stationIds.size(),
                summary.anomalies, static_cast<long long>(summary.cells), summary.seconds);
    const detect::Coregistration& coregistration = summary.coregistration;
    std::printf("%s\n", qUtf8Printable(inspection::coregistrationLine(coregistration)));
    detect::RunReport report;
    report.coregistration = coregistration;
    for (const std::string& line : detect::notesOn(report, project.parameters)) {
        note(kCommand, line);
    }
    if (const auto doubt = inspection::doubtOf(coregistration.nmadAfterMetres, project.parameters)) {
        note(kCommand, *doubt);
    }
}

} // namespace cli
