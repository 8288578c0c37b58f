#pragma once

#include "host/inspection/KV_MySQL.h"
#include "workbench/inspectiondata/compute/ComputeAnomalies.h"

namespace cli {

/// What a computation found, on standard output: all stations together, and how the epochs lie; what whoever reads the
/// figures should know about them on standard error.
void printOutcome(const inspection::ProjectDescription& project,
                  const inspection::ComputationSummary& summary);

/// A line for each of its stations.
void printStations(mysqlhelper::KV_MySQL& database, const inspection::EpochPair& pair,
                   const inspection::ComputationSummary& summary);

} // namespace cli
