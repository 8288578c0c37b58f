#pragma once

#include "workbench/inspectiondata/project/ProjectDescription.h"

#include <osgEarth/Viewpoint>

#include <QObject>

#include <optional>

class GlobeWidget;

/// Shows the whole corridor from the south. Where the ground has to come from a server, it looks at the pipe's line first,
/// and once more when the heights have come, unless the user has moved the view meanwhile. GUI thread.
class Overview : public QObject {
    Q_OBJECT

public:
    explicit Overview(GlobeWidget& globe);

    /// Goes there at once; stays where it is when neither surface model nor line can be read.
    void show(const inspection::ProjectDescription& project);

private:
    /// Centre and half diagonal of the ground that is to be seen.
    struct Ground {
        osgEarth::GeoPoint centre;
        double radiusMetres = 0.0;
        bool isFinal = true; ///< false while the height of the centre is not known
    };

    std::optional<Ground> ground() const;
    static std::optional<Ground> groundOfSurface(const QString& file);
    std::optional<Ground> groundOfLine() const;
    osgEarth::Viewpoint viewOf(const Ground& ground) const;
    void lookAgain();
    bool hasMovedFrom(const osgEarth::Viewpoint& before) const;

    GlobeWidget& m_globe;
    inspection::ProjectDescription m_project;
    std::optional<osgEarth::Viewpoint> m_provisional; ///< while the heights are waited for
};
