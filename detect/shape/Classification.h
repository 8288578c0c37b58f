#pragma once

#include "detect/shape/Traits.h"

#include <string>

namespace detect {

/// The class an inspector will most likely give, and how sure that is (0.5 .. 1).
struct Suggestion {
    std::string name; ///< "建构筑物", "重物占压", "深挖" or "塌陷", UTF-8
    double confidence = 0.5;
};

/// Suggests a class from the shape of the change alone. A fill is a building (建构筑物: upright walls, flat
/// roof, right angles, at least about two metres high) or goods and soil laid down (重物占压); a cut is an
/// excavation (深挖: deep, steep sides, flat floor, right angles) or a collapse (塌陷: a shallow bowl that
/// runs out). Evidence of each trait is added up as log odds, with weights set by hand from known changes;
/// the confidence is the probability that comes out (logistic regression).
Suggestion suggestClass(const Traits& traits);

} // namespace detect
