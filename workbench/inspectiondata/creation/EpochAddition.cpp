#include "workbench/inspectiondata/creation/EpochAddition.h"

#include "workbench/inspectiondata/creation/ProjectRasters.h"
#include "workbench/inspectiondata/project/EpochList.h"

#include <algorithm>

namespace inspection {

namespace {

/// Before hours of work, not after them.
Status checkKey(const ProjectDescription& project, const NextEpoch& next, bool copiesFiles) {
    const SurveyRaster& surface = next.epoch.surface;
    const bool staysInPlace =
        !copiesFiles && !surface.cloud && next.epoch.convertedHeights.isEmpty() && surface.files.size() == 1;
    if (next.epoch.date.isEmpty() && !staysInPlace) {
        return {}; // it will be called by a path of its own
    }
    const auto possible = withEpoch(project, {next.epoch.date, surface.files.front(), {}});
    return possible ? Status() : failed(possible);
}

bool liesIn(const QString& folder, const Epoch& epoch) {
    return epoch.dsm.startsWith(folder + '/') || epoch.dom.startsWith(folder + '/');
}

void removeAbandoned(const ProjectDescription& project, const QString& epochs) {
    EpochFolder::removeAbandoned(epochs, [&project](const QString& folder) {
        return std::any_of(project.epochs.begin(), project.epochs.end(),
                           [&folder](const Epoch& epoch) { return liesIn(folder, epoch); });
    });
}

} // namespace

Status MadeEpoch::addTo(Project& project) {
    if (auto done = project.addEpoch(m_epoch); !done) {
        return failed(done);
    }
    m_folder.keep();
    return {};
}

Result<NextEpoch> planEpochFor(const ProjectDescription& project, const EpochWish& wish) {
    auto next = planNextEpoch(project, wish.epoch, wish.clouds);
    if (!next) {
        return next;
    }
    if (auto possible = checkKey(project, *next, wish.copiesFiles); !possible) {
        return failed(possible);
    }
    return next;
}

Result<MadeEpoch> makeEpoch(const ProjectDescription& project, const NextEpoch& next, bool copiesFiles,
                            const std::function<bool(double fraction)>& progress) {
    const QString epochs = project.folder + QStringLiteral("/epochs");
    removeAbandoned(project, epochs);
    auto folder = EpochFolder::make(epochs, folderNameOf(next.epoch, project.epochs.size() + 1));
    if (!folder) {
        return failed(folder);
    }
    auto placed = placeRasters(folder->path(), next.epoch, copiesFiles,
                               workProgress({next.epoch}, copiesFiles, progress));
    if (!placed) {
        return failed(placed);
    }
    if (progress && !progress(1.0)) {
        return cancelled();
    }
    return MadeEpoch(placed->epoch, next.notes + placed->notes, *std::move(folder));
}

} // namespace inspection
