#include "detect/Classification.h"

#include <algorithm>
#include <cmath>

namespace detect {

namespace {

/// Log odds that a trait gives: none at `neutral`, `weight` one `width` above it, never more than twice that.
double evidence(double trait, double neutral, double width, double weight) {
    return weight * std::clamp((trait - neutral) / width, -2.0, 2.0);
}

double buildingOdds(const Traits& t) {
    return evidence(t.meanMetres, 2.0, 0.5, 1.0) + evidence(t.edgeSteepness, 0.7, 0.15, 1.0) +
           evidence(t.flatShare, 0.5, 0.2, 1.0) + evidence(t.rectangularity, 0.75, 0.15, 0.5) +
           evidence(t.roughness, 0.1, 0.05, -0.25);
}

double excavationOdds(const Traits& t) {
    return evidence(t.edgeSteepness, 0.6, 0.15, 1.0) + evidence(t.flatShare, 0.4, 0.2, 1.0) +
           evidence(t.peakMetres, 2.5, 0.5, 0.75) + evidence(t.rectangularity, 0.78, 0.1, 0.5);
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
