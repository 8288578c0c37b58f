#pragma once

#include "workbench/inspectiondata/project/ProjectDescription.h"

#include <QStringList>

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
    /// The epochs of the same project are other ones now. The shown one stays, or the newest is shown when it has gone.
    QStringList update(const inspection::ProjectDescription& project);
    int shownEpoch() const { return m_shown; }
    /// Shows the terrain and the orthophoto of one epoch. Answers as show does.
    QStringList showEpoch(int index);
    /// Holds that epoch's orthophoto, too, for the globe to compare; the shown epoch's, or a place that there is not, ends
    /// that.
    void compareWith(int index);
    /// Of the orthophotos of all epochs, 0 (clear) to 1.
    void setImageryOpacity(double opacity);
    /// What keeps rasters of servers from being shown at present, one Chinese line each. They are not waited for.
    QStringList troubles() const;

private:
    using Epochs = std::vector<inspection::Epoch>;

    void clear();
    void showImagery();
    int placeOf(const inspection::Epoch& epoch) const; ///< -1 when there is none with these files
    static bool hasPicture(const Epochs& epochs, const QString& dom);
    static std::string imageryName(const inspection::Epoch& epoch);

    GlobeMap& m_map;
    Epochs m_epochs;
    int m_shown = -1;
    double m_imageryOpacity = 1.0;
};
