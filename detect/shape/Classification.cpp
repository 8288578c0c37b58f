#include "detect/shape/Classification.h"

#include <algorithm>
#include <cmath>

namespace detect {

namespace {

/// Log odds that a trait gives: none at `neutral`, `weight` one `width` above it, never more than twice that.
double evidence(double trait, double neutral, double width, double weight) {
    return weight * std::clamp((trait - neutral) / width, -2.0, 2.0);
}

/// How much of the box around it the change fills: 1 for a box, 1/2 for a bowl, 1/3 for a cone; what lies
/// below the level of detection lifts bowls to about 0.6 and cones to 0.5.
double fullness(const Traits& t) {
    return t.meanMetres / t.peakMetres;
}

double buildingOdds(const Traits& t) {
    return evidence(t.meanMetres, 2.2, 0.4, 1.0) + evidence(fullness(t), 0.84, 0.04, 1.0) +
           evidence(t.edgeSteepness, 0.8, 0.08, 1.5) + evidence(t.flatShare, 0.5, 0.2, 0.5) +
           evidence(t.rectangularity, 0.85, 0.05, 0.5) + evidence(t.roughness, 0.1, 0.05, -0.25);
}

double excavationOdds(const Traits& t) {
    return evidence(t.peakMetres, 1.8, 0.4, 1.0) + evidence(fullness(t), 0.67, 0.05, 1.5) +
           evidence(t.edgeSteepness, 0.5, 0.2, 0.5) + evidence(t.flatShare, 0.35, 0.15, 0.25) +
           evidence(t.rectangularity, 0.82, 0.05, 0.5) + evidence(t.roughness, 0.1, 0.05, -0.25);
}

Suggestion choose(double odds, const char* likely, const char* otherwise) {
    const double probability = 1.0 / (1.0 + std::exp(-odds));
    return odds > 0.0 ? Suggestion{likely, probability} : Suggestion{otherwise, 1.0 - probability};
}

} // namespace

Suggestion suggestClass(const Traits& traits) {
    return traits.fill ? choose(buildingOdds(traits), "建构筑物", "重物占压")
                       : choose(excavationOdds(traits), "深挖", "塌陷");
}

} // namespace detect
