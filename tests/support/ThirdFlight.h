#pragma once

#include "workbench/inspectiondata/project/ProjectDescription.h"

#include <QPointF>
#include <QString>

#include <cstdint>
#include <vector>

/// The pair of a sample corridor's newest epoch and its third flight.
inline const inspection::EpochPair kThirdPair{QStringLiteral("2025-05-20"), QStringLiteral("2026-05-25")};

/// Adds a third flight to a sample corridor that is open nowhere: the ground of the newest epoch, measured 8 cm
/// higher, with a new heap of 24 m by 24 m and 3 m height in the middle of each of these stations.
void addThirdFlight(const QString& folder, const std::vector<std::uint32_t>& stations);

/// Computes the stations between two epochs, without changing which pair is chosen.
void computePair(const QString& folder, const inspection::EpochPair& pair,
                 const std::vector<std::uint32_t>& stations);
