#pragma once

#include <vector>

namespace detect {

/// Middle value (the upper one of two); reorders the values. Zero for none.
double median(std::vector<float>& values);

/// Normalised median absolute deviation around a centre: 1.4826 median |v - centre|, the standard deviation
/// when the values are normal (Höhle & Höhle 2009).
double nmad(const std::vector<float>& values, double centre);

/// The same without what lies more than three of it away, taken out three times: the deviation of the stable
/// ground in a sample that also holds changes.
double stableNmad(std::vector<float> values, double centre);

struct RobustCentre {
    double centre = 0.0;
    double nmad = 0.0;        ///< of all values around the centre
    double stableNmad = 0.0;  ///< of the values kept, which is the standard deviation without the changes
    double stableShare = 0.0; ///< how many of the values are within three stableNmad of the centre, 0 .. 1
    int passes = 0;
};

/// The level of unchanged ground in a sample of dZ that also holds changes: the median, taken again without
/// what lies more than three NMAD (at least a tenth of a millimetre) away until it no longer moves.
RobustCentre robustCentre(std::vector<float> values);

} // namespace detect
