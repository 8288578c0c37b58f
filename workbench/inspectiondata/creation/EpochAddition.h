#pragma once

#include "host/Export.h"
#include "workbench/inspectiondata/creation/FolderInTheMaking.h"
#include "workbench/inspectiondata/creation/ProjectPlan.h"
#include "workbench/inspectiondata/project/Project.h"

#include <functional>

/// A further epoch for a project that is there: worked out, made and added.
namespace inspection {

/// An epoch as the user wants it in the project.
struct EpochWish {
    NewEpoch epoch;
    CloudWish clouds{};
    bool copiesFiles = false; ///< rasters come into the project's folder; otherwise they stay where they are
};

/// An epoch whose files are there, for a project that does not have it yet. What was made for it goes with the object
/// until the epoch is added. One thread at a time.
class INSPECTIONDATA_API MadeEpoch {
public:
    MadeEpoch(Epoch epoch, QStringList notes, EpochFolder folder)
        : m_epoch(std::move(epoch)), m_notes(std::move(notes)), m_folder(std::move(folder)) {}

    const Epoch& epoch() const { return m_epoch; }
    const QStringList& notes() const { return m_notes; } ///< what the user should know, Chinese lines
    /// Adds it to the project that it was made for. Fails as Project::addEpoch does.
    Status addTo(Project& project);

private:
    Epoch m_epoch;
    QStringList m_notes;
    EpochFolder m_folder;
};

/// Works the epoch out. Fails as planNextEpoch does, and for the date of another epoch.
INSPECTIONDATA_API Result<NextEpoch> planEpochFor(const ProjectDescription& project, const EpochWish& wish);

/// Makes the epoch's files in the folder of the project, which must be open for writing. A failure, the user's stop or the
/// end of the process leaves the project as it is; what a killed process has left is removed first. Any thread.
INSPECTIONDATA_API Result<MadeEpoch> makeEpoch(const ProjectDescription& project, const NextEpoch& next,
                                               bool copiesFiles,
                                               const std::function<bool(double fraction)>& progress = {});

} // namespace inspection
