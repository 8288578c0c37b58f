#pragma once

#include "detect/search/Component.h"

#include <vector>

namespace detect {

/// What a part of a component needs to be a body of its own.
struct BodyLimits {
    float depthMetres = 0.5F;    ///< least depth of the saddle below the lower of two peaks
    std::int64_t leastCells = 9; ///< above the saddle
};

/// Splits a component where its surface clearly has several bodies: two peaks (hollows, in a cut) are two
/// bodies when the saddle between them lies at least half the lower peak's height below it, and at least the
/// given depth, and each has enough cells above the saddle. Every cell goes to the body it rises to, as in
/// the watershed by immersion (Vincent & Soille 1991) with the peaks chosen by their persistence
/// (Edelsbrunner et al. 2002).
///
/// `component` is in row order. Gives the bodies in the order of their first cells, each connected over the
/// sides of its cells and in row order; nothing when there is one body only, or the component is not
/// examined.
std::vector<Component> splitBodies(const Component& component, const BodyLimits& limits);

} // namespace detect
