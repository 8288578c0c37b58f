#pragma once

#include "cloud/Survey.h"

#include <optional>

namespace cloud {

/// What is known of a survey before a surface is made of it: for whoever proposes an epoch, its cell and its date.
struct SurveyFacts {
    std::size_t files = 0;    ///< that have points
    std::uint64_t points = 0; ///< as the files claim, likewise the bounds
    double xMin = 0.0;        ///< units of the reference system
    double yMin = 0.0;
    double xMax = 0.0;
    double yMax = 0.0;
    OGRSpatialReference reference; ///< empty where the clouds name none: then it must be asked for
    std::string heightUnit;        ///< "m", "ft" or "US survey foot"
    std::optional<double> density; ///< points for each square unit; nothing for points without an area
    std::optional<double> cell;    ///< what rasterize() takes if not told otherwise
    bool hasGround = false;        ///< class 2 is among the first million points
    std::string date;              ///< YYYY-MM-DD, may be empty: see isFlightDate
    /// The date is that of the first point's GPS time; otherwise the one on which the first file was made, which may
    /// be long after the flight.
    bool isFlightDate = false;
};

/// Reads the heads and a million points; `paths` and `crs` as for openSurvey(). Fails as that does, but not without a
/// reference system, and for damaged points. Takes about a second: for a worker's thread.
Result<SurveyFacts> lookAtSurvey(const std::vector<std::string>& paths, const std::string& crs = {});

} // namespace cloud
