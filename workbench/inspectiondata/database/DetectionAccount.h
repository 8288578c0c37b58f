#pragma once

#include "detect/output/SummaryFile.h"
#include "host/Export.h"
#include "host/inspection/KV_MySQL.h"
#include "workbench/inspectiondata/database/Histogram.h"
#include "workbench/inspectiondata/project/ProjectDescription.h"

#include <QString>

#include <optional>

namespace inspection {

/// What the latest computation of a pair did, all its stations together.
struct DetectionAccount {
    QString computedAt; ///< ISO date and time, UTC
    int stations = 0;
    detect::Coregistration coregistration; ///< of the whole pair
    detect::Parameters parameters;
    detect::Rejections
        rejections; ///< one near the edge of two stations that were searched apart counts in both
    std::optional<Histogram> stableDifferences;
    QString correctionRaster; ///< absolute; empty without a local field
};

/// Of the project's pair. Nothing while it was not computed, or by a program that kept no account. Throws
/// KV_MySQL_Exception.
INSPECTIONDATA_API std::optional<DetectionAccount> readDetectionAccount(const ProjectDescription& project,
                                                                        mysqlhelper::KV_MySQL& database);

} // namespace inspection
