#include "workbench/app/ProjectStay.h"

#include "workbench/inspectiondata/project/LocalSettings.h"

using inspection::LocalSettings;

namespace {
constexpr auto kGroup = "stay";
}

void keepStay(const QString& projectFolder, const ProjectStay& stay) {
    LocalSettings kept(projectFolder);
    kept.beginGroup(kGroup);
    kept.setValue("checked", stay.stations.checked);
    kept.setValue("selected", stay.stations.selected);
    kept.setValue("wholeLine", stay.stations.isWholeLine);
    kept.setValue("epoch", stay.shownEpoch);
    if (stay.view.focalPoint().isSet()) {
        const osgEarth::GeoPoint& place = stay.view.focalPoint().get();
        kept.setValue("longitude", place.x());
        kept.setValue("latitude", place.y());
        kept.setValue("height", place.z());
        kept.setValue("heading", stay.view.getHeading());
        kept.setValue("pitch", stay.view.getPitch());
        kept.setValue("range", stay.view.getRange());
    }
}

std::optional<ProjectStay> keptStay(const QString& projectFolder) {
    LocalSettings kept(projectFolder);
    kept.beginGroup(kGroup);
    if (!kept.contains("checked")) {
        return std::nullopt;
    }
    ProjectStay stay;
    stay.stations.checked = kept.value("checked").toStringList();
    stay.stations.selected = kept.value("selected").toStringList();
    stay.stations.isWholeLine = kept.value("wholeLine").toBool();
    stay.shownEpoch = kept.value("epoch").toString();
    if (kept.contains("range")) {
        const auto number = [&kept](const char* key) { return kept.value(key).toDouble(); };
        stay.view = osgEarth::Viewpoint("stay", number("longitude"), number("latitude"), number("height"),
                                        number("heading"), number("pitch"), number("range"));
    }
    return stay;
}
