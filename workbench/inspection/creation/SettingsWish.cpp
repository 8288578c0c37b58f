#include "workbench/inspection/creation/SettingsWish.h"

#include <algorithm>

namespace inspection {

namespace {

std::optional<QString> changed(const QString& before, const QString& now) {
    return before == now ? std::nullopt : std::optional(now);
}

bool isSame(const StationLayout& a, const StationLayout& b) {
    return a.lengthMetres == b.lengthMetres && a.halfWidthMetres == b.halfWidthMetres && a.file == b.file;
}

} // namespace

AmendmentWish settingsWish(const PresentProject& present, const NewProject& draft, const QString& name) {
    AmendmentWish wish;
    wish.name = changed(present.description.name, name);
    const std::size_t count = std::min(present.wish.epochs.size(), draft.epochs.size());
    for (std::size_t i = 0; i < count; ++i) {
        const NewEpoch& before = present.wish.epochs[i];
        const NewEpoch& now = draft.epochs[i];
        AmendedEpoch epoch{present.description.keyOf(present.description.epochs[i]),
                           changed(before.surface, now.surface), changed(before.picture, now.picture),
                           changed(before.heights, now.heights)};
        if (epoch.dsm || epoch.dom || epoch.heights) {
            wish.epochs.push_back(std::move(epoch));
        }
    }
    wish.dropsCenterline = present.wish.centerline && !draft.centerline;
    if (draft.centerline && draft.centerline->isOwn &&
        draft.centerline->file != present.description.centerline) {
        wish.centerlineFile = draft.centerline->file;
    } else if (draft.centerline && !draft.centerline->isOwn) {
        wish.centerline = draft.centerline;
    }
    if (wish.centerline || wish.dropsCenterline || !isSame(present.wish.stations, draft.stations)) {
        wish.stations = draft.stations;
    }
    return wish;
}

bool laysOut(const AmendmentWish& wish) {
    return wish.stations.has_value();
}

} // namespace inspection
