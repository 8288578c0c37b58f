#pragma once

#include "cloud/Survey.h"

#include <optional>

namespace cloud {

/// What the first million points of a survey tell of all.
struct PointSample {
    /// Points for each square unit of the reference system where the survey has points at all; empty ground inside
    /// the bounds does not count. Nothing where the bounds have no area.
    std::optional<double> density;
    bool hasGround = false; ///< one of them is of class 2
};

/// Reads the points. Fails where they are damaged.
Result<PointSample> samplePoints(const Survey& survey);

/// The cell that suits a density: about four points in each, rounded to 1, 2 or 5 times a power of ten.
double cellFor(double pointsPerSquareUnit);

} // namespace cloud
