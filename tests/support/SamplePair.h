#pragma once

#include "workbench/inspectiondata/project/ProjectDescription.h"

/// The two epochs of a sample corridor and of a SmallProject.
inline const inspection::EpochPair kSamplePair{QStringLiteral("2024-05-18"), QStringLiteral("2025-05-20")};
