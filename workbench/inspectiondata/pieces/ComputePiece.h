#pragma once

#include "host/Export.h"
#include "workbench/inspectiondata/compute/ComputeAnomalies.h"
#include "workbench/inspectiondata/project/Result.h"

#include <QString>

namespace inspection {

/// Computes some of a project's stations, those of whole search groups, into a folder (PieceFolder.h) that
/// appears with everything in it or not at all. Reads the project, which others may have open, and writes nothing there.
/// CollectPieces.h stores the results. Fails when the folder holds anything already.
INSPECTIONDATA_API Result<ComputationSummary> computePiece(const ComputationRequest& request,
                                                           const QString& folder,
                                                           const ComputationProgress& progress = {});

} // namespace inspection
