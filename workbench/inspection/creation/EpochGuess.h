#pragma once

#include "workbench/inspectiondata/creation/ProjectPlan.h"

#include <optional>
#include <vector>

/// Epochs made of the files that a user points at.
namespace inspection {

/// An epoch of a new project and what its files say about themselves.
struct EpochReading {
    NewEpoch epoch;
    std::optional<SurveyRaster> surface; ///< empty when it could not be read
    QString problem;                     ///< why; one Chinese line
};

/// Reads the files of epochs; what is known already is taken from `before`.
std::vector<EpochReading> readEpochs(const std::vector<NewEpoch>& epochs,
                                     const std::vector<EpochReading>& before);

/// What a folder stands for: itself when all its rasters are the tiles of one survey, otherwise its rasters and
/// subfolders each for itself. Anything else stands for itself.
std::vector<NewEpoch> surveysIn(const NewEpoch& epoch);

/// Orthophotos that stand for an epoch of their own go to the surface model of the same date, or else to the only
/// one in the same folder. What finds none stays.
std::vector<EpochReading> withPicturesJoined(std::vector<EpochReading> epochs);

/// Oldest first, where all dates are known.
void sortByDate(std::vector<EpochReading>& epochs);

} // namespace inspection
