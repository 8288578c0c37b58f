#include "detect/coregister/RobustStatistics.h"

#include <algorithm>
#include <cmath>

namespace detect {

namespace {

constexpr double kNormalConsistency = 1.4826;
constexpr double kOutlierNmads = 3.0;
constexpr double kSettledMetres = 1e-4;
constexpr int kMostPasses = 20;
constexpr int kCleanings = 3;

} // namespace

double median(std::vector<float>& values) {
    if (values.empty()) {
        return 0.0;
    }
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return static_cast<double>(*middle);
}

double nmad(const std::vector<float>& values, double centre) {
    std::vector<float> deviations;
    deviations.reserve(values.size());
    for (const float value : values) {
        deviations.push_back(static_cast<float>(std::abs(static_cast<double>(value) - centre)));
    }
    return kNormalConsistency * median(deviations);
}

double stableNmad(std::vector<float> values, double centre) {
    double spread = nmad(values, centre);
    for (int i = 0; i < kCleanings; ++i) {
        const double reach = std::max(kOutlierNmads * spread, kSettledMetres);
        values.erase(std::remove_if(
                         values.begin(), values.end(),
                         [&](float value) { return std::abs(static_cast<double>(value) - centre) > reach; }),
                     values.end());
        spread = nmad(values, centre);
    }
    return spread;
}

RobustCentre robustCentre(std::vector<float> values) {
    RobustCentre found;
    std::vector<float> kept = values;
    found.centre = median(kept);
    double spread = nmad(kept, found.centre);
    for (bool settled = false; !settled && found.passes < kMostPasses; ++found.passes) {
        const double reach = std::max(kOutlierNmads * spread, kSettledMetres);
        kept.clear();
        std::copy_if(values.begin(), values.end(), std::back_inserter(kept), [&](float value) {
            return std::abs(static_cast<double>(value) - found.centre) <= reach;
        });
        const double centre = median(kept);
        settled = std::abs(centre - found.centre) < kSettledMetres;
        found.centre = centre;
        spread = nmad(kept, centre);
    }
    found.nmad = nmad(values, found.centre);
    found.stableNmad = spread;
    const double reach = std::max(kOutlierNmads * spread, kSettledMetres);
    const auto stable = std::count_if(values.begin(), values.end(), [&](float value) {
        return std::abs(static_cast<double>(value) - found.centre) <= reach;
    });
    if (!values.empty()) {
        found.stableShare = static_cast<double>(stable) / static_cast<double>(values.size());
    }
    return found;
}

} // namespace detect
