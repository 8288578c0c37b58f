#pragma once

#include "workbench/inspectiondata/project/ProjectDescription.h"

#include <osgEarth/Viewpoint>

#include <QStringList>

#include <optional>
#include <string>
#include <vector>

class GlobeMap;

/// Puts a project's epochs on the globe: the orthophotos of all epochs as imagery, the surface model of the
/// shown epoch as terrain. Frame thread.
class ProjectLayers {
public:
    explicit ProjectLayers(GlobeMap& map) : m_map(map) {}

    /// Replaces the layers of the project before and shows the newest epoch. Rasters that cannot be shown are
    /// named in the answer, one English line each; the others are shown.
    QStringList show(const inspection::ProjectDescription& project);
    /// Names of the epochs, oldest first: their dates, or 前期 and 后期 where these are not known.
    QStringList epochs() const;
    int shownEpoch() const { return m_shown; }
    /// Shows the terrain and the orthophoto of one epoch. Answers as show does.
    QStringList showEpoch(int index);
    /// Of the orthophotos of all epochs, 0 (clear) to 1.
    void setImageryOpacity(double opacity);
    /// A view from the south over the whole corridor; nothing when no surface model can be read.
    std::optional<osgEarth::Viewpoint> overview() const;

private:
    void clear();
    static std::string imageryName(std::size_t epoch);

    GlobeMap& m_map;
    std::vector<inspection::Epoch> m_epochs;
    int m_shown = -1;
    double m_imageryOpacity = 1.0;
};
