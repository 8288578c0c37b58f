#pragma once

#include "host/Export.h"
#include "host/inspection/KV_MySQL.h"
#include "workbench/inspectiondata/compute/ComputeAnomalies.h"
#include "workbench/inspectiondata/project/ProjectDescription.h"
#include "workbench/inspectiondata/project/Result.h"

#include <QStringList>

#include <cstdint>
#include <vector>

namespace inspection {

struct CollectedPieces {
    ComputationSummary stored; ///< no station when all were in the project before
    std::vector<std::uint32_t>
        unchanged; ///< stations whose results of these pieces were in the project before
    std::vector<std::uint32_t>
        missing; ///< stations of the project that no piece has; they keep what they have
};

/// Stores what pieces (ComputePiece.h) hold in a project that is open for writing, as computeAnomalies would have stored it,
/// and in one transaction. Fails, and stores nothing, when a piece is damaged or no piece at all, of other rasters,
/// parameters, stations or another co-registration, or has a station that another one has, too. `progress` is asked between
/// the pieces, on the calling thread.
INSPECTIONDATA_API Result<CollectedPieces> collectPieces(const ProjectDescription& project,
                                                         mysqlhelper::KV_MySQL& database,
                                                         const QStringList& folders,
                                                         const detect::Progress& progress = {});

} // namespace inspection
