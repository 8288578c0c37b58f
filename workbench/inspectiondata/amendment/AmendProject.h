#pragma once

#include "host/Export.h"
#include "host/inspection/KV_MySQL.h"
#include "workbench/inspectiondata/amendment/Amendment.h"
#include "workbench/inspectiondata/project/Project.h"

#include <QStringList>

#include <functional>

namespace inspection {

/// Told how much is done, 0..1; false ends the work.
using AmendmentProgress = std::function<bool(double fraction)>;

/// What an amendment does to what was computed and judged. Anomalies of all pairs of epochs are counted.
struct AmendmentEffect {
    bool laysOut = false; ///< the following figures hold
    std::int64_t stationsBefore = 0;
    std::int64_t stationsAfter = 0; ///< without those outside
    std::int64_t anomalies = 0;
    std::int64_t moved = 0; ///< anomalies that get another station
    std::int64_t outside =
        0; ///< anomalies in none of the stations, which keep their earlier one as 「站段外」
    std::int64_t partly = 0; ///< results of stations of which something was never computed
    std::int64_t absent = 0; ///< those that lose what lies in the folder of another inspector
};

/// Reads only. Fails when the database refuses.
INSPECTIONDATA_API Result<AmendmentEffect> effectOf(const Amendment& amendment,
                                                    mysqlhelper::KV_MySQL& database);

/// What will be other than before, a Chinese line for each change; none when nothing is.
INSPECTIONDATA_API QStringList changeTexts(const ProjectDescription& before, const Amendment& amendment,
                                           const AmendmentEffect& effect);

/// Makes the amendment in a project that is open for writing. Files are staged first; one transaction and project.json
/// make them count together (project/PendingProjectFile.h). Names, verdicts, results and edits of every pair stay, and
/// edits can be undone. On failure, on the user's stop, and whenever the process ends before, the project is as it was.
INSPECTIONDATA_API Result<AmendmentEffect> amendProject(Project& project, mysqlhelper::KV_MySQL& database,
                                                        Amendment amendment,
                                                        const AmendmentProgress& progress = {});

} // namespace inspection
