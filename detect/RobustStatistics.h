#pragma once

#include <vector>

namespace detect {

/// Middle value (the upper one of two); reorders the values. Zero for none.
double median(std::vector<float>& values);

/// Normalised median absolute deviation around a centre: 1.4826 median |v - centre|, the standard deviation
/// when the values are normal (Höhle & Höhle 2009).
double nmad(const std::vector<float>& values, double centre);

struct RobustCentre {
    double centre = 0.0;
    double nmad = 0.0; ///< of all values around the centre
    int passes = 0;
};

/// The level of unchanged ground in a sample of dZ that also holds changes: the median, taken again without
/// what lies more than three NMAD away until it no longer moves.
RobustCentre robustCentre(std::vector<float> values);

} // namespace detect
