#pragma once

#include "tests/detect/TestRasters.h"

namespace detect::test {

/// What has to be added to the new epoch, and how noisy both are.
struct Misregistration {
    double dxMetres = 0.0;
    double dyMetres = 0.0;
    double dzMetres = 0.0; ///< at the middle of the old grid
    double tiltEast = 0.0; ///< metres per metre
    double tiltNorth = 0.0;
    double noiseMetres =
        0.0; ///< standard deviation, normal, independent from cell to cell and epoch to epoch
    std::uint64_t seed = 1;
};

/// Two surveys of one analytic surface, the second of them where it does not belong.
struct MisregisteredPair {
    RasterPlan oldPlan;
    RasterPlan newPlan;
    /// True height at a place of the old plan's reference system.
    Surface ground;
    /// What the new epoch adds to that, at a true place; may be empty.
    Surface change;
    Misregistration truth;

    /// Writes both rasters to memory files. Places of the new plan's reference system go through OGR, cell by
    /// cell.
    Request write() const;
};

/// Ground of 300 m height about the plans' default place, with relief of several wavelengths (17 m to 195 m)
/// and a mean slope of 0.6.
double hills(const Point& map);

/// Normal figures with standard deviation one (sum of twelve even ones).
double normal(Random& random);

/// The co-registration, or a test failure with the message and an empty one.
Coregistration estimateOrFail(const Request& request, int threads = 2);

} // namespace detect::test
