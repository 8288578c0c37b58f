#pragma once

#include "cloud/LasHeader.h"

#include <ogr_spatialref.h>

namespace cloud {

/// One file of a survey.
struct CloudFile {
    std::string path;
    LasHeader header;
};

/// All clouds of a survey, their heads read and found to belong together.
struct Survey {
    std::vector<CloudFile> files;
    OGRSpatialReference reference; ///< empty where none is named and that was allowed
    std::string heightUnit;        ///< "m", "ft" or "US survey foot", as GeoTIFFs and detection name it
    double xMin = 0.0;             ///< as the files claim
    double yMin = 0.0;
    double xMax = 0.0;
    double yMax = 0.0;
    std::uint64_t points = 0;
};

enum class WithoutReference { Refused, Allowed };

/// `paths` are files or folders of them. `crs` counts for files that name no reference system; it may be empty.
/// Fails where there is no cloud, where a head is damaged, where the reference systems differ, and, if that is
/// refused, where there is none.
Result<Survey> openSurvey(const std::vector<std::string>& paths, const std::string& crs,
                          WithoutReference without = WithoutReference::Refused);

} // namespace cloud
