#pragma once

#include "workbench/inspection/creation/EpochGuess.h"
#include "workbench/inspection/creation/PlanSketch.h"

/// A wish for a project, read as far as it goes.
namespace inspection {

/// An epoch as a table shows it.
struct EpochRow {
    QString date; ///< ISO; empty when it is not known
    bool isDateGuessed = false;
    QString surface;   ///< file or folder
    QString picture;   ///< empty when there is none
    QString reference; ///< "EPSG:4547", or the system's name
    QString cell;      ///< "0.25 m"
    QString problem;   ///< of its own files; one Chinese line
};

/// Each step with its result, or with one Chinese line that tells why there is none. A step is read when those
/// before it succeeded.
struct PlanReading {
    /// As it was read: folders spread out, orthophotos joined, oldest first; as it was when it is in order.
    NewProject wish;
    std::vector<EpochReading> epochFiles;
    std::vector<EpochRow> epochs; ///< as the wish's
    std::optional<PlannedEpochs> surveys;
    QString referenceTitle; ///< of the project's reference system
    QString epochProblem;
    QStringList lineLayers; ///< of the centre line's file, when several could be the one
    std::optional<Centerline> centerline;
    QString pipelineProblem;
    std::vector<Stretch> stations;
    QString stationProblem;
    PlanSketch sketch;
};

/// Reads files; what `before` holds of the same wish is not read again. Any thread.
PlanReading readPlan(NewProject wish, const PlanReading& before);

/// The plan of a reading without problems.
ProjectPlan planOf(const PlanReading& reading);

/// A name made of what has been read.
QString suggestedName(const PlanReading& reading);

} // namespace inspection
