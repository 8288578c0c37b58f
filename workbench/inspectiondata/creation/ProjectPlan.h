#pragma once

#include "host/Export.h"
#include "workbench/inspectiondata/creation/Centerline.h"
#include "workbench/inspectiondata/creation/Stretches.h"
#include "workbench/inspectiondata/creation/SurveyRaster.h"
#include "workbench/inspectiondata/database/SpecialObjectFile.h"
#include "workbench/inspectiondata/project/ProjectDescription.h"

#include <optional>
#include <vector>

/// What a new project is to be: asked for, and then worked out. Nothing is written here.
namespace inspection {

/// A survey flight as the user names it. A folder stands for all rasters, or all point
/// clouds, in it.
struct NewEpoch {
    QString date;      ///< ISO; guessed from the rasters when empty
    QString surface;   ///< surface model or point cloud
    QString picture;   ///< orthophoto, empty when there is none
    QString heights{}; ///< what they count from, as heightSystem() takes it; as the file says when empty
};

/// How the stations of a project are laid out.
struct StationLayout {
    double lengthMetres = 250.0;
    double halfWidthMetres = 100.0;
    QString file; ///< polygons to take instead
};

/// What becomes of point clouds.
struct CloudWish {
    std::optional<double> cell; ///< units of the clouds' reference system; by their density when empty
    bool isGroundOnly = false;  ///< a terrain model of class 2 instead of a surface model
};

struct NewProject {
    QString name; ///< made of the epochs when empty
    QString crs;  ///< projected reference system; found from the oldest surface model when empty
    std::vector<NewEpoch> epochs;
    std::optional<CenterlineSource> centerline;
    StationLayout stations;
    CloudWish clouds;
    /// Points, areas and high-consequence areas to bring in; `crs` may be empty.
    std::vector<SpecialObjectFile> objects;
    bool copiesFiles = false; ///< rasters come into the folder; otherwise they stay where they are
    bool isInOrder = false;   ///< epochs come oldest first; guessed dates that say otherwise are not believed
};

struct PlannedEpoch {
    QString date;
    bool isDateGuessed = false;
    SurveyRaster surface;
    std::optional<SurveyRaster> picture;
    QString convertedHeights{}; ///< the system to bring the heights to; empty when they stay as they are
    QString toldHeights{};      ///< the system that the user has told; empty for what the file says
};

/// The epochs of a project with what they have in common.
struct PlannedEpochs {
    std::vector<PlannedEpoch> epochs; ///< oldest first; as they were given where one has no date
    OGRSpatialReference reference;    ///< the project's
    detect::Box overlap;              ///< of all surface models, in it
    QStringList notes;                ///< what the user should know, Chinese lines
};

struct ProjectPlan {
    QString name;
    PlannedEpochs surveys;
    std::optional<Centerline> centerline;
    std::vector<Stretch> stations;
    std::vector<SpecialObjectFile> objects;
    bool copiesFiles = false;
};

/// Fails for fewer than two epochs, one that cannot be read or is no surface model, two of the same date (guessed ones
/// are left out then), reference systems that do not go together, and epochs without a common area. May read a few cells of each raster.
INSPECTIONDATA_API Result<PlannedEpochs> planEpochs(const NewProject& wish);

/// A further epoch of a project that is there.
struct NextEpoch {
    PlannedEpoch epoch;
    QStringList notes; ///< what the user should know, Chinese lines
};

/// Works the epoch out as planEpochs() does; the project's reference system counts for clouds that name none, and its heights are
/// those to which the epoch's are brought. A guessed date that another epoch has is dropped. The date of another epoch is not refused here.
INSPECTIONDATA_API Result<NextEpoch> planNextEpoch(const ProjectDescription& project, const NewEpoch& epoch,
                                                   const CloudWish& clouds = {});

/// The stations of a project: along the centre line, from a file, or over the overlap. Fails where none has data in all
/// epochs: then the line lies far from them.
INSPECTIONDATA_API Result<std::vector<Stretch>> planStations(const NewProject& wish,
                                                             const PlannedEpochs& surveys,
                                                             const std::optional<Centerline>& centerline);

/// Everything one after the other.
INSPECTIONDATA_API Result<ProjectPlan> planProject(const NewProject& wish);

} // namespace inspection
