#pragma once

#include "host/Export.h"
#include "host/inspection/Station.h"
#include "workbench/inspectiondata/creation/ProjectPlan.h"
#include "workbench/inspectiondata/project/ProjectDescription.h"

#include <optional>
#include <vector>

/// What is to change in a project that there is: asked for, and then worked out. Nothing is written here.
namespace inspection {

/// What does not change is left out.
struct AmendedEpoch {
    QString key; ///< as the project calls it now
    std::optional<QString> dsm{};
    std::optional<QString> dom{};     ///< empty takes it away
    std::optional<QString> heights{}; ///< as heightSystem() takes it; empty for what the file says
};

struct AmendmentWish {
    std::optional<QString> name;
    std::vector<AmendedEpoch> epochs;
    std::optional<CenterlineSource> centerline; ///< another line, for which stations are laid out
    bool dropsCenterline = false;
    std::optional<QString> centerlineFile{}; ///< where the project's own file with the line lies now
    std::optional<StationLayout> stations;   ///< lay them out anew
    QString crs{}; ///< of vector files that name no system; the project's when empty
};

/// An epoch whose heights are brought to the system of the oldest one.
struct HeightsToConvert {
    std::size_t epoch = 0; ///< by its place in the project's list
    SurveyRaster surface;
    QString heights; ///< the system to bring them to
};

/// The line and the stations as they will be.
struct NewLayout {
    std::optional<Centerline> centerline;
    bool isLineNew = false; ///< otherwise it is the one that there was
    std::vector<Stretch> stations;
};

struct Amendment {
    ProjectDescription project;      ///< as it will be; line and converted surface models are yet to be made
    std::optional<NewLayout> layout; ///< nothing when line and stations stay
    std::vector<HeightsToConvert> conversions;
    QStringList notes; ///< what the user should know, Chinese lines
};

/// `stations` are those that there are. Fails, in one line that names the file or the epoch, for epochs that there are
/// not, files that cannot be used, and as creation does for lines and stations. Reads files of the epochs only where
/// something depends on them.
INSPECTIONDATA_API Result<Amendment> planAmendment(const ProjectDescription& project,
                                                   const std::vector<KV_Station>& stations,
                                                   const AmendmentWish& wish);

} // namespace inspection
