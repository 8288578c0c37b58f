#pragma once

#include "PointsModel.h"

#include <QString>

#include <random>
#include <vector>

/// How far somebody got before he was killed.
struct KilledEditor {
    std::size_t confirmed = 0; ///< steps that he said were stored
    bool wasInside = false;    ///< he had begun another one
};

/// Runs the steps in a process of its own on a project folder, and ends it by SIGKILL: a random short time
/// after it has confirmed `awaited` of them. The project must be open nowhere in this process.
KilledEditor killedEditor(const QString& folder, const std::vector<PointsStep>& steps, std::size_t awaited,
                          std::mt19937& random);
