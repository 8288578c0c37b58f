#pragma once

#include "workbench/inspection/tree/StationTree.h"

#include <osgEarth/Viewpoint>

#include <QString>

#include <optional>

/// Where the user is in a project.
struct ProjectStay {
    inspection::StationChoice stations;
    QString shownEpoch; ///< title; empty for none
    osgEarth::Viewpoint view;
};

/// Keeps it for the project in that folder, on this machine.
void keepStay(const QString& projectFolder, const ProjectStay& stay);
/// Nothing when the project was never left here.
std::optional<ProjectStay> keptStay(const QString& projectFolder);
