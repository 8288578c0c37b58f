#pragma once

#include "host/Export.h"
#include "host/inspection/KV_MySQL.h"
#include "workbench/inspectiondata/database/ComparisonTable.h"
#include "workbench/inspectiondata/database/DetectionAccount.h"
#include "workbench/inspectiondata/database/StationTable.h"
#include "workbench/inspectiondata/project/ProjectDescription.h"
#include "workbench/inspectiondata/project/Result.h"

#include <QString>

#include <cstdint>
#include <optional>
#include <vector>

namespace inspection {

struct StationFigures {
    KV_Station station;
    std::int64_t anomalies = 0;
    std::optional<QString> computedAt; ///< ISO date and time, UTC; empty: not computed yet
};

/// How much a project holds of its compared epochs.
struct ProjectFigures {
    std::vector<StationFigures> stations; ///< by id
    std::int64_t specialPoints = 0;
    std::int64_t specialAreas = 0;
    std::int64_t highConsequenceAreas = 0;
    std::vector<Comparison> comparisons; ///< of all pairs of epochs
    std::optional<DetectionAccount> account;

    INSPECTIONDATA_API std::int64_t anomalies() const;
};

/// Counted by the database, no anomaly is read. Call it on the database's thread.
INSPECTIONDATA_API Result<ProjectFigures> readProjectFigures(const ProjectDescription& project,
                                                             mysqlhelper::KV_MySQL& database);

} // namespace inspection
